// Follows the tally lights over a WebSocket. The server sends the whole state
// on connect, on every change and once a second besides; a page that hears
// nothing for a while, loses its connection or learns that the switcher is
// gone shows NO SIGNAL instead of a colour that may no longer be true, and
// keeps trying to reconnect, saying which of the two it is: the program has
// lost the switcher (the state says so), or the page has lost the program
// (stopped, or the network between them is down). Nothing here sends
// anything to the server: the page only shows.
(function () {
  'use strict';

  var SILENCE_LIMIT_MS = 3000;
  var FIRST_RETRY_MS = 250;
  var LONGEST_RETRY_MS = 4000;
  var STATE_WORDS = { live: 'LIVE', preview: 'PREVIEW', off: '' };
  var NO_SHOTS = 'No shots assigned';
  var REASONS = {
    connecting: 'Connecting to the tally program\u2026',
    program: 'No connection to the tally program: it has stopped, or the network between it and this ' +
      'device is down. Trying again\u2026',
    switcher: 'The tally program runs, but has lost the switcher: the lights cannot be trusted until it is back.'
  };
  // Over plain http on a network a browser gives no wake lock (it keeps
  // that for https and for the computer itself), and one may refuse it even
  // there (a battery saver); either way the screen would go dark in the
  // middle of a take, so the page says so and offers what works instead: a
  // playing video keeps most phones' screens on, but browsers start one only
  // after a tap, and the phone's own setting always works.
  var AWAKE_NOTES = {
    insecure: 'This screen may turn off: opened over plain http from another computer, the browser does not ' +
      'let the page keep it on. Tap here to keep it awake with a tiny silent video (most phones stay on ' +
      'while it plays, with this page in front), or set the screen to stay on (the longest screen timeout, ' +
      'or stay awake while charging).',
    refused: 'This screen may turn off: the browser refused to keep it on (a battery saver does that). ' +
      'Tap here to keep it awake with a tiny silent video, or set the screen to stay on while this is a tally.',
    playing: 'Keeping this screen awake with a tiny silent video while this page is in front. If it still ' +
      'turns off, set the screen to stay on (the longest screen timeout, or stay awake while charging). ' +
      'Tap to hide.',
    unplayable: 'This screen may turn off: the browser would not play the silent video that keeps it on. Set ' +
      'the screen to stay on (the longest screen timeout, or stay awake while charging). Tap to hide.'
  };
  // A browser that cannot make the video gets the setting's advice alone.
  var AWAKE_NOTES_WITHOUT_VIDEO = {
    insecure: 'This screen may turn off: opened over plain http from another computer, the browser does not ' +
      'let the page keep it on. While this is a tally, set the screen to stay on (the longest screen ' +
      'timeout, or stay awake while charging). Tap to hide.',
    refused: 'This screen may turn off: the browser refused to keep it on (a battery saver does that). ' +
      'Tap to try again, or set the screen to stay on while this is a tally.'
  };

  var body = document.body;
  var lightNumber = Number(body.getAttribute('data-light') || 0);
  var socket = null;
  var silenceTimer = null;
  var retryTimer = null;
  var retryDelay = FIRST_RETRY_MS;
  // Whether the page has lost the program at least once; before that it is
  // still connecting.
  var programLost = false;
  var awakeNote = document.getElementById('awake');
  var awakeDismissed = false;
  var awakeVideo = null;

  // Touches the page only when the look changes: the state arrives once a
  // second even when nothing happens, and a phone need not restyle for it.
  function setLook(element, look, underTest) {
    var key = look + (underTest ? ' test' : '');
    if (element.getAttribute('data-look') === key) {
      return;
    }
    element.setAttribute('data-look', key);
    element.classList.remove('live', 'preview', 'off', 'nosignal', 'test');
    element.classList.add(look);
    if (underTest) {
      element.classList.add('test');
    }
  }

  // While the test panel drives the lights the page shows what the lamps
  // were told, even with the switcher gone; otherwise a lost switcher's
  // colours would be stale, and the page says NO SIGNAL instead.
  // With several switchers, a light resting on one that is lost while the
  // others run says so on its own.
  function lightLook(state, light) {
    if (!light || !(state.sourceRunning || state.test) || (light.lost && !state.test)) {
      return 'nosignal';
    }
    return STATE_WORDS.hasOwnProperty(light.mode) ? light.mode : 'off';
  }

  function underTest(state, look) {
    return !!(state && state.test) && look !== 'nosignal';
  }

  function stateWord(state, look, offWord) {
    if (look === 'nosignal') {
      return 'NO SIGNAL';
    }
    var word = STATE_WORDS[look] || offWord;
    return underTest(state, look) ? ('TEST ' + word).trim() : word;
  }

  // Why the page shows NO SIGNAL, or nothing when it shows a light.
  function reasonText(state) {
    if (!state) {
      return programLost ? REASONS.program : REASONS.connecting;
    }
    return state.sourceRunning || state.test ? '' : REASONS.switcher;
  }

  function showShots(element, light, separator) {
    var shots = (light && light.shots) || [];
    element.textContent = shots.length ? shots.join(separator) : (light ? NO_SHOTS : '');
    element.classList.toggle('noshots', !!light && !shots.length);
  }

  function missingText(light) {
    var missing = (light && light.missing) || [];
    return missing.length ? 'Missing: ' + missing.join(', ') : '';
  }

  function findLight(state, number) {
    var lights = state.lights || [];
    for (var i = 0; i < lights.length; ++i) {
      if (lights[i].light === number) {
        return lights[i];
      }
    }
    return null;
  }

  function showOneLight(state) {
    var light = state ? findLight(state, lightNumber) : null;
    var look = state ? lightLook(state, light) : 'nosignal';
    setLook(body, look, underTest(state, look));
    var word = stateWord(state, look, 'OFF');
    document.getElementById('state').textContent = word;
    document.getElementById('reason').textContent = reasonText(state);
    showShots(document.getElementById('shots'), light, ' \u00b7 ');
    var missing = document.getElementById('missing');
    if (missing) {
      missing.textContent = missingText(light);
    }
    document.title = lightNumber + (word ? ' ' + word : '');
  }

  function showList(state) {
    body.classList.toggle('nosignal', !state || !(state.sourceRunning || state.test));
    document.getElementById('reason').textContent = reasonText(state);
    var items = document.querySelectorAll('[data-light]');
    for (var i = 0; i < items.length; ++i) {
      var item = items[i];
      var light = state ? findLight(state, Number(item.getAttribute('data-light'))) : null;
      var look = state ? lightLook(state, light) : 'nosignal';
      setLook(item, look, underTest(state, look));
      item.querySelector('.mode').textContent = stateWord(state, look, 'OFF');
      if (light) {
        showShots(item.querySelector('.shots'), light, ', ');
        var missing = item.querySelector('.missing');
        if (missing) {
          missing.textContent = missingText(light);
        }
      }
    }
  }

  function show(state) {
    if (lightNumber > 0) {
      showOneLight(state);
    } else {
      showList(state);
    }
  }

  function dropSocket() {
    if (socket) {
      socket.onopen = socket.onmessage = socket.onclose = socket.onerror = null;
      try {
        socket.close();
      } catch (ignored) {
      }
      socket = null;
    }
    clearTimeout(silenceTimer);
  }

  function lost() {
    programLost = true;
    dropSocket();
    show(null);
    clearTimeout(retryTimer);
    retryTimer = setTimeout(connect, retryDelay);
    retryDelay = Math.min(retryDelay * 2, LONGEST_RETRY_MS);
  }

  function expectWordSoon() {
    clearTimeout(silenceTimer);
    silenceTimer = setTimeout(lost, SILENCE_LIMIT_MS);
  }

  function connect() {
    dropSocket();
    var scheme = location.protocol === 'https:' ? 'wss://' : 'ws://';
    try {
      socket = new WebSocket(scheme + location.host + '/ws');
    } catch (failure) {
      lost();
      return;
    }
    socket.onopen = function () {
      retryDelay = FIRST_RETRY_MS;
    };
    socket.onmessage = function (event) {
      expectWordSoon();
      var state;
      try {
        state = JSON.parse(event.data);
      } catch (badMessage) {
        return;
      }
      show(state);
    };
    socket.onclose = lost;
    socket.onerror = lost;
    expectWordSoon();
  }

  // The video is made here, from a canvas of four pixels, so the page
  // needs no file from elsewhere; one pixel changes shade every second,
  // since a canvas that never changes sends no frames and its video stalls.
  function canKeepAwakeByVideo() {
    return typeof HTMLCanvasElement !== 'undefined' && 'captureStream' in HTMLCanvasElement.prototype;
  }

  function makeAwakeVideo() {
    var canvas = document.createElement('canvas');
    canvas.width = 2;
    canvas.height = 2;
    var context = canvas.getContext('2d');
    var shade = 0;
    function paint() {
      shade = 1 - shade;
      context.fillStyle = shade ? '#010101' : '#000000';
      context.fillRect(0, 0, 2, 2);
    }
    paint();
    setInterval(paint, 1000);
    var video = document.createElement('video');
    video.id = 'awake-video';
    video.className = 'awake-video';
    // Muted and inline: what phones require to play a video without
    // sound and without taking the whole screen.
    video.muted = true;
    video.loop = true;
    video.playsInline = true;
    video.setAttribute('muted', '');
    video.setAttribute('loop', '');
    video.setAttribute('playsinline', '');
    video.setAttribute('aria-hidden', 'true');
    video.srcObject = canvas.captureStream(1);
    body.appendChild(video);
    return video;
  }

  function showAwakeNote(kind) {
    if (!awakeNote || awakeDismissed) {
      return;
    }
    var notes = canKeepAwakeByVideo() ? AWAKE_NOTES : AWAKE_NOTES_WITHOUT_VIDEO;
    awakeNote.textContent = notes[kind];
    awakeNote.setAttribute('data-kind', kind);
    awakeNote.hidden = false;
  }

  // Must run inside the tap: browsers start a video only for a gesture.
  function keepAwakeByVideo() {
    if (!awakeVideo) {
      awakeVideo = makeAwakeVideo();
    }
    var playing = awakeVideo.play();
    if (!playing || typeof playing.then !== 'function') {
      showAwakeNote(awakeVideo.paused ? 'unplayable' : 'playing');
      return;
    }
    playing.then(
      function () {
        showAwakeNote('playing');
      },
      function () {
        showAwakeNote('unplayable');
      });
  }

  // A phone used as a tally must not go dark. Browsers grant the lock only
  // to a visible page (and only over https or on the computer itself), and
  // drop it when the page is hidden, so it is asked for again each time the
  // page returns; a video the page plays instead is started again too.
  function keepScreenOn() {
    if (document.visibilityState === 'visible' && awakeVideo && awakeVideo.paused) {
      awakeVideo.play();
    }
    if (awakeVideo) {
      return;
    }
    if (!('wakeLock' in navigator)) {
      showAwakeNote('insecure');
      return;
    }
    if (document.visibilityState !== 'visible') {
      return;
    }
    navigator.wakeLock.request('screen').then(
      function () {
        if (awakeNote) {
          awakeNote.hidden = true;
        }
      },
      function () {
        showAwakeNote('refused');
      });
  }

  if (awakeNote) {
    // A tap on a note of a screen that may turn off starts the video where
    // the browser can make one; otherwise a refused lock is asked again and
    // the note that no lock can come just goes. Any other note goes, for
    // good.
    awakeNote.addEventListener('click', function (event) {
      event.stopPropagation();
      var kind = awakeNote.getAttribute('data-kind');
      awakeNote.hidden = true;
      if ((kind === 'insecure' || kind === 'refused') && canKeepAwakeByVideo()) {
        keepAwakeByVideo();
      } else if (kind === 'refused') {
        keepScreenOn();
      } else {
        awakeDismissed = true;
      }
    });
  }
  document.addEventListener('visibilitychange', keepScreenOn);
  document.addEventListener('click', keepScreenOn);
  keepScreenOn();
  show(null);
  connect();
})();
