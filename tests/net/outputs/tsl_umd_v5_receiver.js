// Listens with the npm package tsl-umd-v5 and prints every display message
// it decodes as one JSON line, for the sender's interop test.
// Usage: node tsl_umd_v5_receiver.js udp|tcp PORT
const TSL5 = require('tsl-umd-v5')

const [transport, port] = process.argv.slice(2)
const umd = new TSL5()
umd.on('message', (message) => {
    process.stdout.write(JSON.stringify({
        screen: message.screen,
        index: message.index,
        length: message.length,
        rh_tally: message.display.rh_tally,
        text_tally: message.display.text_tally,
        lh_tally: message.display.lh_tally,
        brightness: message.display.brightness,
        text: message.display.text,
    }) + '\n')
})
if (transport === 'tcp') {
    umd.listenTCP(Number(port))
} else {
    umd.listenUDP(Number(port))
}
process.stdout.write(JSON.stringify({ listening: Number(port) }) + '\n')
