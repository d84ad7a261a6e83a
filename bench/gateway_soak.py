#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Lets kxtile serve endure: random walks, requests that are given up, a service that fails a tenth
of the time and another that hangs. At the end nothing may be stuck, memory must lie within the
budgets and have stopped growing, the good sources must have delivered all along, and every answer
must have been right.

Usage: gateway_soak.py KXTILE KXORIGIN [--seconds 600]
Exit status 0 when all is well; what is wrong is told.
"""
import argparse
import collections
import concurrent.futures
import hashlib
import http.client
import http.server
import json
import os
import pathlib
import random
import subprocess
import tempfile
import threading
import time
import urllib.parse

OUTPUT_MIB, SOURCE_MIB = 32, 32
# The program, its libraries, connections and work under way.
OVERHEAD_MIB = 160
TIMEOUT = 2.0  # seconds that the gateway gives a service
WALKERS = 12
# Tiles a second that each good source must have delivered, whatever else is asked.
LEAST_RATE = 5
# Of the last third's highest memory over the second third's: what allocators keep in pieces.
GROWTH, GROWTH_MIB = 1.1, 8
# Tiles whose first picture is remembered.
REMEMBERED = 50000


class Relay(http.server.ThreadingHTTPServer):
    """kxorigin's tiles, but for those that fail or hang."""
    daemon_threads = True

    def __init__(self, origin):
        super().__init__(("127.0.0.1", 0), RelayHandler)
        self.origin = urllib.parse.urlsplit(origin).netloc
        self.ends = threading.Event()
        threading.Thread(target=self.serve_forever, daemon=True).start()


class RelayHandler(http.server.BaseHTTPRequestHandler):
    protocol_version = "HTTP/1.1"

    def do_GET(self):
        kind, path = self.path[1:].split("/", 1)
        if kind == "hanging":
            self.server.ends.wait(60)
            self.close_connection = True
            return
        # 500 is not tried again by the request layer, so a tenth stays a tenth.
        if kind == "failing" and random.random() < 0.1:
            self.answer(500, b"")
            return
        connection = http.client.HTTPConnection(self.server.origin, timeout=30)
        connection.request("GET", "/" + path)
        response = connection.getresponse()
        self.answer(response.status, response.read())
        connection.close()

    def answer(self, status, body):
        try:
            self.send_response(status)
            self.send_header("Content-Length", str(len(body)))
            self.end_headers()
            self.wfile.write(body)
        except OSError:
            pass

    def log_message(self, *_):
        pass


def definition(url, more=""):
    return f'url = "{url}"\nscheme = "WebMercatorWGS84"\nformat = "jpg"\n{more}'


class Soak:
    def __init__(self, kxtile, kxorigin, seconds):
        self.seconds = seconds
        self.begin = time.monotonic()
        self.end = self.begin + seconds
        self.folder = tempfile.TemporaryDirectory()
        root = pathlib.Path(self.folder.name)
        self.origin = subprocess.Popen([kxorigin, "--port", "0", "--log", "/dev/null"],
                                       stdout=subprocess.PIPE, text=True)
        self.origin_address = self.origin.stdout.readline().split()[-1]
        self.relay = Relay(self.origin_address)
        relay = f"http://127.0.0.1:{self.relay.server_port}"
        tail = "{$z}/{$x}/{$y}.jpg"
        texts = {"good": definition(f"{self.origin_address}/xyz/marble/{tail}"),
                 "shifted": definition(f"{self.origin_address}/xyz-gcj02/marble/{tail}",
                                       'datum = "GCJ02"\n'),
                 "failing": definition(f"{relay}/failing/xyz/marble/{tail}"),
                 "hanging": definition(f"{relay}/hanging/xyz/marble/{tail}")}
        for name, text in texts.items():
            (root / f"{name}.toml").write_text(text)
        # Without the disk cache, so that services are asked to the end.
        self.gateway = subprocess.Popen(
            [kxtile, "serve", *(str(root / f"{name}.toml") for name in texts), "--port", "0",
             "--json", "--no-disk-cache", "--timeout", str(TIMEOUT), "--workers", "8",
             "--output-memory", str(OUTPUT_MIB), "--source-memory", str(SOURCE_MIB)],
            stdout=subprocess.PIPE, text=True,
            env={**os.environ, "KXTILE_CACHE_DIR": str(root / "cache"),
                 "no_proxy": "127.0.0.1"})
        address = json.loads(self.gateway.stdout.readline())["address"]
        self.address = urllib.parse.urlsplit(address)
        self.counts = collections.Counter()
        self.lock = threading.Lock()
        self.faults = []
        self.slowest = 0.0
        self.memories = []  # (seconds since the begin, MiB)
        self.first = {}  # digest of each shifted tile's first picture

    def fault(self, text):
        with self.lock:
            self.faults.append(text)

    def connect(self):
        return http.client.HTTPConnection(self.address.hostname, self.address.port, timeout=30)

    def memory(self):
        """Resident MiB of the gateway."""
        with open(f"/proc/{self.gateway.pid}/status", encoding="ascii") as lines:
            return next(int(line.split()[1]) // 1024 for line in lines if line.startswith("VmRSS"))

    def expected(self, source, level, column, row):
        """The service's own tile, where the gateway hands it out."""
        connection = http.client.HTTPConnection(self.relay.origin, timeout=30)
        connection.request("GET", f"/xyz/marble/{level}/{column}/{row}.jpg")
        body = connection.getresponse().read()
        connection.close()
        return body

    def check(self, source, tile, status, body, own):
        level, column, row = tile
        with self.lock:
            self.counts[source, status] += 1
        allowed = {"good": {200}, "shifted": {200}, "failing": {200, 502},
                   "hanging": {502, 503, 504}}[source]
        if status not in allowed:
            self.fault(f"{source} {tile}: status {status}: {body[:200]}")
        elif status == 200 and body[:2] != b"\xff\xd8":
            self.fault(f"{source} {tile}: no JPEG")
        elif status == 200 and source in ("good", "failing") and own.random() < 0.05 and \
                body != self.expected(source, level, column, row):
            self.fault(f"{source} {tile}: another picture than the service's")
        elif status == 200 and source == "shifted" and not self.is_as_before(tile, body):
            self.fault(f"{source} {tile}: another picture than before")

    def is_as_before(self, tile, body):
        """Made anew or kept, a tile is the same to the last byte."""
        digest = hashlib.sha256(body).digest()
        with self.lock:
            if tile not in self.first and len(self.first) >= REMEMBERED:
                return True
            return self.first.setdefault(tile, digest) == digest

    def walk(self, seed):
        own = random.Random(seed)
        connection = self.connect()
        level, column, row = 4, 8, 5
        while time.monotonic() < self.end:
            source = own.choices(("good", "shifted", "failing", "hanging"), (6, 6, 3, 1))[0]
            level = min(14, max(3, level + own.choice((-1, 0, 0, 0, 1))))
            count = 1 << level
            column = (column * count // count + own.choice((-1, 0, 1))) % count
            row = min(count * 3 // 4, max(count // 4, row + own.choice((-1, 0, 1))))
            begin = time.monotonic()
            try:
                connection.request("GET", f"/{source}/{level}/{column}/{row}.jpg")
                if own.random() < 0.05:  # given up
                    connection.sock.settimeout(own.random() * 0.01 + 1e-4)
                    try:
                        connection.getresponse().read()
                    except (TimeoutError, OSError, http.client.HTTPException):
                        pass
                    connection.close()
                    connection = self.connect()
                    continue
                response = connection.getresponse()
                body = response.read()
            except (OSError, http.client.HTTPException) as error:
                self.fault(f"{source}: {error!r}")
                connection.close()
                connection = self.connect()
                continue
            elapsed = time.monotonic() - begin
            self.slowest = max(self.slowest, elapsed)
            self.check(source, (level, column, row), response.status, body, own)

    def watch(self):
        budget = OUTPUT_MIB + SOURCE_MIB + OVERHEAD_MIB
        while time.monotonic() < self.end:
            used = self.memory()
            self.memories.append((time.monotonic() - self.begin, used))
            if used > budget:
                self.fault(f"{used} MiB of memory, more than {budget}")
                return
            time.sleep(1)

    def run(self):
        with concurrent.futures.ThreadPoolExecutor(WALKERS + 1) as pool:
            for task in [pool.submit(self.watch),
                         *(pool.submit(self.walk, seed) for seed in range(WALKERS))]:
                task.add_done_callback(
                    lambda done: done.exception() and self.fault(repr(done.exception())))
        self.check_sums()
        self.check_rest()

    def check_sums(self):
        for source in ("good", "shifted"):
            count, least = self.counts[source, 200], LEAST_RATE * self.seconds
            if count < least:
                self.fault(f"{source}: {count} tiles, fewer than {least:.0f}")
        third = self.seconds / 3
        second, last = (max((used for at, used in self.memories
                             if from_third * third <= at < (from_third + 1) * third), default=0)
                        for from_third in (1, 2))
        if last > second * GROWTH + GROWTH_MIB:
            self.fault(f"memory grows: {second} MiB in the second third, {last} in the last")

    def check_rest(self):
        """Nothing is left behind once everybody has gone."""
        end = time.monotonic() + 3 * TIMEOUT + 5
        left = None
        while time.monotonic() < end:
            connection = self.connect()
            connection.request("GET", "/health")
            left = json.loads(connection.getresponse().read())
            connection.close()
            if left["work_waiting"] == 0 and left["work_running"] == 0 and \
                    left["connections"] <= 2:
                break
            time.sleep(0.2)
        else:
            self.fault(f"left behind: {left}")
        self.relay.ends.set()
        begin = time.monotonic()
        self.gateway.terminate()
        if self.gateway.wait(30) != 0 or time.monotonic() - begin > 5:
            self.fault("it did not end well")
        self.origin.terminate()
        self.origin.wait(30)

    def report(self):
        for (source, status), count in sorted(self.counts.items()):
            print(f"{source:8} {status} {count:8}")
        highest = max((used for _, used in self.memories), default=0)
        print(f"slowest answer {self.slowest:.2f} s, most memory {highest} MiB")
        for fault in self.faults[:20]:
            print("WRONG:", fault)
        if len(self.faults) > 20:
            print(f"... and {len(self.faults) - 20} more")
        return 1 if self.faults or not self.counts else 0


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("kxtile")
    parser.add_argument("kxorigin")
    parser.add_argument("--seconds", type=float, default=600)
    options = parser.parse_args()
    soak = Soak(options.kxtile, options.kxorigin, options.seconds)
    soak.run()
    return soak.report()


if __name__ == "__main__":
    raise SystemExit(main())
