#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Drives kxtile's earth imagery as a user would, against an earth server of the test's own.

Usage: kxtile_earth_cli_test.py KXTILE
"""
import http.server
import itertools
import json
import os
import pathlib
import struct
import subprocess
import sys
import tempfile
import threading
import unittest
import zlib

KXTILE = sys.argv[1]
KEYS = {"": bytes(range(100, 140)), "db=tm&": bytes(range(10, 74))}
RED, GREEN, BLUE = (200, 0, 0), (0, 200, 0), (0, 0, 200)
D2008, D2020 = 2008 << 9 | 4 << 5 | 23, 2020 << 9 | 1 << 5 | 15


def cipher(data, key):
    """Every third word of the key, in passes from its third, first and second word on."""
    passes = itertools.cycle((16, 0, 8))
    words = (key[at:at + 8] for start in passes for at in range(start, len(key), 24))
    stream = itertools.chain.from_iterable(words)
    return bytes(a ^ b for a, b in zip(data, stream))


def packed(content):
    return struct.pack("<II", 0x7468DEAD, len(content)) + zlib.compress(content)


def varint(value):
    head = b""
    while value > 127:
        head, value = head + bytes([value & 127 | 128]), value >> 7
    return head + bytes([value])


def number(field, value):
    return varint(field << 3) + varint(value)


def text(field, content):
    return varint(field << 3 | 2) + varint(len(content)) + content


def png(colour):
    """A picture of one colour, 2 x 2 pixels."""
    def chunk(kind, content):
        return (struct.pack(">I", len(content)) + kind + content +
                struct.pack(">I", zlib.crc32(kind + content)))
    rows = (b"\0" + bytes(colour) * 2) * 2
    return (b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", struct.pack(">IIBBBBB", 2, 2, 8, 2, 0, 0, 0)) +
            chunk(b"IDAT", zlib.compress(rows)) + chunk(b"IEND", b""))


def colours(picture):
    """Those of a PNG's palette, or of its unfiltered rows; what lossy steps changed is undone."""
    chunks, at = {}, 8
    while at < len(picture):
        size, kind = struct.unpack_from(">I4s", picture, at)
        chunks.setdefault(kind, b"")
        chunks[kind] += picture[at + 8:at + 8 + size]
        at += 12 + size
    values = chunks.get(b"PLTE")
    if values is None:
        width = struct.unpack_from(">I", chunks[b"IHDR"])[0]
        rows = zlib.decompress(chunks[b"IDAT"])
        values = b"".join(rows[start + 1:start + 1 + 3 * width]
                          for start in range(0, len(rows), 1 + 3 * width))
    return {tuple(value // 50 * 50 if value < 190 else 200 for value in values[i:i + 3])
            for i in range(0, len(values), 3)}


def db_root(db, version):
    content = text(13, number(1, version))
    return text(2, KEYS[db]) + text(3, cipher(packed(content), KEYS[db]))


def current_packet():
    """Nodes "" and "2" with imagery of versions 3 and 4."""
    nodes = [(0x44, 3), (0x40, 4)]
    head = struct.pack("<IIIiiiii", 32301, 1, 2, len(nodes), 32, 32 + 32 * len(nodes), 0, 0)
    return head + b"".join(struct.pack("<BBHH26x", flags, 0, 0, v) for flags, v in nodes)


def history_packet():
    """Node "2": two days, the later one being the current imagery."""
    days = b"".join(text(1, number(1, day) + number(2, version) + number(3, provider))
                    for day, version, provider in [(D2008, 10, 7), (D2020, 11, 0)])
    node = text(3, number(1, 0) + number(2, 4)) + text(3, number(1, 3) + text(4, days))
    return number(1, 900) + b"\x13" + number(3, 3) + text(4, node) + b"\x14"


ANSWERS = {
    "q2-0-q.5": cipher(packed(current_packet()), KEYS[""]),
    "db=tm&qp-0-q.900": cipher(packed(history_packet()), KEYS["db=tm&"]),
    "f1-0-i.3": cipher(png(RED), KEYS[""]),
    "f1-02-i.4": cipher(png(GREEN), KEYS[""]),
    f"db=tm&f1-02-i.10-{D2008:x}": cipher(png(BLUE), KEYS["db=tm&"]),
}


class EarthServer(http.server.BaseHTTPRequestHandler):
    protocol_version = "HTTP/1.1"

    def do_GET(self):
        path, _, query = self.path.partition("?")
        self.server.queries.append(query)
        self.server.headers.append(self.headers)
        if path == "/earth/dbRoot.v5":
            body = db_root("db=tm&", 900) if "db=tm" in query else db_root("", 5)
        else:
            body = ANSWERS.get(query) if path == "/earth/flatfile" else None
        self.send_response(404 if body is None else 200)
        self.send_header("Content-Length", str(len(body or b"")))
        self.end_headers()
        self.wfile.write(body or b"")

    def log_message(self, *_):
        pass


class KxtileEarthTest(unittest.TestCase):
    def setUp(self):
        self.server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), EarthServer)
        self.server.queries, self.server.headers = [], []
        thread = threading.Thread(target=self.server.serve_forever)
        thread.start()
        self.addCleanup(thread.join)
        self.addCleanup(self.server.server_close)
        self.addCleanup(self.server.shutdown)
        self.earth = f"http://127.0.0.1:{self.server.server_port}/earth"
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        self.environment = {**os.environ, "no_proxy": "127.0.0.1",
                            "KXTILE_CACHE_DIR": str(self.folder / "cache")}
        self.environment.pop("KXTILE_EARTH_URL", None)

    def kxtile(self, *arguments, status=0, **variables):
        done = subprocess.run([KXTILE, *map(str, arguments)],
                              env={**self.environment, **variables}, cwd=self.folder,
                              capture_output=True, check=False, text=True)
        self.assertEqual(done.returncode, status, (arguments, done.stdout[:500], done.stderr))
        return done

    def tile(self, *arguments):
        self.kxtile("tile", *arguments, "-o", "t.png")
        return colours((self.folder / "t.png").read_bytes())

    def test_dates_are_listed_newest_first(self):
        # "2" is the north-eastern quarter: longitudes and latitudes from 0 on.
        for place in ("0,0", "116.4,39.9", "180,90"):
            done = self.kxtile("history", "dates", "--at", place, "--level", 1, self.earth)
            self.assertEqual(done.stdout, "2020-01-15\n2008-04-23\n")

    def test_dates_come_as_json_too(self):
        done = self.kxtile("--json", "history", "dates", "--at", "-0.5,1.5", "--level", 0,
                           self.earth, status=3)
        self.assertIn("no dated imagery at -0.5,1.5 on level 0", json.loads(done.stdout)["error"])
        done = self.kxtile("--json", "history", "dates", "--at", "10.5,20.25", "--level", 1,
                           self.earth)
        self.assertEqual(json.loads(done.stdout),
                         {"longitude": 10.5, "latitude": 20.25, "x": 1, "y": 0, "z": 1,
                          "dates": ["2020-01-15", "2008-04-23"]})

    def test_the_server_comes_from_definition_or_environment(self):
        definition = self.folder / "earth.toml"
        definition.write_text(f'url = "{self.earth}"\nscheme = 8\n')
        at = ("history", "dates", "--at", "1,1", "--level", 1)
        self.assertIn("2008", self.kxtile(*at, definition).stdout)
        self.assertIn("2008", self.kxtile(*at, KXTILE_EARTH_URL=self.earth).stdout)
        other = self.folder / "other.toml"
        other.write_text('url = "http://127.0.0.1:1/{$z}/{$x}/{$y}"\n')
        self.assertIn("no source of history", self.kxtile(*at, other, status=1).stderr)

    def test_no_dates_are_told_apart_from_a_failure(self):
        at = ("history", "dates", "--at", "-50,-10", "--level", 2)
        self.assertIn("no dated imagery at -50,-10 on level 2",
                      self.kxtile(*at, self.earth, status=3).stderr)
        done = self.kxtile(*at, "http://127.0.0.1:1/earth", status=1)
        self.assertIn("127.0.0.1:1/earth/dbRoot.v5", done.stderr)
        self.assertIn("no such database", self.kxtile(*at, self.earth + "/no", status=1).stderr)

    def test_places_and_dates_that_are_none_are_wrong_usage(self):
        for place in ("", "1", "1;2", "181,0", "0,91", "nan,0", "x,y", "1,2,3"):
            self.kxtile("history", "dates", "--at", place, "--level", 1, self.earth, status=2)
        self.kxtile("history", "dates", "--at", "1,1", "--level", 31, self.earth, status=2)
        for date in ("2020-02-30", "2020-1-1", "0000-01-01", "20200101", "2020-01-1x", "x"):
            self.kxtile("tile", self.earth, "--date", date, "1/0/1", status=2)
        self.kxtile("tile", self.earth, "--scheme", "mercator", "--date", "2020-01-01", "1/0/1",
                    status=2)
        self.assertEqual(self.server.queries, [])

    def test_each_date_has_its_own_tile_and_cache(self):
        for cache in ([], [], ["--no-disk-cache"]):
            self.assertEqual(self.tile(*cache, self.earth, "--date", "2010-06-01", "1/0/1"),
                             {BLUE})
            self.assertEqual(self.tile(*cache, self.earth, "--date", "2021-01-01", "1/0/1"),
                             {GREEN})
            self.assertEqual(self.tile(*cache, self.earth, "--scheme", "earth", "1/0/1"),
                             {GREEN})
        fetched = self.server.queries.count(f"db=tm&f1-02-i.10-{D2008:x}")
        self.assertEqual(fetched, 2, "once for the cache, once without it")

    def test_a_definition_takes_a_date(self):
        definition = self.folder / "earth.toml"
        definition.write_text(f'url = "{self.earth}"\nscheme = 8\n')
        self.assertEqual(self.tile(definition, "--date", "2010-06-01", "1/0/1"), {BLUE})
        self.assertEqual(self.tile(definition, "1/0/1"), {GREEN})

    def test_a_date_before_all_imagery_has_no_tile(self):
        for cache in ([], [], ["--no-disk-cache"]):
            self.kxtile(*cache, "tile", self.earth, "--date", "2000-01-01", "1/0/1", status=3)

    def test_requests_carry_the_definitions_agent_and_header_lines(self):
        definition = self.folder / "earth.toml"
        definition.write_text(f'url = "{self.earth}"\nscheme = 8\nuser_agent = "Surveyor/2"\n'
                              'headers = ["X-Key: 17"]\n')
        for command in [("tile", definition, "1/0/1", "-o", "t.png"),
                        ("tile", definition, "--date", "2010-06-01", "1/0/1", "-o", "t.png"),
                        ("history", "dates", "--at", "1,1", "--level", 1, definition)]:
            self.server.headers.clear()
            self.kxtile(*command)
            self.assertEqual({(head["User-Agent"], head["X-Key"]) for head in self.server.headers},
                             {("Surveyor/2", "17")}, command)
        self.server.headers.clear()
        self.kxtile("tile", self.earth, "--scheme", "earth", "1/0/1", "-o", "t.png",
                    "--user-agent", "Other/1", "--header", "X-Key: 18", "--no-disk-cache")
        self.assertEqual({(head["User-Agent"], head["X-Key"]) for head in self.server.headers},
                         {("Other/1", "18")})

    def test_a_tile_tells_of_which_day_its_imagery_is(self):
        tile = ("tile", self.earth, "1/0/1", "-o", "t.png", "--no-disk-cache", "--date")
        self.assertIn("imagery of 2008-04-23; 2010-06-01 was asked for",
                      self.kxtile(*tile, "2010-06-01").stderr)
        self.assertEqual(self.kxtile(*tile, "2008-04-23").stderr, "")
        answer = json.loads(self.kxtile("--json", *tile, "2021-01-01").stdout)
        self.assertEqual((answer["date"], answer["imagery_dates"]), ("2021-01-01", ["2020-01-15"]))
        answer = json.loads(self.kxtile("--json", *tile[:-1], "--scheme", "earth").stdout)
        self.assertNotIn("imagery_dates", answer)

    def test_a_tile_template_has_no_dates(self):
        template = self.earth + "/{$z}/{$x}/{$y}.png"
        for options in (["--date", "2010-06-01"], ["--scheme", "earth"]):
            done = self.kxtile("tile", template, "1/0/1", *options, status=2)
            self.assertIn("is a template of tile URLs", done.stderr)
        self.assertEqual(self.server.queries, [])

    def test_an_address_that_is_none_of_a_server_fails(self):
        definition = self.folder / "earth.toml"
        for address in ("ftp://127.0.0.1/earth", "file:///earth", "earth.example.org"):
            definition.write_text(f'url = "{address}"\nscheme = 8\n')
            for command in (["tile", definition, "1/0/1"],
                            ["history", "dates", "--at", "1,1", "--level", 1, definition],
                            ["source", "test", definition]):
                done = self.kxtile(*command, status=1, KXTILE_EARTH_URL=self.earth)
                self.assertIn("is no address of an earth server", done.stderr, command)
        self.kxtile("tile", "ftp://127.0.0.1/earth", "--scheme", "earth", "1/0/1", status=2)
        self.assertEqual(self.server.queries, [])

    def test_a_tile_has_no_url_of_its_own(self):
        done = self.kxtile("url", self.earth, "--scheme", "earth", "1/0/1", status=1)
        self.assertEqual(done.stdout, "")
        self.assertIn("have no URL of their own", done.stderr)

    def test_a_source_is_tried_step_by_step(self):
        test = ("source", "test", self.earth, "--scheme", "earth", "--tile-size", 2)
        answer = json.loads(self.kxtile("--json", *test, "--tile", "1/0/1").stdout)
        self.assertEqual([step["step"] for step in answer["steps"]],
                         ["source", "tile", "server", "request", "picture", "decode", "size"])
        self.assertEqual((answer["result"], answer["imagery_level"], answer["http_status"]),
                         ("ok", 1, 200))
        self.assertTrue(answer["url"].endswith("/earth/flatfile?f1-02-i.4"), answer["url"])
        done = self.kxtile(*test, "--tile", "1/0/1", "--date", "2010-06-01")
        self.assertIn("2008-04-23 imagery of level 1", done.stdout)
        done = self.kxtile(*test, "--tile", "1/0/1", "--date", "2000-01-01", status=3)
        self.assertIn("the server has no imagery there", done.stdout)
        done = self.kxtile("source", "test", self.earth + "/no", "--scheme", "earth", status=1)
        self.assertIn("no such database", done.stdout)

    def test_help_shows_an_example(self):
        for command in (["history"], ["history", "dates"]):
            done = self.kxtile(*command, "--help")
            self.assertIn("kxtile history dates --at", done.stdout.split("Example")[1])


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1], verbosity=1)
