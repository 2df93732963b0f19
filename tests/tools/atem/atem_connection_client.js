// Follows an ATEM switcher with the npm package atem-connection and prints
// what it reads as one JSON line whenever that changes:
//   {"connected":true,"inputs":{"1":"Camera 1",...},"program":1,"preview":2,
//    "tally":{"1":"program","2":"preview","3":"off",...},
//    "recording":false,"streaming":true}
// ("recording" and "streaming" are null until the switcher states them.)
// The stand-in's interop tests compare these lines with what they told the
// stand-in to do.
//
//   node atem_connection_client.js HOST PORT

const { Atem, Commands, Enums } = require('atem-connection');

const [host, port] = process.argv.slice(2);
const atem = new Atem({ disableMultithreaded: true });
let connected = false;
let tally = {};
let lastLine = '';

function tallyWord(entry) {
    if (entry.program && entry.preview) {
        return 'program+preview';
    }
    return entry.program ? 'program' : entry.preview ? 'preview' : 'off';
}

function report() {
    const state = atem.state;
    const inputs = {};
    if (state) {
        for (const [id, input] of Object.entries(state.inputs || {})) {
            if (input) {
                inputs[id] = input.longName;
            }
        }
    }
    const me = state && state.video && state.video.mixEffects[0];
    const recorder = state && state.recording && state.recording.status;
    const stream = state && state.streaming && state.streaming.status;
    const line = JSON.stringify({
        connected,
        inputs,
        program: me ? me.programInput : null,
        preview: me ? me.previewInput : null,
        tally,
        recording: recorder ? recorder.state === Enums.RecordingStatus.Recording : null,
        streaming: stream ? stream.state === Enums.StreamingStatus.Streaming : null,
    });
    if (line !== lastLine) {
        lastLine = line;
        process.stdout.write(line + '\n');
    }
}

atem.on('error', (error) => process.stderr.write(`error: ${error}\n`));
atem.on('connected', () => {
    connected = true;
    report();
});
atem.on('disconnected', () => {
    connected = false;
    tally = {};
    report();
});
atem.on('receivedCommands', (commands) => {
    for (const command of commands) {
        if (command instanceof Commands.TallyBySourceCommand) {
            tally = {};
            for (const [source, entry] of Object.entries(command.properties)) {
                tally[source] = tallyWord(entry);
            }
        }
    }
    if (connected) {
        report();
    }
});
atem.on('stateChanged', () => {
    if (connected) {
        report();
    }
});
atem.connect(host, Number(port));
