// Follows a vMix TCP API with the npm package node-vmix and prints what it
// reads as one JSON line whenever that changes:
//   {"connected":true,"inputs":{"1":"Camera 1",...},
//    "tally":{"1":"program","2":"preview","3":"off"},"recording":false,"streaming":false}
// node-vmix frames the messages (lines, and the XML after its length); the
// titles are read from the XML here with a pattern of its own, so that this
// client shares no XML reader with the other one. It asks for the XML every
// 300 ms to see renames, and connects again 300 ms after a connection ends.
//
//   node node_vmix_client.js HOST PORT

const { ConnectionTCP } = require('node-vmix');

const [host, port] = process.argv.slice(2);
const words = { 0: 'off', 1: 'program', 2: 'preview' };
let state = { connected: false, inputs: {}, tally: {}, recording: null, streaming: null };
let lastLine = '';

function report() {
    const line = JSON.stringify(state);
    if (line !== lastLine) {
        lastLine = line;
        process.stdout.write(line + '\n');
    }
}

function unescape(text) {
    return text.replace(/&quot;/g, '"').replace(/&apos;/g, "'").replace(/&lt;/g, '<').replace(/&gt;/g, '>')
        .replace(/&amp;/g, '&');
}

function readXml(xml) {
    const inputs = {};
    for (const match of xml.matchAll(/<input\s[^>]*>/g)) {
        const number = /\snumber="(\d+)"/.exec(match[0]);
        const title = /\stitle="([^"]*)"/.exec(match[0]);
        if (number && title) {
            inputs[number[1]] = unescape(title[1]);
        }
    }
    const flag = (name) => {
        const found = new RegExp(`<${name}[^>]*>([^<]*)</${name}>`).exec(xml);
        return found ? found[1] === 'True' : null;
    };
    state = { ...state, inputs, recording: flag('recording'), streaming: flag('streaming') };
    report();
}

function readTally(digits) {
    const tally = {};
    [...digits.trim()].forEach((digit, index) => {
        tally[String(index + 1)] = words[digit] || `bad ${digit}`;
    });
    state = { ...state, tally };
    report();
}

function follow() {
    const connection = new ConnectionTCP(host, { port: Number(port), autoReconnect: false });
    let poll = null;
    let ended = false;
    const end = () => {
        if (ended) {
            return;
        }
        ended = true;
        clearInterval(poll);
        state = { connected: false, inputs: {}, tally: {}, recording: null, streaming: null };
        report();
        setTimeout(follow, 300);
    };
    connection.on('connect', () => {
        state = { ...state, connected: true };
        report();
        connection.send('SUBSCRIBE TALLY');
        connection.send('XML');
        connection.send('TALLY');
        poll = setInterval(() => connection.send('XML'), 300);
    });
    connection.on('tally', readTally);
    connection.on('xml', readXml);
    connection.on('error', (error) => process.stderr.write(`error: ${error}\n`));
    connection.on('close', end);
    connection.on('end', end);
}

follow();
