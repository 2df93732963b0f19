// Sends one display message with the npm package tsl-umd-v5, as a hardware
// switcher would, for the TSL source's interop test.
// Usage: node tsl_umd_v5_sender.js udp|tcp HOST PORT INDEX RH TEXT LH TEXT
const TSL5 = require('tsl-umd-v5')

const [transport, host, port, index, rh, textTally, lh, text] = process.argv.slice(2)
const tally = {
    screen: 0,
    index: Number(index),
    display: {
        rh_tally: Number(rh),
        text_tally: Number(textTally),
        lh_tally: Number(lh),
        brightness: 3,
        text: text,
    },
}
const umd = new TSL5()
if (transport === 'tcp') {
    umd.sendTallyTCP(host, Number(port), tally)
} else {
    umd.sendTallyUDP(host, Number(port), tally)
}
