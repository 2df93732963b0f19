#!/usr/bin/env python3
"""The parts of the soak run (scripts/soak.sh), one per process so that none
slows another down: the switcher, each kind of hostile load, the real page in
Chromium and the watch on the tally box's capture file.

Every part runs until it is sent SIGTERM (or for --seconds), and the ones that
measure print one JSON object on standard output as they end.

Standard library only: the soak runs wherever the tests do.
"""

import argparse
import base64
import json
import os
import random
import signal
import socket
import struct
import subprocess
import sys
import tempfile
import time
import urllib.request

stopping = False


def stop(*_):
    global stopping
    stopping = True


signal.signal(signal.SIGTERM, stop)
signal.signal(signal.SIGINT, stop)


def running(deadline):
    return not stopping and (deadline is None or time.monotonic() < deadline)


def paced(rate, deadline):
    """Yields about rate times a second until the run ends."""
    interval = 1.0 / rate
    next_at = time.monotonic()
    while running(deadline):
        yield
        next_at += interval
        delay = next_at - time.monotonic()
        if delay > 0:
            time.sleep(delay)
        elif delay < -1.0:
            next_at = time.monotonic()  # fell behind: do not burst to catch up


# --- TSL UMD 5.0 -----------------------------------------------------------


def build_packet(displays):
    """A TSL UMD 5.0 packet: PBC, VER, FLAGS, SCREEN, then one message per
    display (index, left, text and right tally, text); words little-endian,
    colours 0 off, 1 red, 2 green, 3 amber, full brightness."""
    body = b""
    for index, left, text_tally, right, text in displays:
        control = (right & 3) | ((text_tally & 3) << 2) | ((left & 3) << 4) | (3 << 6)
        encoded = text.encode("ascii")
        body += struct.pack("<HHH", index, control, len(encoded)) + encoded
    after_pbc = struct.pack("<BBH", 0, 0, 0) + body
    return struct.pack("<H", len(after_pbc)) + after_pbc


RED, GREEN = 1, 2


def switcher(args):
    """The real switcher: Camera 1 and Camera 2 on indexes 1 and 2, its state
    every half second, a cut every --cut-every seconds."""
    deadline = args.deadline
    target = ("127.0.0.1", args.port)
    sock = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
    sock.bind(("127.0.0.1", 0))
    camera1_live = True
    last_cut = time.monotonic()
    cuts = 0
    for _ in paced(2, deadline):
        if time.monotonic() - last_cut >= args.cut_every:
            camera1_live = not camera1_live
            last_cut = time.monotonic()
            cuts += 1
        one, two = (RED, GREEN) if camera1_live else (GREEN, RED)
        sock.sendto(build_packet([(1, one, one, one, "Camera 1"), (2, two, two, two, "Camera 2")]), target)
    print(json.dumps({"part": "switcher", "cuts": cuts}), flush=True)


def tsl_flood(args):
    """Hostile TSL: valid packets to spare indexes 1000-2199 that fill the
    table, spoofed 'Camera 1 live' on a spare index, packets of 2 KB, and
    garbage; from the switcher's own address and from strangers."""
    deadline = args.deadline
    target = ("127.0.0.1", args.port)
    senders = []
    for address in ["127.0.0.1", "127.0.0.66", "127.0.0.67", "127.0.0.68"]:
        sock = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
        sock.bind((address, 0))
        senders.append(sock)
    big_text = "x" * 200
    kinds = 0
    sent = 0
    for _ in paced(args.rate, deadline):
        sock = senders[sent % len(senders)]
        kind = kinds % 5
        kinds += 1
        if kind == 0:
            base = 1000 + random.randrange(0, 1200, 40)
            datagram = build_packet([(base + i, random.randint(0, 2), 0, 0, "junk") for i in range(40)])
        elif kind == 1:
            datagram = build_packet([(900, RED, RED, RED, "Camera 1")])
        elif kind == 2:
            datagram = build_packet([(1000 + random.randrange(1200), RED, 0, GREEN, big_text) for _ in range(9)])
        elif kind == 3:
            datagram = os.urandom(random.randint(1, 2100))
        else:
            datagram = build_packet([(random.randrange(3, 20), random.randint(0, 2), 0, 0, "toggle")])
        try:
            sock.sendto(datagram, target)
            sent += 1
        except OSError:
            pass
    print(json.dumps({"part": "tsl-flood", "datagrams": sent}), flush=True)


# --- TCP, HTTP and WebSocket ----------------------------------------------


def idle_tcp(args):
    """Connections that never send (or drip a byte now and then), kept at
    --count: whatever the server cuts is opened again."""
    deadline = args.deadline
    sockets = []
    opened = 0
    for _ in paced(20, deadline):
        sockets = [s for s in sockets if alive(s)]
        while len(sockets) < args.count and running(deadline):
            try:
                s = socket.create_connection(("127.0.0.1", args.port), timeout=2)
                s.setblocking(False)
                sockets.append(s)
                opened += 1
            except OSError:
                break
        if args.drip and sockets:
            try:
                random.choice(sockets).send(b"G")
            except OSError:
                pass
    print(json.dumps({"part": "idle-tcp", "port": args.port, "opened": opened}), flush=True)


def alive(s):
    try:
        data = s.recv(65536)
        if data == b"":
            s.close()
            return False
        return True
    except BlockingIOError:
        return True
    except OSError:
        s.close()
        return False


def oversized_http(args):
    """Requests with 100 KB of headers, and bodies far past any limit."""
    deadline = args.deadline
    sent = 0
    for _ in paced(args.rate, deadline):
        try:
            with socket.create_connection(("127.0.0.1", args.port), timeout=2) as s:
                if sent % 2 == 0:
                    request = b"GET /light/1 HTTP/1.1\r\nHost: 127.0.0.1\r\nX-Fill: " + b"a" * 100_000 + b"\r\n\r\n"
                else:
                    request = (b"POST /ws HTTP/1.1\r\nHost: 127.0.0.1\r\nContent-Length: 10000000\r\n\r\n"
                               + b"b" * 200_000)
                s.sendall(request)
                s.recv(4096)
        except OSError:
            pass
        sent += 1
    print(json.dumps({"part": "oversized-http", "requests": sent}), flush=True)


class WebSocketClient:
    """Just enough of RFC 6455 for a client: the upgrade, masked frames out,
    frames in."""

    def __init__(self, port, path="/ws", host="127.0.0.1", timeout=5):
        self.sock = socket.create_connection((host, port), timeout=timeout)
        key = base64.b64encode(os.urandom(16)).decode()
        self.sock.sendall((f"GET {path} HTTP/1.1\r\nHost: {host}:{port}\r\nUpgrade: websocket\r\n"
                           f"Connection: Upgrade\r\nSec-WebSocket-Key: {key}\r\n"
                           "Sec-WebSocket-Version: 13\r\n\r\n").encode())
        answer = b""
        while b"\r\n\r\n" not in answer:
            chunk = self.sock.recv(4096)
            if not chunk:
                raise OSError("closed during the upgrade")
            answer += chunk
        head, _, self.buffer = answer.partition(b"\r\n\r\n")
        if not head.startswith(b"HTTP/1.1 101"):
            raise OSError("upgrade refused: " + head.split(b"\r\n")[0].decode(errors="replace"))

    def send(self, payload, opcode=1):
        if isinstance(payload, str):
            payload = payload.encode()
        mask = os.urandom(4)
        length = len(payload)
        if length < 126:
            header = struct.pack("!BB", 0x80 | opcode, 0x80 | length)
        elif length < 65536:
            header = struct.pack("!BBH", 0x80 | opcode, 0x80 | 126, length)
        else:
            header = struct.pack("!BBQ", 0x80 | opcode, 0x80 | 127, length)
        masked = bytes(b ^ mask[i % 4] for i, b in enumerate(payload))
        self.sock.sendall(header + mask + masked)

    def _take(self, count):
        while len(self.buffer) < count:
            chunk = self.sock.recv(65536)
            if not chunk:
                raise OSError("closed")
            self.buffer += chunk
        taken, self.buffer = self.buffer[:count], self.buffer[count:]
        return taken

    def receive(self):
        first, second = self._take(2)
        length = second & 0x7F
        if length == 126:
            (length,) = struct.unpack("!H", self._take(2))
        elif length == 127:
            (length,) = struct.unpack("!Q", self._take(8))
        mask = self._take(4) if second & 0x80 else None
        payload = self._take(length)
        if mask:
            payload = bytes(b ^ mask[i % 4] for i, b in enumerate(payload))
        return first & 0x0F, payload

    def close(self):
        try:
            self.sock.close()
        except OSError:
            pass


def websockets(args):
    """--count WebSocket clients that read the state; every few seconds one
    of them sends an oversized frame or a burst of frames, and one is closed
    and opened again."""
    deadline = args.deadline
    clients = []
    opened = refused = messages = 0
    reasons = {}
    for tick in paced(10, deadline):
        while len(clients) < args.count and running(deadline):
            try:
                client = WebSocketClient(args.port)
                client.sock.setblocking(False)
                clients.append(client)
                opened += 1
            except OSError as error:
                refused += 1
                reason = str(error)[:60]
                reasons[reason] = reasons.get(reason, 0) + 1
                break
        for client in list(clients):
            try:
                while True:
                    chunk = client.sock.recv(65536)
                    if not chunk:
                        raise OSError("closed")
                    messages += chunk.count(b'"lights"')
            except BlockingIOError:
                pass
            except OSError:
                client.close()
                clients.remove(client)
        if clients and random.random() < 0.1:
            victim = random.choice(clients)
            try:
                victim.sock.setblocking(True)
                if random.random() < 0.5:
                    victim.send(b"z" * 300_000)
                else:
                    for _ in range(200):
                        victim.send("hello")
                victim.sock.setblocking(False)
            except OSError:
                victim.close()
                clients.remove(victim)
        if clients and random.random() < 0.05:
            clients.pop(0).close()
    print(json.dumps({"part": "websockets", "opened": opened, "refused": refused, "state_messages": messages,
                      "refusals": reasons}), flush=True)


# --- The real page in Chromium ---------------------------------------------


def chromium_page(args):
    """Opens /light/1 in a headless Chromium and counts, inside the page,
    every time it shows NO SIGNAL."""
    deadline = args.deadline
    profile = tempfile.mkdtemp(prefix="soak-chromium-")
    browser = subprocess.Popen(
        [args.browser, "--headless", "--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run",
         "--disable-background-networking", "--disable-component-update", "--disable-sync",
         "--disable-dev-shm-usage", "--user-data-dir=" + profile, "--remote-debugging-port=0", "about:blank"],
        stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    result = {"part": "chromium", "no_signal_seen": None, "shows": None}
    try:
        port_file = os.path.join(profile, "DevToolsActivePort")
        for _ in range(200):
            if os.path.exists(port_file) and open(port_file).read().strip():
                break
            time.sleep(0.05)
        devtools_port = int(open(port_file).read().split()[0])
        pages = json.load(urllib.request.urlopen(f"http://127.0.0.1:{devtools_port}/json/list"))
        page_path = next(p for p in pages if p["type"] == "page")["webSocketDebuggerUrl"].split(
            f":{devtools_port}", 1)[1]
        page = WebSocketClient(devtools_port, path=page_path, timeout=30)
        next_id = [0]

        def call(method, params=None):
            next_id[0] += 1
            page.send(json.dumps({"id": next_id[0], "method": method, "params": params or {}}))
            while True:
                _, payload = page.receive()
                reply = json.loads(payload)
                if reply.get("id") == next_id[0]:
                    return reply.get("result", {})

        def evaluate(expression):
            return call("Runtime.evaluate", {"expression": expression, "returnByValue": True}).get(
                "result", {}).get("value")

        call("Page.navigate", {"url": f"http://127.0.0.1:{args.port}/light/1"})
        for _ in range(100):
            if evaluate("document.readyState") == "complete":
                break
            time.sleep(0.1)
        time.sleep(2)
        evaluate("window.noSignalSeen = 0; new MutationObserver(() => {"
                 " if (document.body.innerText.includes('NO SIGNAL')) window.noSignalSeen++;"
                 "}).observe(document.body, {subtree: true, childList: true, characterData: true}); true")
        print(json.dumps({"part": "chromium", "ready": True}), flush=True)
        while running(deadline):
            time.sleep(0.5)
        result["no_signal_seen"] = evaluate("window.noSignalSeen")
        result["shows"] = evaluate("document.body.innerText.replace(/\\s+/g, ' ').trim()")
        page.close()
    except Exception as error:  # the report says what went wrong instead
        result["error"] = repr(error)
    finally:
        browser.terminate()
        try:
            browser.wait(10)
        except subprocess.TimeoutExpired:
            browser.kill()
    print(json.dumps(result), flush=True)


# --- The tally box -----------------------------------------------------------


def box_gaps(args):
    """Watches the capture file grow: every growth is a write to the box.
    Reports the longest gap between two writes and how many gaps passed
    0.5 s."""
    deadline = args.deadline
    last_size = -1
    last_write = None
    longest = 0.0
    longest_at = None
    over_half_second = 0
    writes = 0
    started = time.monotonic()
    while running(deadline):
        try:
            size = os.stat(args.file).st_size
        except FileNotFoundError:
            size = -1
        now = time.monotonic()
        if size != last_size and size > 0:
            if last_write is not None:
                gap = now - last_write
                if gap > longest:
                    longest = gap
                    longest_at = now - started
                if gap > 0.5:
                    over_half_second += 1
            last_write = now
            last_size = size
            writes += 1
        time.sleep(0.002)
    print(json.dumps({"part": "box", "growths": writes, "longest_gap_ms": round(longest * 1000, 1),
                      "longest_gap_at_s": round(longest_at or 0, 1), "gaps_over_500_ms": over_half_second}),
          flush=True)


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("part", choices=["switcher", "tsl-flood", "idle-tcp", "oversized-http", "websockets",
                                         "chromium", "box-gaps"])
    parser.add_argument("--port", type=int, default=0)
    parser.add_argument("--rate", type=float, default=100)
    parser.add_argument("--count", type=int, default=10)
    parser.add_argument("--drip", action="store_true")
    parser.add_argument("--cut-every", type=float, default=7)
    parser.add_argument("--seconds", type=float, default=0, help="0: until SIGTERM")
    parser.add_argument("--file", default="")
    parser.add_argument("--browser", default="chromium")
    args = parser.parse_args()
    args.deadline = time.monotonic() + args.seconds if args.seconds else None
    {
        "switcher": switcher,
        "tsl-flood": tsl_flood,
        "idle-tcp": idle_tcp,
        "oversized-http": oversized_http,
        "websockets": websockets,
        "chromium": chromium_page,
        "box-gaps": box_gaps,
    }[args.part](args)


if __name__ == "__main__":
    sys.exit(main())
