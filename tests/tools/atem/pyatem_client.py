#!/usr/bin/env python3
"""Follows an ATEM switcher with Debian's python3-pyatem and prints what it
reads as one JSON line whenever that changes, in the same form as
atem_connection_client.js:

    {"connected": true, "inputs": {"1": "Camera 1", ...}, "program": 1,
     "preview": 2, "tally": {"1": "program", "2": "preview", ...},
     "recording": false, "streaming": true}

("recording" and "streaming" are null until the switcher states them.)

pyatem does not notice a switcher that went away, so this client does what
an application using it has to: after two seconds without a packet it
starts a new connection.

    pyatem_client.py HOST PORT
"""

import json
import sys
import threading
import time

from pyatem.protocol import AtemProtocol

SILENCE_LIMIT = 2.0
STREAM_ON_AIR = 4


def tally_word(program, preview):
    if program and preview:
        return "program+preview"
    return "program" if program else "preview" if preview else "off"


class Follower:
    def __init__(self, host, port):
        self.host = host
        self.port = port
        self.last_line = None
        self.expired = False
        self.connected = False
        self.atem = None

    def report(self):
        state = self.atem.mixerstate
        inputs = {str(index): field.name for index, field in state.get("input-properties", {}).items()}
        program = state.get("program-bus-input", {}).get(0)
        preview = state.get("preview-bus-input", {}).get(0)
        tally_field = state.get("tally-source")
        tally = {}
        if tally_field is not None:
            tally = {str(source): tally_word(*bits) for source, bits in tally_field.tally.items()}
        recorder = state.get("recording-status")
        stream = state.get("streaming-status")
        line = json.dumps(
            {
                "connected": self.connected,
                "inputs": inputs,
                "program": program.source if program else None,
                "preview": preview.source if preview else None,
                "tally": tally,
                "recording": (recorder.is_recording and not recorder.is_stopping) if recorder else None,
                # pyatem keeps the stream's state word as it came: 4 is on air.
                "streaming": (stream.status == STREAM_ON_AIR) if stream else None,
            },
            separators=(",", ":"),
        )
        if line != self.last_line:
            self.last_line = line
            print(line, flush=True)

    def on_change(self, key, contents):
        if self.connected:
            self.report()

    def on_connected(self):
        self.connected = True
        self.report()

    def watchdog(self, atem):
        # Every packet the switcher sends reliably, pings included, carries a
        # new id; the same id for too long means nothing has come.
        last_id = None
        last_change = time.monotonic()
        while True:
            time.sleep(0.2)
            current = atem.transport.remote_sequence_number
            if current != last_id:
                last_id = current
                last_change = time.monotonic()
            elif time.monotonic() - last_change > SILENCE_LIMIT:
                self.expired = True
                # Wakes loop() with the transport's own "socket gone" value.
                atem.transport.thread_recv_queue.put(None)
                return

    def run(self):
        while True:
            self.expired = False
            self.atem = AtemProtocol(self.host, self.port)
            self.atem.on("change", self.on_change)
            self.atem.on("connected", self.on_connected)
            atem = self.atem
            threading.Thread(target=self.watchdog, args=(atem,), daemon=True).start()
            atem.connect()
            while not self.expired:
                atem.loop()
            if self.connected:
                self.connected = False
                atem.mixerstate = {}
                self.report()
            time.sleep(0.2)


if __name__ == "__main__":
    Follower(sys.argv[1], int(sys.argv[2])).run()
