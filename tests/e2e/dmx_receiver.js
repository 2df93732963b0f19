// Receives DMX with an npm package written by others and prints what it
// read, one JSON object a line, for the whole-process DMX tests:
//   node dmx_receiver.js sacn PORT UNIVERSE [INTERFACE_ADDRESS]   (npm sacn)
//   node dmx_receiver.js artnet PORT UNIVERSE                     (npm dmxnet)
// First {"ready":true}, then for every datagram the first 32 levels and,
// for sACN, what the packet says of its source.
'use strict';

const [kind, portText, universeText, iface] = process.argv.slice(2);
const port = Number(portText);
const universe = Number(universeText);
const shown = 32;

function print(object) {
    process.stdout.write(JSON.stringify(object) + '\n');
}

if (kind === 'sacn') {
    const { Receiver } = require('sacn');
    const receiver = new Receiver({ universes: [universe], port, iface, reuseAddr: true });
    receiver.on('packet', (packet) => {
        const levels = packet.payloadAsBuffer;
        print({
            levels: Array.from(levels.subarray(0, shown)),
            universe: packet.universe,
            sourceName: packet.sourceName,
            priority: packet.priority,
            cid: packet.cid.toString('hex'),
            terminated: (packet.options & 0x40) !== 0,
        });
    });
    receiver.on('error', (error) => print({ error: String(error) }));
    // The socket joins the group once bound; a moment later it hears.
    setTimeout(() => print({ ready: true }), 300);
} else if (kind === 'artnet') {
    const dmxlib = require('dmxnet');
    const dmxnet = new dmxlib.dmxnet({ listen: port, log: { level: 'error' } });
    const receiver = dmxnet.newReceiver({ net: (universe >> 8) & 0x7f, subnet: (universe >> 4) & 0x0f,
        universe: universe & 0x0f });
    receiver.on('data', (data) => print({ levels: Array.from(data).slice(0, shown) }));
    setTimeout(() => print({ ready: true }), 300);
} else {
    print({ error: 'unknown kind ' + kind });
    process.exit(2);
}
