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
    timeline = Timeline(args.timeline)
    timeline.note(camera1_live)
    for _ in paced(2, deadline):
        if time.monotonic() - last_cut >= args.cut_every:
            camera1_live = not camera1_live
            last_cut = time.monotonic()
            timeline.note(camera1_live)
            cuts += 1
        one, two = (RED, GREEN) if camera1_live else (GREEN, RED)
        sock.sendto(build_packet([(1, one, one, one, "Camera 1"), (2, two, two, two, "Camera 2")]), target)
    print(json.dumps({"part": "switcher", "cuts": cuts}), flush=True)


def tsl_flood(args):
    """Hostile TSL: from strangers, valid packets to spare indexes
    1000-2199 that fill the table, 'Camera 1 live' on a spare index and
    packets of 2 KB; from strangers and the switcher's own address, garbage
    and toggles of indexes 3-19."""
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
        if kind in (0, 1, 2) and sock is senders[0]:
            # Displays named from the switcher's own address are the
            # switcher's as far as anyone can tell (TSL has no way to prove a
            # sender): "Camera 1 live" there, or a thousand spare indexes
            # pushing out its own, would be the switcher saying so. Only
            # strangers try those; from the switcher's address come garbage
            # and toggles.
            sock = senders[1 + random.randrange(len(senders) - 1)]
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


# --- What the switcher has and what each output showed -------------------


class Series:
    """A file of JSON lines, one per change, each with the monotonic time it
    happened: the switcher's truth, or what an output showed. Written as it
    happens, so that a part that is killed still leaves its record."""

    def __init__(self, path):
        self.file = open(path, "a", buffering=1) if path else None
        self.last = object()

    def note(self, value, at=None):
        if self.file is None or value == self.last:
            return
        self.last = value
        self.file.write(json.dumps({"t": time.monotonic() if at is None else at, "v": value}) + "\n")


class Timeline(Series):
    """The switcher's truth: whether Camera 1 is on program (else it is on
    preview and Camera 2 on program)."""


def read_series(path):
    try:
        with open(path) as file:
            return [(entry["t"], entry["v"]) for entry in map(json.loads, file) if entry]
    except FileNotFoundError:
        return []


def light1_truth(camera1_live):
    return "live" if camera1_live else "preview"


def wrong_spans(shown, truth, begin, end, excused=()):
    """The stretches of time in [begin, end] in which light 1 showed
    something other than the switcher's state, leaving out the excused
    windows (a broker that was stopped, and the time it is given to catch
    up). Both series hold (time, value) changes; truth holds Camera 1's
    program state."""
    moments = sorted({t for t, _ in shown} | {t for t, _ in truth} | {begin, end}
                     | {t for window in excused for t in window})
    moments = [t for t in moments if begin <= t <= end]

    def value_at(series, t):
        current = None
        for at, value in series:
            if at > t:
                break
            current = value
        return current

    spans = []
    opened = None
    for here, after in zip(moments, moments[1:]):
        middle = (here + after) / 2
        camera1 = value_at(truth, middle)
        excuse = any(a <= middle <= b for a, b in excused)
        wrong = (not excuse and camera1 is not None
                 and value_at(shown, middle) != light1_truth(camera1))
        if wrong and opened is None:
            opened = here
        elif not wrong and opened is not None:
            spans.append((opened, here))
            opened = None
    if opened is not None:
        spans.append((opened, end))
    return spans


def judge(args):
    """Compares what each output showed of light 1 with the switcher's
    truth, after the run."""
    truth = read_series(args.timeline)
    shown = read_series(args.series)
    excused = [tuple(window) for _, window in read_series(args.excused)] if args.excused else []
    if not truth or not shown:
        print(json.dumps({"part": "judge", "output": args.name, "error": "nothing recorded"}), flush=True)
        return
    # Judged from the output's first state on: before it, it had nothing
    # to show yet.
    begin = shown[0][0]
    end = args.end if args.end else max(truth[-1][0], shown[-1][0])
    spans = wrong_spans(shown, truth, begin, end, excused)
    lengths = sorted(b - a for a, b in spans)
    over = [round(b - a, 3) for a, b in spans if b - a > args.tick]
    print(json.dumps({"part": "judge", "output": args.name, "changes_shown": len(shown),
                      "truth_changes": len(truth), "wrong_spans": len(spans),
                      "longest_wrong_ms": round((lengths[-1] if lengths else 0) * 1000, 1),
                      "wrong_longer_than_a_tick": len(over), "examples": over[:5],
                      "seconds_judged": round(end - begin, 1)}), flush=True)


# --- A busy, allowed TSL device ----------------------------------------------


def busy_sender(args):
    """An allowed device that names far more displays than the table holds
    (a router controller labelling monitors): 40 new indexes a datagram,
    cycling through 100-9999, from 127.0.0.2."""
    deadline = args.deadline
    sock = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
    sock.bind(("127.0.0.2", 0))
    target = ("127.0.0.1", args.port)
    index = 100
    sent = 0
    for _ in paced(args.rate, deadline):
        displays = []
        for _ in range(40):
            displays.append((index, 0, 0, 0, f"Monitor {index}"))
            index = 100 if index >= 9999 else index + 1
        try:
            sock.sendto(build_packet(displays), target)
            sent += 1
        except OSError:
            pass
    print(json.dumps({"part": "busy-sender", "datagrams": sent}), flush=True)


# --- ATEM: the stand-in switcher and someone forging its packets ---------


def atem_switcher(args):
    """Runs the ATEM stand-in with Camera 1 on program and Camera 2 on
    preview, and cuts every --cut-every seconds."""
    deadline = args.deadline
    standin = subprocess.Popen([args.standin, "--port", str(args.port), "--inputs", "Camera 1,Camera 2,Camera 3",
                                "--program", "1", "--preview", "2"],
                               stdin=subprocess.PIPE, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                               text=True)
    timeline = Timeline(args.timeline)

    def say(line):
        standin.stdin.write(line + "\n")
        standin.stdin.flush()

    say("program 1")
    say("preview 2")
    camera1_live = True
    timeline.note(camera1_live)
    cuts = 0
    last_cut = time.monotonic()
    for _ in paced(20, deadline):
        if time.monotonic() - last_cut >= args.cut_every:
            say("cut")
            camera1_live = not camera1_live
            timeline.note(camera1_live)
            last_cut = time.monotonic()
            cuts += 1
    say("quit")
    try:
        standin.wait(5)
    except subprocess.TimeoutExpired:
        standin.kill()
    print(json.dumps({"part": "atem-switcher", "cuts": cuts}), flush=True)


def atem_command(name, body):
    while len(body) % 4:
        body += b"\0"
    return struct.pack("!HH", 8 + len(body), 0) + name + body


def atem_packet(flags, session, packet_id=0, resend_id=0, payload=b""):
    return struct.pack("!HHHHHH", (flags << 11) | (12 + len(payload)), session, 0, resend_id, 0, packet_id) + payload


class LoopbackForger:
    """Overhears the switcher's packets on the loopback interface and sends
    packets that claim its address and port (a raw socket: needs root or
    CAP_NET_RAW)."""

    def __init__(self, switcher_port):
        self.switcher_port = switcher_port
        self.listen = socket.socket(socket.AF_PACKET, socket.SOCK_RAW, socket.htons(0x0800))
        self.listen.bind(("lo", 0))
        self.listen.settimeout(0.2)
        self.send_socket = socket.socket(socket.AF_INET, socket.SOCK_RAW, socket.IPPROTO_UDP)
        self.session = self.client_port = self.packet_id = None

    def overhear(self, seconds):
        """Keeps the switcher's latest session id, packet id and the client's
        port; true once one reliable packet was seen."""
        until = time.monotonic() + seconds
        while time.monotonic() < until:
            try:
                frame = self.listen.recv(65536)
            except socket.timeout:
                continue
            ip = frame[14:]
            if len(ip) < 20 or ip[9] != 17:
                continue
            header = (ip[0] & 0x0F) * 4
            source_port, destination_port = struct.unpack("!HH", ip[header:header + 4])
            atem = ip[header + 8:]
            if source_port != self.switcher_port or len(atem) < 12:
                continue
            flags = atem[0] >> 3
            if flags & 0x01:
                self.session = struct.unpack("!H", atem[2:4])[0]
                self.packet_id = struct.unpack("!H", atem[10:12])[0]
                self.client_port = destination_port
                return True
        return False

    def send(self, datagram):
        udp = struct.pack("!HHHH", self.switcher_port, self.client_port, 8 + len(datagram), 0) + datagram
        self.send_socket.sendto(udp, ("127.0.0.1", 0))


def atem_forger(args):
    """Every --every seconds, one attack in turn from the switcher's own
    address and port: a cut the switcher never made under its next packet
    id; 100 empty packets under the ids it would use next; a burst of 2,000
    resend requests."""
    deadline = args.deadline
    result = {"part": "atem-forger", "forged_cuts": 0, "forged_id_runs": 0, "resend_bursts": 0}
    try:
        forger = LoopbackForger(args.port)
    except OSError as error:
        result["error"] = f"no raw sockets to forge packets with: {error}"
        print(json.dumps(result), flush=True)
        return
    attack = 0
    next_at = time.monotonic() + args.every
    while running(deadline):
        time.sleep(0.05)
        if time.monotonic() < next_at:
            continue
        next_at = time.monotonic() + args.every
        if not forger.overhear(2):
            continue
        kind = attack % 3
        attack += 1
        next_id = (forger.packet_id + 1) % 0x8000
        if kind == 0:
            # Camera 2 to program, Camera 1 to preview.
            tally = struct.pack("!H", 3) + struct.pack("!HB", 1, 0x02) + struct.pack("!HB", 2, 0x01) \
                + struct.pack("!HB", 3, 0)
            payload = (atem_command(b"PrgI", struct.pack("!BBH", 0, 0, 2))
                       + atem_command(b"PrvI", struct.pack("!BBHB3x", 0, 0, 1, 0))
                       + atem_command(b"TlSr", tally))
            forger.send(atem_packet(0x01, forger.session, next_id, payload=payload))
            result["forged_cuts"] += 1
        elif kind == 1:
            for step in range(100):
                forger.send(atem_packet(0x01, forger.session, (next_id + step) % 0x8000))
            result["forged_id_runs"] += 1
        else:
            for _ in range(2000):
                forger.send(atem_packet(0x08, forger.session, resend_id=random.randrange(0x8000)))
            result["resend_bursts"] += 1
    print(json.dumps(result), flush=True)


# --- MQTT: a broker that stalls, and a lamp that listens --------------------


def broker_staller(args):
    """Every --every seconds, stops the broker (SIGSTOP) for --stall seconds:
    a broker machine that hangs, then comes back. Each stall is recorded as
    its window plus the two seconds the lamps are given to catch up."""
    deadline = args.deadline
    stalls = Series(args.series)
    count = 0
    next_at = time.monotonic() + args.every
    while running(deadline):
        time.sleep(0.1)
        if time.monotonic() < next_at:
            continue
        stopped_at = time.monotonic()
        os.kill(args.pid, signal.SIGSTOP)
        while running(deadline) and time.monotonic() - stopped_at < args.stall:
            time.sleep(0.05)
        os.kill(args.pid, signal.SIGCONT)
        resumed_at = time.monotonic()
        stalls.note([stopped_at, resumed_at + 2.0], at=resumed_at)
        count += 1
        next_at = resumed_at + args.every
    print(json.dumps({"part": "broker-staller", "stalls": count}), flush=True)


def mqtt_watch(args):
    """A lamp: mosquitto_sub on PREFIX/light/1/state. Records each state
    with the time it arrived, and after each broker stall how many messages
    the lamp got in the first second after the broker came back."""
    deadline = args.deadline
    shown = Series(args.series)
    lamp = subprocess.Popen(["mosquitto_sub", "-h", "127.0.0.1", "-p", str(args.port), "-t",
                             args.prefix + "/light/1/state", "-q", "1"],
                            stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True, bufsize=1)
    arrivals = []
    os.set_blocking(lamp.stdout.fileno(), False)
    pending = ""
    while running(deadline) and lamp.poll() is None:
        time.sleep(0.005)
        try:
            chunk = lamp.stdout.read()
        except (BlockingIOError, TypeError):
            chunk = None
        if not chunk:
            continue
        pending += chunk
        *lines, pending = pending.split("\n")
        now = time.monotonic()
        for word in lines:
            arrivals.append(now)
            shown.note(word.strip(), at=now)
    lamp.terminate()
    print(json.dumps({"part": "mqtt-watch", "messages": len(arrivals)}), flush=True)
    if args.arrivals:
        with open(args.arrivals, "w") as file:
            json.dump(arrivals, file)


def mqtt_catch_up(args):
    """After each stall: the messages light 1's lamp got in the second after
    the broker came back (at most the current state, not a replay), and how
    long until it showed the switcher's state."""
    stalls = [(t, window) for t, window in read_series(args.excused)]
    truth = read_series(args.timeline)
    shown = read_series(args.series)
    with open(args.arrivals) as file:
        arrivals = json.load(file)
    worst_burst = 0
    worst_catch_up = 0.0
    for resumed_at, _ in stalls:
        burst = sum(1 for t in arrivals if resumed_at <= t <= resumed_at + 1.0)
        worst_burst = max(worst_burst, burst)
        camera1 = [v for t, v in truth if t <= resumed_at]
        if not camera1:
            continue
        wanted = light1_truth(camera1[-1])
        before = [v for t, v in shown if t <= resumed_at]
        if before and before[-1] == wanted:
            continue
        caught = [t for t, v in shown if t > resumed_at and v == wanted]
        worst_catch_up = max(worst_catch_up, (caught[0] - resumed_at) if caught else float("inf"))
    print(json.dumps({"part": "mqtt-catch-up", "stalls": len(stalls),
                      "most_messages_in_the_second_after_a_stall": worst_burst,
                      "longest_catch_up_ms": round(worst_catch_up * 1000, 1)}), flush=True)


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
        # Every change of what the page shows, with the time it showed it.
        evaluate("window.noSignalSeen = 0; window.soakShown = []; const look = () => {"
                 " const text = document.body.innerText;"
                 " const shown = text.includes('NO SIGNAL') ? 'unknown' : text.includes('PREVIEW') ? 'preview'"
                 " : text.includes('LIVE') ? 'live' : 'off';"
                 " if (shown === 'unknown') window.noSignalSeen++;"
                 " window.soakShown.push([Date.now(), shown]); };"
                 " look(); new MutationObserver(look).observe(document.body,"
                 " {subtree: true, childList: true, characterData: true, attributes: true}); true")
        print(json.dumps({"part": "chromium", "ready": True}), flush=True)
        shown = Series(args.series)
        wall_to_monotonic = time.monotonic() - time.time()
        while running(deadline):
            time.sleep(0.5)
            for wall_ms, value in evaluate("window.soakShown.splice(0)") or []:
                shown.note(value, at=wall_ms / 1000.0 + wall_to_monotonic)
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
    0.5 s, and records light 1's state each time the box is told it."""
    deadline = args.deadline
    shown = Series(args.series)
    last_write = None
    longest = 0.0
    longest_at = None
    over_half_second = 0
    writes = 0
    started = time.monotonic()
    program = preview = False
    pending = b""
    capture = None
    while running(deadline):
        if capture is None:
            try:
                capture = open(args.file, "rb")
            except FileNotFoundError:
                time.sleep(0.002)
                continue
        grown = capture.read()
        now = time.monotonic()
        if grown:
            if last_write is not None:
                gap = now - last_write
                if gap > longest:
                    longest = gap
                    longest_at = now - started
                if gap > 0.5:
                    over_half_second += 1
            last_write = now
            writes += 1
            pending += grown
            *lines, pending = pending.split(b"\n")
            for line in lines:
                command = int(line[:2], 16) if len(line) >= 2 else 0
                if command & 0x0F != 1:
                    continue
                channel = command & 0xF0
                if channel in (0xB0, 0x00):
                    program = channel == 0xB0
                else:
                    # The preview byte ends the light's pair.
                    preview = channel == 0xD0
                    shown.note("live" if program else "preview" if preview else "off", at=now)
        time.sleep(0.002)
    print(json.dumps({"part": "box", "growths": writes, "longest_gap_ms": round(longest * 1000, 1),
                      "longest_gap_at_s": round(longest_at or 0, 1), "gaps_over_500_ms": over_half_second}),
          flush=True)


def main():
    parts = {
        "switcher": switcher,
        "tsl-flood": tsl_flood,
        "busy-sender": busy_sender,
        "idle-tcp": idle_tcp,
        "oversized-http": oversized_http,
        "websockets": websockets,
        "chromium": chromium_page,
        "box-gaps": box_gaps,
        "atem-switcher": atem_switcher,
        "atem-forger": atem_forger,
        "broker-staller": broker_staller,
        "mqtt-watch": mqtt_watch,
        "judge": judge,
        "mqtt-catch-up": mqtt_catch_up,
    }
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("part", choices=list(parts))
    parser.add_argument("--port", type=int, default=0)
    parser.add_argument("--rate", type=float, default=100)
    parser.add_argument("--count", type=int, default=10)
    parser.add_argument("--drip", action="store_true")
    parser.add_argument("--cut-every", type=float, default=7)
    parser.add_argument("--every", type=float, default=10)
    parser.add_argument("--stall", type=float, default=20)
    parser.add_argument("--pid", type=int, default=0)
    parser.add_argument("--seconds", type=float, default=0, help="0: until SIGTERM")
    parser.add_argument("--file", default="")
    parser.add_argument("--browser", default="chromium")
    parser.add_argument("--standin", default="atem-standin")
    parser.add_argument("--prefix", default="soak")
    parser.add_argument("--timeline", default="", help="where the switcher's truth is recorded")
    parser.add_argument("--series", default="", help="where an output's states are recorded")
    parser.add_argument("--excused", default="", help="windows not judged (a stopped broker)")
    parser.add_argument("--arrivals", default="")
    parser.add_argument("--name", default="")
    parser.add_argument("--end", type=float, default=0)
    parser.add_argument("--tick", type=float, default=0.25)
    args = parser.parse_args()
    args.deadline = time.monotonic() + args.seconds if args.seconds else None
    parts[args.part](args)


if __name__ == "__main__":
    sys.exit(main())
