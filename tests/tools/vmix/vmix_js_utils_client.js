// Follows a vMix TCP API over a plain socket and reads what comes with the
// npm package vmix-js-utils: the tally with TcpTally, the titles with its
// XML parser and input mapper, recording and streaming with its general
// state. It prints one JSON line whenever what it reads changes, in the
// same form as node_vmix_client.js. It asks for the XML every 300 ms to see
// renames, and connects again 300 ms after a connection ends.
//
//   node vmix_js_utils_client.js HOST PORT

const net = require('net');
const { TcpTally, XmlApiDataParser, XmlInputMapper, XmlGeneralState } = require('vmix-js-utils');

const [host, port] = process.argv.slice(2);
let state = { connected: false, inputs: {}, tally: {}, recording: null, streaming: null };
let lastLine = '';

function report() {
    const line = JSON.stringify(state);
    if (line !== lastLine) {
        lastLine = line;
        process.stdout.write(line + '\n');
    }
}

function readTally(line) {
    const summary = TcpTally.extractSummary(line.replace('TALLY OK ', ''));
    const tally = {};
    for (let input = 1; input <= summary.numberOfInputs; ++input) {
        tally[String(input)] = summary.program.includes(input) ? 'program'
            : summary.preview.includes(input)                  ? 'preview'
                                                               : 'off';
    }
    state = { ...state, tally };
    report();
}

function readXml(xml) {
    const document = XmlApiDataParser.parse(xml);
    const inputs = {};
    const mapped = XmlInputMapper.mapInputs(XmlInputMapper.extractInputsFromXML(document), ['number', 'title']);
    for (const input of Object.values(mapped)) {
        inputs[String(input.number)] = input.title;
    }
    const general = new XmlGeneralState(document);
    state = { ...state, inputs, recording: general.recording(), streaming: general.streaming() };
    report();
}

function follow() {
    const socket = net.connect(Number(port), host);
    let buffer = Buffer.alloc(0);
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
    socket.on('connect', () => {
        state = { ...state, connected: true };
        report();
        socket.write('SUBSCRIBE TALLY\r\nXML\r\nTALLY\r\n');
        poll = setInterval(() => socket.write('XML\r\n'), 300);
    });
    socket.on('data', (data) => {
        buffer = Buffer.concat([buffer, data]);
        for (;;) {
            const end = buffer.indexOf('\r\n');
            if (end < 0) {
                return;
            }
            const line = buffer.subarray(0, end).toString('utf8');
            const [command, status] = line.split(' ');
            if (/^\d+$/.test(status || '')) {
                const length = Number(status);
                if (buffer.length < end + 2 + length) {
                    return;
                }
                const data = buffer.subarray(end + 2, end + 2 + length).toString('utf8');
                buffer = buffer.subarray(end + 2 + length);
                if (command === 'XML') {
                    readXml(data);
                }
                continue;
            }
            buffer = buffer.subarray(end + 2);
            if (command === 'TALLY' && status === 'OK') {
                readTally(line);
            }
        }
    });
    socket.on('error', (error) => process.stderr.write(`error: ${error}\n`));
    socket.on('close', end);
}

follow();
