#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""The gateway over real HTTP: every address that it answers, and how it behaves.

Called with KXTILE KXORIGIN, the table of places on every datum and the folders of readers of
rasters that tests make up and of packs.
"""
import concurrent.futures
import csv
import http.client
import http.server
import json
import os
import pathlib
import shutil
import signal
import socket
import sqlite3
import struct
import subprocess
import sys
import tempfile
import threading
import time
import unittest
import urllib.parse
import xml.etree.ElementTree as ET

from kxtile_harness import KXORIGIN, KXTILE, KxtileTestCase

VECTORS, READERS = pathlib.Path(sys.argv[3]), sys.argv[4]
DEADLINE = 60  # seconds after which a condition that does not come about is a failure


def wait_until(condition, what):
    end = time.monotonic() + DEADLINE
    while not condition():
        if time.monotonic() > end:
            raise AssertionError("never: " + what)
        time.sleep(0.01)  # between two looks at the condition


def picture_size(data):
    """Format, width and height of a PNG, JPEG or WebP."""
    if data[:8] == b"\x89PNG\r\n\x1a\n":
        return ("png", *struct.unpack(">II", data[16:24]))
    if data[:4] == b"RIFF" and data[8:12] == b"WEBP":
        if data[12:16] == b"VP8 ":
            width, height = struct.unpack("<HH", data[26:30])
            return "webp", width & 0x3fff, height & 0x3fff
        if data[12:16] == b"VP8L":
            bits = struct.unpack("<I", data[21:25])[0]
            return "webp", (bits & 0x3fff) + 1, (bits >> 14 & 0x3fff) + 1
        return ("webp", int.from_bytes(data[24:27], "little") + 1,
                int.from_bytes(data[27:30], "little") + 1)
    at = 2
    while data[:2] == b"\xff\xd8" and at + 9 < len(data):
        marker, length = struct.unpack(">HH", data[at:at + 4])
        if 0xffc0 <= marker <= 0xffc2:
            height, width = struct.unpack(">HH", data[at + 5:at + 9])
            return "jpg", width, height
        at += 2 + length
    raise AssertionError(f"no picture: {data[:40]}")


class Reply:
    def __init__(self, response, body):
        self.status, self.headers, self.body = response.status, response.headers, body

    @property
    def cache(self):
        return self.headers["X-Cache"]

    def json(self):
        return json.loads(self.body)

    def xml(self):
        return ET.fromstring(self.body)


class Gateway:
    """A running 'kxtile serve'."""

    def __init__(self, *arguments, environment, cwd=None):
        self.errors = tempfile.TemporaryFile("w+")
        self.process = subprocess.Popen(
            [KXTILE, *map(str, arguments), "--json"], env=environment, cwd=cwd, text=True,
            stdout=subprocess.PIPE, stderr=self.errors)
        line = self.process.stdout.readline()
        if not line:
            raise AssertionError("it did not start: " + self.said())
        self.start = json.loads(line)
        self.address = urllib.parse.urlsplit(self.start["address"])

    def said(self):
        self.errors.seek(0)
        return self.errors.read()

    def connect(self):
        return http.client.HTTPConnection(self.address.hostname, self.address.port,
                                          timeout=DEADLINE)

    def get(self, path, method="GET", headers=None, body=None):
        connection = self.connect()
        try:
            connection.request(method, path, body=body, headers=headers or {})
            response = connection.getresponse()
            return Reply(response, response.read())
        finally:
            connection.close()

    def raw(self, request):
        """The whole answer to bytes that are no request of a well-behaved client."""
        with socket.create_connection((self.address.hostname, self.address.port), DEADLINE) as end:
            end.sendall(request)
            end.shutdown(socket.SHUT_WR)
            answer = b""
            while chunk := end.recv(65536):
                answer += chunk
        return answer

    def metric(self, name, **labels):
        text = self.get("/metrics").body.decode()
        for line in text.splitlines():
            if line.startswith(name + ("{" if labels else " ")) and all(
                    f'{key}="{value}"' for key, value in labels.items()
                    if f'{key}="{value}"' in line) and all(
                        f'{key}="{value}"' in line for key, value in labels.items()):
                return float(line.rsplit(" ", 1)[1])
        return 0.0

    def stop(self, how=signal.SIGTERM):
        """@return exit status and seconds until then"""
        begin = time.monotonic()
        if self.process.poll() is None:
            self.process.send_signal(how)
        status = self.process.wait(DEADLINE)
        self.process.stdout.close()
        self.errors.close()
        return status, time.monotonic() - begin


class HeldService(http.server.ThreadingHTTPServer):
    """A tile service that answers when the test says so."""
    daemon_threads = True

    def __init__(self, picture):
        super().__init__(("127.0.0.1", 0), HeldHandler)
        self.picture = picture
        self.open = threading.Event()
        self.lock = threading.Lock()
        self.asked = []
        threading.Thread(target=self.serve_forever, daemon=True).start()

    @property
    def url(self):
        return f"http://127.0.0.1:{self.server_port}"

    def close(self):
        self.open.set()
        self.shutdown()
        self.server_close()


class HeldHandler(http.server.BaseHTTPRequestHandler):
    protocol_version = "HTTP/1.1"

    def do_GET(self):
        with self.server.lock:
            self.server.asked.append(self.path)
        self.server.open.wait(DEADLINE)
        try:
            self.send_response(200)
            self.send_header("Content-Type", "image/png")
            self.send_header("Content-Length", str(len(self.server.picture)))
            self.end_headers()
            self.wfile.write(self.server.picture)
        except OSError:
            pass  # the gateway has given up

    def log_message(self, *_):
        pass


DEFINITIONS = {
    "plain": 'url = "{origin}/xyz/marble/{{$z}}/{{$x}}/{{$y}}.png"\n'
             'scheme = "WebMercatorWGS84"\nformat = "png"\nname = "Plain world"\n'
             'attribution = "NASA"\nterms = "public domain"\n'
             '[bounds]\nmin_level = 1\nmax_level = 12\n',
    "south": 'url = "{origin}/tms/marble/{{$z}}/{{$x}}/{{$y}}.jpg"\nrows = "SouthToNorth"\n'
             'scheme = "WebMercatorWGS84"\nformat = "jpg"\n',
    "shifted": 'url = "{origin}/xyz-gcj02/graticule/{{$z}}/{{$x}}/{{$y}}.png"\n'
               'scheme = "WebMercatorWGS84"\ndatum = "GCJ02"\nformat = "png"\n',
    "plane": 'url = "{origin}/baidu/marble.jpg?x={{$x}}&y={{$y}}&z={{$z}}"\nscheme = 4\n'
             'datum = "BD09"\nrows = "SouthToNorth"\nformat = "jpg"\n',
    "past": 'url = "{origin}/earth"\nscheme = 8\nformat = "jpg"\n',
    "guarded": 'url = "{origin}/key/marble/{{$z}}/{{$x}}/{{$y}}.png?token=hidden-in-query"\n'
               'scheme = "WebMercatorWGS84"\nheaders = ["X-Api-Key: ${{MAP_KEY}}"]\n'
               'format = "png"\n',
    "empty": 'url = "{origin}/status/404/{{$z}}/{{$x}}/{{$y}}.png"\n'
             'scheme = "WebMercatorWGS84"\nformat = "png"\n',
    "failing": 'url = "{origin}/status/500/{{$z}}/{{$x}}/{{$y}}.png?token=hidden-in-query"\n'
               'scheme = "WebMercatorWGS84"\nformat = "png"\n',
    "html": 'url = "{origin}/html/marble/{{$z}}/{{$x}}/{{$y}}.png"\n'
            'scheme = "WebMercatorWGS84"\nformat = "png"\n',
    "slow": 'url = "{origin}/fault/late-60000/always/xyz/marble/{{$z}}/{{$x}}/{{$y}}.png"\n'
            'scheme = "WebMercatorWGS84"\nformat = "png"\n',
    "closed": 'url = "{origin}/xyz/marble/{{$z}}/{{$x}}/{{$y}}.png"\n'
              'scheme = "WebMercatorWGS84"\nenabled = false\nterms = "not for machines"\n',
    "部分 map": 'url = "{origin}/xyz/marble/{{$z}}/{{$x}}/{{$y}}.jpg"\n'
               'scheme = "WebMercatorWGS84"\nformat = "jpg"\n'
               '[bounds]\nwest = 5\nsouth = 45\neast = 10\nnorth = 50\n'
               'min_level = 0\nmax_level = 10\n',
}


class ServeTestCase(KxtileTestCase):
    def definition(self, name, text=None, **names):
        path = self.folder / "sources" / f"{name}.toml"
        path.parent.mkdir(exist_ok=True)
        text = DEFINITIONS[name] if text is None else text
        fresh = path.with_suffix(".new")
        fresh.write_text(text.format(origin=self.address, **names))
        fresh.rename(path)
        return path

    def serve(self, *arguments, **environment):
        gateway = Gateway("serve", *arguments, "--port", "0", cwd=self.folder,
                          environment={**self.environment, **environment})
        self.addCleanup(self.end, gateway)
        return gateway

    def end(self, gateway):
        if gateway.process.returncode is None:
            self.assertEqual(gateway.stop()[0], 0)

    def held(self):
        connection = http.client.HTTPConnection(*self.address.split("//")[1].split(":"))
        connection.request("GET", "/xyz/marble/0/0/0.png")
        service = HeldService(connection.getresponse().read())
        connection.close()
        self.addCleanup(service.close)
        return service

    def held_definition(self, service, name="held"):
        return self.definition(
            name, f'url = "{service.url}/{{{{$z}}}}/{{{{$x}}}}/{{{{$y}}}}.png"\n'
                  'scheme = "WebMercatorWGS84"\nformat = "png"\n')

    def origin_bytes(self, path):
        connection = http.client.HTTPConnection(*self.address.split("//")[1].split(":"))
        connection.request("GET", path)
        body = connection.getresponse().read()
        connection.close()
        return body


class Tiles(ServeTestCase):
    def test_come_in_every_format_and_size(self):
        gateway = self.serve(self.definition("shifted"), self.definition("plain"))
        types = {"png": "image/png", "jpg": "image/jpeg", "webp": "image/webp"}
        for source in ("shifted", "plain"):
            for extension, mime in types.items():
                for mark, side in (("", 256), ("@2x", 512)):
                    reply = gateway.get(f"/{source}/4/13/6{mark}.{extension}")
                    self.assertEqual(reply.status, 200, reply.body)
                    self.assertEqual(reply.headers["Content-Type"], mime)
                    self.assertEqual(picture_size(reply.body), (extension, side, side))

    def test_without_extension_are_what_the_library_or_the_service_makes(self):
        gateway = self.serve(self.definition("plain"), self.definition("south"),
                             self.definition("plane"))
        self.assertEqual(gateway.get("/plain/5/26/12").body,
                         self.origin_bytes("/xyz/marble/5/26/12.png"))
        self.assertEqual(gateway.get("/south/5/26/12").body,
                         self.origin_bytes("/tms/marble/5/26/19.jpg"))
        self.assertEqual(gateway.get("/south/5/26/12.jpg").body,
                         self.origin_bytes("/tms/marble/5/26/19.jpg"))
        self.kxtile("tile", self.definition("plane"), "26/12/5", "-o", "plane.jpeg")
        self.assertEqual(gateway.get("/plane/5/26/12").body,
                         (self.folder / "plane.jpeg").read_bytes())

    def test_that_are_raw_are_the_services_own(self):
        gateway = self.serve(self.definition("shifted"), self.definition("plane"),
                             self.definition("south"), self.definition("past"))
        self.assertEqual(gateway.get("/shifted/raw/5/26/12").body,
                         self.origin_bytes("/xyz-gcj02/graticule/5/26/12.png"))
        self.assertEqual(gateway.get("/south/raw/5/26/12").body,
                         self.origin_bytes("/tms/marble/5/26/19.jpg"))
        self.assertEqual(gateway.get("/plane/raw/5/-3/2").body,
                         self.origin_bytes("/baidu/marble.jpg?x=M3&y=2&z=5"))
        self.assertEqual(picture_size(gateway.get("/past/raw/5/26/12").body)[1:], (256, 256))
        self.assertEqual(gateway.get("/south/raw/5/26/12@2x.jpg").status, 400)

    def test_of_history_imagery_are_those_of_a_date(self):
        gateway = self.serve(self.definition("past"))
        pictures = {date: gateway.get(f"/past/5/26/12.png?date={date}")
                    for date in ("2005-01-01", "2013-01-01", "2020-01-01")}
        self.assertEqual({reply.status for reply in pictures.values()}, {200})
        self.assertEqual(len({reply.body for reply in pictures.values()}), 3)
        again = gateway.get("/past/5/26/12.png?date=2013-01-01")
        self.assertEqual((again.body, again.cache), (pictures["2013-01-01"].body, "output"))
        self.assertEqual(gateway.get("/past/5/26/12.png?date=2013-02-30").status, 400)
        self.assertEqual(gateway.get("/past/5/26/12.png?date=yesterday").status, 400)

    def test_of_other_sources_have_no_dates(self):
        gateway = self.serve(self.definition("plain"))
        self.assertEqual(gateway.get("/plain/5/26/12.png?date=2013-01-01").status, 400)
        self.assertEqual(gateway.get("/plain/5/26/12.png?v=7").status, 200)

    def test_tell_the_cache_that_they_came_from(self):
        source = self.definition("shifted")
        gateway = self.serve(source)
        self.assertEqual(gateway.get("/shifted/6/53/24").cache, "upstream")
        self.assertEqual(gateway.get("/shifted/6/53/24").cache, "output")
        self.assertEqual(gateway.get("/shifted/6/53/24.webp").cache, "output")
        # Other pixels of source tiles that are in memory by now, decoded.
        self.assertIn(gateway.get("/shifted/5/26/12@2x.png").cache, ("memory", "upstream"))
        self.assertEqual(gateway.get("/shifted/5/26/12@2x.jpg").status, 200)
        gateway.stop()
        gateway = self.serve(source)
        self.assertEqual(gateway.get("/shifted/6/53/24").cache, "output")  # kept on disk
        self.assertEqual(gateway.get("/shifted/6/53/24@2x").cache, "upstream")
        gateway.stop()
        output = self.folder / "cache" / "output"
        self.assertTrue(list(output.glob("*.mbtiles")))
        for part in output.iterdir():
            part.unlink()
        gateway = self.serve(source)
        self.assertEqual(gateway.get("/shifted/6/53/24").cache, "disk")  # made of tiles on disk
        gateway.stop()
        for part in output.iterdir():
            part.unlink()
        gateway = self.serve(source, "--output-memory", "0")
        self.assertEqual(gateway.get("/shifted/6/53/24.png").cache, "disk")
        for part in output.iterdir():
            part.unlink()
        self.assertEqual(gateway.get("/shifted/6/53/24.webp").cache, "memory")

    def kept_outputs(self):
        return [path.name for path in (self.folder / "cache").glob("output/*.mbtiles")]

    def test_that_have_the_wanted_format_already_are_kept_once(self):
        gateway = self.serve(self.definition("plain"), self.definition("south"))
        self.assertEqual(gateway.get("/plain/5/26/12.png").body,
                         self.origin_bytes("/xyz/marble/5/26/12.png"))
        self.assertEqual(gateway.get("/south/5/26/12.jpg").body,
                         self.origin_bytes("/tms/marble/5/26/19.jpg"))
        self.assertEqual(self.kept_outputs(), [])
        gateway.get("/south/5/26/12.png")
        [name] = self.kept_outputs()
        self.assertRegex(name, "-256-png.mbtiles$")

    def test_that_have_the_wanted_format_are_not_encoded_again(self):
        service = self.held()
        service.picture = self.origin_bytes("/xyz/marble/3/4/2.jpg")
        gateway = self.serve(self.held_definition(service), "--workers", "1")
        with concurrent.futures.ThreadPoolExecutor(2) as pool:
            natural = pool.submit(gateway.get, "/held/3/4/2")
            wait_until(lambda: len(service.asked) == 1, "it is worked on")
            jpeg = pool.submit(gateway.get, "/held/3/4/2.jpg")
            wait_until(lambda: gateway.get("/health").json()["work_waiting"] == 1, "it waits")
            service.open.set()
            self.assertEqual(natural.result(DEADLINE).body, service.picture)
            self.assertEqual(jpeg.result(DEADLINE).body, service.picture)
            self.assertEqual(jpeg.result(DEADLINE).cache, "output")

    def test_of_a_pack_come_from_disk_and_stay_there_alone(self):
        tile = self.origin_bytes("/xyz/marble/0/0/0.png")
        pack = sqlite3.connect(self.folder / "pack.mbtiles")
        pack.executescript("CREATE TABLE metadata (name TEXT, value TEXT);"
                           "CREATE TABLE tiles (zoom_level INTEGER, tile_column INTEGER,"
                           " tile_row INTEGER, tile_data BLOB);")
        pack.execute("INSERT INTO tiles VALUES (0, 0, 0, ?)", (tile,))
        pack.executemany("INSERT INTO metadata VALUES (?, ?)",
                         [("format", "png"), ("minzoom", "0"), ("maxzoom", "0")])
        pack.commit()
        pack.close()
        gateway = self.serve("pack.mbtiles", KXTILE_PLUGIN_PATH=READERS)
        reply = gateway.get("/pack/0/0/0.png")
        self.assertEqual((reply.body, reply.cache), (tile, "disk"))
        self.assertEqual(gateway.get("/pack/0/0/0.png").cache, "output")
        self.assertEqual(self.kept_outputs(), [])
        self.assertEqual(gateway.get("/pack/0/0/0@2x.png").cache, "disk")

    def test_stay_off_the_disk_without_a_disk_cache(self):
        gateway = self.serve(self.definition("shifted"), self.definition("plain"),
                             "--no-disk-cache")
        for path in ("/shifted/6/53/24", "/plain/6/53/24"):
            self.assertEqual(gateway.get(path).cache, "upstream")
            self.assertEqual(gateway.get(path).cache, "output")
        self.assertEqual(list((self.folder / "cache").glob("*/*.mbtiles")), [])

    def test_change_with_their_definition_also_on_disk(self):
        gateway = self.serve(self.definition("shifted"))
        before = gateway.get("/shifted/9/421/193").body
        gateway.stop()
        source = self.definition("shifted", DEFINITIONS["shifted"].replace("GCJ02", "WGS84"))
        gateway = self.serve(source)
        after = gateway.get("/shifted/9/421/193")
        self.assertNotEqual(after.body, before)
        self.assertEqual(after.body, self.origin_bytes("/xyz-gcj02/graticule/9/421/193.png"))

    def test_outside_a_sources_bounds_are_missing_without_a_request(self):
        gateway = self.serve(self.definition("部分 map"))
        before = len(self.requests())
        self.assertEqual(gateway.get("/map/6/0/0.png").status, 404)
        self.assertEqual(len(self.requests()), before)
        self.assertEqual(gateway.get("/map/6/33/22.png").status, 200)


class Addresses(ServeTestCase):
    def setUp(self):
        super().setUp()
        self.gateway = self.serve(self.definition("plain"), self.definition("past"),
                                  self.definition("closed"))

    def refused(self, path, status, words):
        reply = self.gateway.get(path)
        self.assertEqual(reply.status, status, path)
        self.assertEqual(reply.headers["Content-Type"], "text/plain; charset=utf-8")
        self.assertEqual(reply.headers["Cache-Control"], "no-store")
        self.assertIsNone(reply.headers["ETag"])
        self.assertEqual(reply.body.count(b"\n"), 1)
        self.assertIn(words, reply.body.decode())

    def test_of_what_can_be_no_tile_are_bad_requests(self):
        for path in ("/plain/a/0/0.png", "/plain/2/0x1/0.png", "/plain/2/1.5/0.png",
                     "/plain/2/1/.png", "/plain/2//1.png", "/plain/2/1/1@3x.png",
                     "/plain/2/+1/1.png", "/plain/2/1/99999999999999999999.png"):
            self.refused(path, 400, "whole numbers")
        for path in ("/plain/2/4/0.png", "/plain/2/0/4.png", "/plain/2/-1/0.png",
                     "/plain/2/0/-1", "/tms/1.0.0/plain/2/0/4.png",
                     "/wmts/plain/default/GoogleMapsCompatible/2/4/0.png"):
            self.refused(path, 400, "is none of the level's")
        self.refused("/plain/2/1/1.gif", 400, "ends in none of")
        self.refused("/plain/-1/0/0.png", 400, "no level -1")

    def test_of_unknown_sources_and_levels_are_not_found(self):
        self.refused("/elsewhere/2/1/1.png", 404, "no source 'elsewhere'")
        self.refused("/elsewhere/a/b/c.png", 404, "no source 'elsewhere'")
        self.refused("/elsewhere.json", 404, "no source 'elsewhere'")
        self.refused("/plain/0/0/0.png", 404, "outside the source's 1 to 12")
        self.refused("/plain/13/0/0.png", 404, "outside the source's 1 to 12")
        self.refused("/plain/31/0/0.png", 404, "outside the source's 1 to 12")
        self.refused("/a/b/c/d/e/f", 404, "nothing at this address")
        self.refused("/page/none.js", 404, "no such file")

    def test_with_encoded_slashes_and_broken_sequences_are_refused(self):
        self.refused("/plain%2F2/1/1/1.png", 400, "slash")
        self.refused("/plain/2/1/1%2f.png", 400, "slash")
        self.refused("/plain%zz/2/1/1.png", 400, "slash")
        self.refused("/plain%00/2/1/1.png", 400, "slash")
        self.refused("/page/..%2f..%2fetc/passwd", 400, "")
        self.refused("/page/../../etc/passwd", 404, "")
        self.assertEqual(self.gateway.get("/%70lain/2/1/1.png").status, 200)

    def test_of_a_definition_that_is_not_enabled_are_forbidden(self):
        self.refused("/closed/2/1/1.png", 403, "not for machines")

    def test_take_only_reading_methods(self):
        for method in ("POST", "PUT", "DELETE", "PATCH", "TRACE", "PROPFIND", "BREW"):
            reply = self.gateway.get("/plain/2/1/1.png", method, body=b"x" * 1000)
            self.assertEqual(reply.status, 405, method)
            self.assertEqual(reply.headers["Allow"], "GET, HEAD, OPTIONS")
        options = self.gateway.get("/plain/2/1/1.png", "OPTIONS", headers={
            "Origin": "http://elsewhere.example", "Access-Control-Request-Method": "GET"})
        self.assertEqual((options.status, options.body), (204, b""))
        self.assertEqual(options.headers["Access-Control-Allow-Methods"], "GET, HEAD, OPTIONS")

    def test_serve_the_page_with_types_and_etags(self):
        page = self.gateway.get("/")
        self.assertEqual((page.status, page.headers["Content-Type"]),
                         (200, "text/html; charset=utf-8"))
        again = self.gateway.get("/", headers={"If-None-Match": page.headers["ETag"]})
        self.assertEqual((again.status, again.body), (304, b""))
        self.assertEqual(self.gateway.get("/page/index.html").body, page.body)


class Manners(ServeTestCase):
    def setUp(self):
        super().setUp()
        self.gateway = self.serve(self.definition("plain"), "--max-age", "77")

    def test_a_tile_has_a_strong_etag_of_its_content(self):
        first = self.gateway.get("/plain/3/4/2.png")
        tag = first.headers["ETag"]
        self.assertRegex(tag, r'^"[0-9a-f]{32}"$')
        self.assertNotEqual(tag, self.gateway.get("/plain/3/5/2.png").headers["ETag"])
        for known in (tag, "W/" + tag, f'"other", {tag}', "*"):
            reply = self.gateway.get("/plain/3/4/2.png", headers={"If-None-Match": known})
            self.assertEqual((reply.status, reply.body), (304, b""), known)
            self.assertEqual(reply.headers["ETag"], tag)
            self.assertEqual(reply.headers["Cache-Control"], "public, max-age=77")
            # That of the whole answer, or none: a cache would take another for the tile's.
            self.assertIn(reply.headers["Content-Length"],
                          (None, first.headers["Content-Length"]))
        other = self.gateway.get("/plain/3/4/2.png", headers={"If-None-Match": '"other"'})
        self.assertEqual((other.status, other.body), (200, first.body))

    def test_its_tag_outlives_the_gateway(self):
        tag = self.gateway.get("/plain/3/4/2.webp").headers["ETag"]
        self.gateway.stop()
        again = self.serve(self.folder / "sources" / "plain.toml")
        self.assertEqual(again.get("/plain/3/4/2.webp").headers["ETag"], tag)

    def test_a_head_is_a_get_without_its_body(self):
        self.gateway.get("/plain/3/4/2.png")
        get = self.gateway.get("/plain/3/4/2.png")
        head = self.gateway.get("/plain/3/4/2.png", "HEAD")
        self.assertEqual((head.status, head.body), (200, b""))
        for name in ("Content-Length", "Content-Type", "ETag", "Cache-Control", "X-Cache"):
            self.assertEqual(head.headers[name], get.headers[name], name)
        self.assertEqual(self.gateway.get("/plain/9/0/0.png", "HEAD").status, 200)

    def test_pages_of_elsewhere_may_read_answers_and_their_times(self):
        for path in ("/plain/3/4/2.png", "/plain/3/99/2.png", "/sources.json"):
            headers = self.gateway.get(path).headers
            self.assertEqual(headers["Access-Control-Allow-Origin"], "*")
            self.assertEqual(headers["Timing-Allow-Origin"], "*")
            for name in ("ETag", "X-Cache", "Server-Timing", "Retry-After"):
                self.assertIn(name, headers["Access-Control-Expose-Headers"])
        self.assertRegex(self.gateway.get("/plain/3/6/2.png").headers["Server-Timing"],
                         r"^tile;dur=[0-9.]+$")

    def test_clients_may_keep_tiles_for_as_long_as_the_host_says(self):
        self.assertEqual(self.gateway.get("/plain/3/4/2.png").headers["Cache-Control"],
                         "public, max-age=77")


class Failures(ServeTestCase):
    def test_of_a_service_are_bad_gateways_with_their_cause(self):
        gateway = self.serve(self.definition("failing"), self.definition("html"),
                             self.definition("guarded"), MAP_KEY="wrong-key-123456789")
        for source, words in (("failing", "HTTP status 500"), ("html", "no whole picture"),
                              ("guarded", "HTTP status 403")):
            reply = gateway.get(f"/{source}/3/4/2.png")
            self.assertEqual(reply.status, 502, source)
            self.assertIn(words, reply.body.decode())
            self.assertEqual(reply.body.count(b"\n"), 1)
            self.assertNotIn(b"hidden-in-query", reply.body)
            self.assertNotIn(b"wrong-key", reply.body)
            self.assertEqual(reply.headers["Cache-Control"], "no-store")
        self.assertEqual(gateway.metric("kxtile_upstream_results_total",
                                        source="failing", result="failed"), 1)
        self.assertEqual(gateway.metric("kxtile_tiles_total", cache="upstream"), 0)

    def test_by_lateness_are_gateway_timeouts(self):
        gateway = self.serve("--timeout", "0.4", self.definition("slow"))
        reply = gateway.get("/slow/3/4/2.png")
        self.assertEqual(reply.status, 504)
        self.assertEqual(reply.headers["Cache-Control"], "no-store")

    def test_of_a_closed_port_are_bad_gateways(self):
        with socket.socket() as taken:
            taken.bind(("127.0.0.1", 0))  # bound, and never listening
            source = self.definition(
                "gone", f'url = "http://127.0.0.1:{taken.getsockname()[1]}'
                        '/{{$z}}/{{$x}}/{{$y}}.png"\nscheme = "WebMercatorWGS84"\n')
            self.assertEqual(self.serve(source).get("/gone/3/4/2.png").status, 502)

    def test_are_told_from_missing_tiles(self):
        gateway = self.serve(self.definition("empty"), self.definition("failing"),
                             "--missing", "204")
        self.assertEqual(gateway.get("/empty/3/4/2.png").status, 204)
        self.assertEqual(gateway.get("/failing/3/4/2.png").status, 502)
        self.assertEqual(gateway.metric("kxtile_upstream_results_total",
                                        source="empty", result="no_tile"), 1)

    def test_are_not_kept(self):
        source = self.definition(
            "once", 'url = "{origin}/fault/status-500/1/xyz/marble/{{$z}}/{{$x}}/{{$y}}.png"\n'
                    'scheme = "WebMercatorWGS84"\nformat = "png"\n')
        gateway = self.serve(source)
        self.assertEqual(gateway.get("/once/3/4/2.png").status, 502)
        self.assertEqual(gateway.get("/once/3/4/2.png").status, 200)


class MissingTiles(ServeTestCase):
    def test_are_answered_as_the_host_says(self):
        source = self.definition("empty")
        for rule, status in (("404", 404), ("204", 204), ("blank", 200)):
            gateway = self.serve(source, "--missing", rule)
            self.assertEqual(gateway.get("/empty/3/4/2.png").status, status, rule)
        self.assertEqual(self.serve(source).get("/empty/3/4/2.png").status, 404)

    def test_have_a_rule_for_each_source(self):
        other = self.definition("other", DEFINITIONS["empty"])
        gateway = self.serve(self.definition("empty"), other, "--missing", "204",
                             "--missing", "other=blank")
        self.assertEqual(gateway.get("/empty/3/4/2.png").status, 204)
        for extension, side in (("png", 256), ("webp", 256), ("jpg", 256)):
            reply = gateway.get(f"/other/3/4/2.{extension}")
            self.assertEqual((reply.status, picture_size(reply.body)),
                             (200, (extension, side, side)))
        self.assertEqual(picture_size(gateway.get("/other/3/4/2@2x").body), ("png", 512, 512))

    def test_of_the_services_own_are_never_blank(self):
        source = self.definition("empty")
        for rule, status in (("404", 404), ("204", 204), ("blank", 404)):
            gateway = self.serve(source, "--missing", rule)
            self.assertEqual(gateway.get("/empty/raw/3/4/2.png").status, status, rule)

    def test_have_no_other_rules(self):
        self.kxtile("serve", self.definition("empty"), "--missing", "maybe", status=2)


class Documents(ServeTestCase):
    def setUp(self):
        super().setUp()
        self.names = ("plain", "shifted", "plane", "past", "部分 map", "closed")
        self.gateway = self.serve(*(self.definition(name) for name in self.names))
        self.base = self.gateway.start["address"]

    def test_list_the_sources_for_the_page(self):
        listing = self.gateway.get("/sources.json").json()
        self.assertIn("version", listing)
        sources = {source["id"]: source for source in listing["sources"]}
        self.assertEqual(list(sources), ["plain", "shifted", "plane", "past", "map", "closed"])
        plain = sources["plain"]
        self.assertEqual({key: plain[key] for key in (
            "name", "kind", "format", "tiles", "raw", "minzoom", "maxzoom", "attribution", "terms",
            "datum", "scheme", "tile_size", "history", "error")},
            {"name": "Plain world", "kind": "service", "format": "png",
             "tiles": "/plain/{z}/{x}/{y}.png", "raw": "/plain/raw/{z}/{x}/{y}", "minzoom": 1,
             "maxzoom": 12, "attribution": "NASA", "terms": "public domain", "datum": "wgs84",
             "scheme": 10, "tile_size": 256, "history": False, "error": None})
        self.assertEqual(sources["map"]["bounds"], [5, 45, 10, 50])
        longitude, latitude, level = sources["map"]["center"]
        self.assertEqual((longitude, latitude), (7.5, 47.5))
        self.assertIn(level, range(0, 11))
        self.assertEqual((sources["shifted"]["datum"], sources["plane"]["datum"]),
                         ("gcj02", "bd09"))
        self.assertIsNone(sources["plane"]["raw"])
        self.assertEqual((sources["past"]["kind"], sources["past"]["history"]), ("history", True))
        self.assertIn("not enabled", sources["closed"]["error"])
        for source in sources.values():
            if source["error"] is None:
                path = source["tiles"].format(z=5, x=26, y=12)
                self.assertIn(self.gateway.get(path).status, (200, 404), path)

    def test_tell_places_on_every_datum(self):
        with VECTORS.open(newline="") as lines:
            vectors = [row for row in csv.DictReader(lines) if abs(float(row["lat"])) <= 85]
        for row in vectors[:20]:
            answer = self.gateway.get(f"/locate.json?at={row['lon']},{row['lat']}").json()
            self.assertEqual(answer["wgs84"], [float(row["lon"]), float(row["lat"])])
            for datum, name in (("gcj02", "gcj"), ("bd09", "bd")):
                for told, axis in zip(answer[datum], ("lon", "lat")):
                    self.assertAlmostEqual(told, float(row[f"{name}_{axis}"]), 9, row)
        for bad in ("", "?at=1", "?at=200,0", "?at=0,100", "?at=a,b"):
            self.assertEqual(self.gateway.get("/locate.json" + bad).status, 400, bad)

    def test_tell_the_dates_at_a_place(self):
        dates = self.gateway.get("/past/dates.json?at=116.3975,39.9087&zoom=10").json()["dates"]
        self.assertEqual(dates, ["2022-03-05", "2019-09-08", "2012-05-30", "2004-07-14"])
        self.assertEqual(self.gateway.get("/plain/dates.json?at=0,0&zoom=3").status, 404)
        self.assertEqual(self.gateway.get("/past/dates.json?at=0,0&zoom=31").status, 400)

    def test_describe_a_source_as_tilejson(self):
        answer = self.gateway.get("/plain.json").json()
        self.assertEqual(answer["tilejson"], "3.0.0")
        self.assertEqual(answer["tiles"], [f"{self.base}/plain/{{z}}/{{x}}/{{y}}.png"])
        self.assertEqual((answer["minzoom"], answer["maxzoom"]), (1, 12))
        self.assertEqual(answer["attribution"], "NASA")
        self.assertEqual(self.gateway.get("/map.json").json()["bounds"], [5, 45, 10, 50])

    def test_of_a_day_lead_to_that_days_tiles(self):
        tiles = f"{self.base}/past/{{z}}/{{x}}/{{y}}"
        listed = self.gateway.get("/past.json?date=2013-01-01").json()["tiles"][0]
        self.assertTrue(listed.startswith(tiles), listed)
        self.assertTrue(listed.endswith("?date=2013-01-01"), listed)
        path = listed[len(self.base):].format(z=5, x=26, y=12)
        self.assertEqual(self.gateway.get(path).body,
                         self.gateway.get("/past/5/26/12?date=2013-01-01").body)
        self.assertNotIn("date", self.gateway.get("/past.json").json()["tiles"][0])
        gdal = self.gateway.get("/past.xml?date=2013-01-01").xml()
        self.assertRegex(gdal.find("Service/ServerUrl").text,
                         r"/past/\$\{z\}/\$\{x\}/\$\{y\}\.[a-z]+\?date=2013-01-01$")
        for document in ("past.json", "past.xml"):
            for bad in ("yesterday", "2013-02-30", "2013-01-01%22%3E"):
                self.assertEqual(self.gateway.get(f"/{document}?date={bad}").status, 400, bad)
        self.assertEqual(self.gateway.get("/plain.json?date=2013-01-01").status, 400)

    def test_describe_a_source_for_gdal(self):
        root = self.gateway.get("/plain.xml").xml()
        self.assertEqual(root.tag, "GDAL_WMS")
        self.assertEqual(root.find("Service/ServerUrl").text,
                         f"{self.base}/plain/${{z}}/${{x}}/${{y}}.png")
        self.assertEqual(root.find("DataWindow/TileLevel").text, "12")

    def test_list_connections_for_qgis(self):
        root = self.gateway.get("/qgis.xml").xml()
        self.assertEqual(root.tag, "qgsXYZTilesConnections")
        urls = [entry.get("url") for entry in root]
        self.assertEqual(len(urls), 5)  # not the one that is not served
        self.assertIn(f"{self.base}/plain/{{z}}/{{x}}/{{y}}.png", urls)

    def test_describe_a_wmts_whose_templates_lead_to_tiles(self):
        spaces = {"w": "http://www.opengis.net/wmts/1.0", "o": "http://www.opengis.net/ows/1.1"}
        for path in ("/wmts", "/wmts/1.0.0/WMTSCapabilities.xml",
                     "/wmts?SERVICE=WMTS&REQUEST=GetCapabilities"):
            root = self.gateway.get(path).xml()
            layers = root.findall("w:Contents/w:Layer", spaces)
            self.assertEqual([layer.find("o:Identifier", spaces).text for layer in layers],
                             ["plain", "shifted", "plane", "past", "map"])
        matrices = root.findall("w:Contents/w:TileMatrixSet/w:TileMatrix", spaces)
        # The scale of OGC 07-057r7, annex E.4, and what follows from it.
        self.assertAlmostEqual(float(matrices[0].find("w:ScaleDenominator", spaces).text),
                               559082264.0287178, 4)
        self.assertAlmostEqual(float(matrices[7].find("w:ScaleDenominator", spaces).text),
                               559082264.0287178 / 128, 4)
        self.assertEqual(matrices[7].find("w:MatrixWidth", spaces).text, "128")
        template = layers[0].find("w:ResourceURL", spaces).get("template")
        path = template[len(self.base):].replace("{TileMatrix}", "5").replace(
            "{TileRow}", "12").replace("{TileCol}", "26")
        tile = self.gateway.get("/plain/5/26/12.png").body
        links = layers[0].findall("w:TileMatrixSetLink/w:TileMatrixSet", spaces)
        self.assertEqual([self.gateway.get(path.replace("{TileMatrixSet}", link.text)).body
                          for link in links], [tile, tile])
        self.assertEqual(self.gateway.get(
            "/wmts?SERVICE=WMTS&REQUEST=GetTile&VERSION=1.0.0&LAYER=plain&STYLE=default&"
            "TILEMATRIXSET=GoogleMapsCompatible&TILEMATRIX=5&TILEROW=12&TILECOL=26&"
            "FORMAT=image%2Fpng").body, tile)
        limits = layers[4].findall("w:TileMatrixSetLink/w:TileMatrixSetLimits/w:TileMatrixLimits",
                                   spaces)
        # Level 10 of 5 to 10 degrees east: columns 526 to 540 by (longitude + 180) / 360 * 1024.
        self.assertEqual([limits[10].find(f"w:{name}", spaces).text
                          for name in ("MinTileCol", "MaxTileCol")], ["526", "540"])

    def wmts_sets(self, gateway):
        """The levels of each matrix set; the sets of each layer with the levels that it has."""
        spaces = {"w": "http://www.opengis.net/wmts/1.0", "o": "http://www.opengis.net/ows/1.1"}
        contents = gateway.get("/wmts").xml().find("w:Contents", spaces)
        levels = {entry.find("o:Identifier", spaces).text:
                  [int(matrix.find("o:Identifier", spaces).text)
                   for matrix in entry.findall("w:TileMatrix", spaces)]
                  for entry in contents.findall("w:TileMatrixSet", spaces)}
        links = {layer.find("o:Identifier", spaces).text:
                 [(link.find("w:TileMatrixSet", spaces).text,
                   [int(level.text) for level in
                    link.findall("w:TileMatrixSetLimits/w:TileMatrixLimits/w:TileMatrix", spaces)])
                  for link in layer.findall("w:TileMatrixSetLink", spaces)]
                 for layer in contents.findall("w:Layer", spaces)}
        return levels, links

    def test_give_each_layer_of_a_wmts_a_set_that_ends_with_its_levels(self):
        levels, links = self.wmts_sets(self.gateway)
        self.assertEqual(levels, {"GoogleMapsCompatible_Level10": list(range(11)),
                                  "GoogleMapsCompatible_Level12": list(range(13)),
                                  "GoogleMapsCompatible_Level22": list(range(23)),
                                  "GoogleMapsCompatible": list(range(23))})
        for layer, first, last in (("map", 0, 10), ("plain", 1, 12), ("shifted", 0, 22)):
            its = list(range(first, last + 1))
            self.assertEqual(links[layer], [(f"GoogleMapsCompatible_Level{last}", its),
                                            ("GoogleMapsCompatible", its)])

    def test_link_a_layer_of_a_wmts_to_the_same_sets_whatever_else_is_served(self):
        alone = self.serve(self.definition("plain"))
        self.assertEqual(self.wmts_sets(alone)[1]["plain"],
                         self.wmts_sets(self.gateway)[1]["plain"])

    def test_offer_both_encodings_of_a_wmts(self):
        spaces = {"w": "http://www.opengis.net/wmts/1.0", "o": "http://www.opengis.net/ows/1.1"}
        root = self.gateway.get("/wmts").xml()
        for name, restful in (("GetCapabilities", "/wmts/1.0.0/WMTSCapabilities.xml"),
                              ("GetTile", "/wmts/")):
            gets = root.findall("o:OperationsMetadata/o:Operation[@name='%s']/o:DCP/o:HTTP/o:Get"
                                % name, spaces)
            self.assertEqual(
                {get.find("o:Constraint/o:AllowedValues/o:Value", spaces).text:
                 get.get("{http://www.w3.org/1999/xlink}href") for get in gets},
                {"RESTful": self.base + restful, "KVP": self.base + "/wmts?"})

    def test_refuse_wmts_requests_for_what_they_do_not_list(self):
        right = {"REQUEST": "GetTile", "LAYER": "plain", "STYLE": "default",
                 "TILEMATRIXSET": "GoogleMapsCompatible", "TILEMATRIX": "5", "TILEROW": "12",
                 "TILECOL": "26", "FORMAT": "image/png"}

        def ask(**changed):
            return self.gateway.get("/wmts?SERVICE=WMTS&" +
                                    urllib.parse.urlencode({**right, **changed}))
        tile = self.gateway.get("/plain/5/26/12.png").body
        self.assertEqual(ask().body, tile)
        self.assertEqual(ask(STYLE="").body, tile)
        for name, value in (("REQUEST", "GetFeatureInfo"), ("FORMAT", "image/gif"),
                            ("STYLE", "night"), ("TILEMATRIXSET", "WGS84"), ("TILEMATRIX", "x"),
                            ("TILECOL", "32"), ("TILEROW", "")):
            self.assertEqual(ask(**{name: value}).status, 400, name)
        for layer in ("elsewhere", "plain/default/GoogleMapsCompatible/5/12/26.png?", "%70lain"):
            self.assertEqual(ask(LAYER=layer).status, 404, layer)

    def test_take_wmts_names_in_any_case(self):
        query = ("service=WMTS&Request=GetTile&layer=plain&Style=default&TileMatrixSet="
                 "GoogleMapsCompatible&tileMatrix=5&TileRow=12&tilecol=26&Format=image/png")
        self.assertEqual(self.gateway.get("/wmts?" + query).body,
                         self.gateway.get("/plain/5/26/12.png").body)

    def test_refuse_wmts_requests_in_the_form_that_clients_show(self):
        space = {"o": "http://www.opengis.net/ows/1.1"}
        tile = "/wmts?SERVICE=WMTS&REQUEST=GetTile&TILEMATRIX=5&TILEROW=12&TILECOL=26&LAYER="
        for path, status, code, words in (
                ("/wmts?SERVICE=WMS&REQUEST=GetMap", 400, "InvalidParameterValue",
                 "SERVICE is WMTS, not 'WMS'"),
                ("/wmts?REQUEST=GetFeatureInfo", 400, "InvalidParameterValue",
                 "REQUEST is GetCapabilities or GetTile, not 'GetFeatureInfo'"),
                (tile + "plain&FORMAT=image/gif", 400, "InvalidParameterValue",
                 "FORMAT is image/png, image/jpeg or image/webp, not 'image/gif'"),
                (tile + "%3Celsewhere%3E", 404, "NoApplicableCode",
                 "there is no source '<elsewhere>'; /sources.json lists them")):
            reply = self.gateway.get(path)
            self.assertEqual((reply.status, reply.headers["Content-Type"]),
                             (status, "application/xml"), path)
            self.assertEqual(reply.headers["Access-Control-Allow-Origin"], "*")
            exception = reply.xml().find("o:Exception", space)
            self.assertEqual(reply.xml().tag, "{%s}ExceptionReport" % space["o"])
            self.assertEqual(exception.get("exceptionCode"), code)
            self.assertEqual(exception.find("o:ExceptionText", space).text, words)

    def test_refuse_wmts_tiles_that_do_not_come_in_that_form_too(self):
        space = {"o": "http://www.opengis.net/ows/1.1"}
        gateway = self.serve(self.definition("failing"), self.definition("empty"))
        query = "/wmts?REQUEST=GetTile&TILEMATRIX=3&TILEROW=2&TILECOL=4&FORMAT=image/png&LAYER="
        for layer, status, words in (("failing", 502, "HTTP status 500"),
                                     ("empty", 404, "the source has no tile there")):
            reply = gateway.get(query + layer)
            self.assertEqual((reply.status, reply.headers["Content-Type"],
                              reply.headers["Cache-Control"]),
                             (status, "application/xml", "no-store"))
            exception = reply.xml().find("o:Exception", space)
            self.assertEqual(exception.get("exceptionCode"), "NoApplicableCode")
            self.assertIn(words, exception.find("o:ExceptionText", space).text)
            self.assertEqual(gateway.get(f"/{layer}/3/4/2.png").headers["Content-Type"],
                             "text/plain; charset=utf-8")

    def test_refuse_wmts_tiles_in_that_form_also_to_who_shares_the_work(self):
        service = self.held()
        service.picture = b"no picture"
        gateway = self.serve(self.held_definition(service), "--workers", "1")
        with concurrent.futures.ThreadPoolExecutor(2) as pool:
            plain = pool.submit(gateway.get, "/held/3/4/2.png")
            wait_until(lambda: len(service.asked) == 1, "it is worked on")
            wmts = pool.submit(gateway.get, "/wmts?REQUEST=GetTile&TILEMATRIX=3&TILEROW=2&"
                                            "TILECOL=4&FORMAT=image/png&LAYER=held")
            wait_until(lambda: gateway.metric("kxtile_requests_in_flight") >= 3, "both wait")
            service.open.set()
            self.assertEqual([(reply.result(DEADLINE).status,
                               reply.result(DEADLINE).headers["Content-Type"])
                              for reply in (plain, wmts)],
                             [(502, "text/plain; charset=utf-8"), (502, "application/xml")])

    def test_describe_a_tile_map_service_with_rows_from_the_south(self):
        service = self.gateway.get("/tms/1.0.0/").xml()
        href = service.find("TileMaps/TileMap").get("href")
        self.assertEqual(href, f"{self.base}/tms/1.0.0/plain")
        tilemap = self.gateway.get("/tms/1.0.0/plain").xml()
        sets = tilemap.findall("TileSets/TileSet")
        self.assertEqual([int(entry.get("order")) for entry in sets], list(range(1, 13)))
        self.assertAlmostEqual(float(sets[4].get("units-per-pixel")), 156543.03392804097 / 32, 9)
        self.assertEqual(self.gateway.get("/tms/1.0.0/plain/5/26/19.png").body,
                         self.gateway.get("/plain/5/26/12.png").body)

    def test_name_the_public_address(self):
        gateway = self.serve(self.folder / "sources" / "plain.toml",
                             "--public-url", "https://maps.example.org/tiles/")
        self.assertEqual(gateway.get("/plain.json").json()["tiles"],
                         ["https://maps.example.org/tiles/plain/{z}/{x}/{y}.png"])

    def test_name_the_host_that_they_were_asked_of(self):
        answer = self.gateway.get("/plain.json", headers={"Host": "my-laptop:8480"}).json()
        self.assertEqual(answer["tiles"], ["http://my-laptop:8480/plain/{z}/{x}/{y}.png"])
        answer = self.gateway.raw(b"GET /plain.json HTTP/1.0\r\n\r\n")
        self.assertEqual(json.loads(answer.split(b"\r\n\r\n")[1])["tiles"],
                         [f"{self.base}/plain/{{z}}/{{x}}/{{y}}.png"])
        answer = self.gateway.get("/plain.json", headers={"Host": 'a"><script>'}).body
        self.assertNotIn(b"script", answer)

    def test_hold_no_secrets(self):
        gateway = self.serve(self.definition("guarded"), MAP_KEY="let-me-in")
        self.assertEqual(gateway.get("/guarded/3/4/2.png").status, 200)
        for path in ("/sources.json", "/guarded.json", "/guarded.xml", "/qgis.xml", "/wmts",
                     "/tms/1.0.0/", "/tms/1.0.0/guarded", "/metrics", "/health"):
            body = gateway.get(path).body
            for secret in (b"let-me-in", b"hidden-in-query", b"X-Api-Key"):
                self.assertNotIn(secret, body, path)

    def test_tell_how_the_gateway_is(self):
        health = self.gateway.get("/health")
        self.assertEqual((health.status, health.json()["status"]), (200, "ok"))
        self.assertEqual(health.json()["broken_sources"], 1)
        self.gateway.get("/shifted/6/53/24")
        self.gateway.get("/shifted/6/53/24")
        metric = self.gateway.metric
        self.assertEqual(metric("kxtile_tiles_total", cache="upstream"), 1)
        self.assertEqual(metric("kxtile_tiles_total", cache="output"), 1)
        self.assertEqual(metric("kxtile_requests_total", what="tile", status="200"), 2)
        self.assertEqual(metric("kxtile_request_duration_seconds_count", what="tile"), 2)
        self.assertEqual(metric("kxtile_upstream_results_total", source="shifted",
                                result="tile"), 1)
        self.assertEqual(metric("kxtile_sources_broken"), 1)
        for _ in range(3):  # from the service, then from disk
            self.assertEqual(self.gateway.get("/plain/raw/6/53/24").status, 200)
        self.assertEqual(metric("kxtile_upstream_results_total", source="plain",
                                result="tile"), 1)
        self.assertEqual(metric("kxtile_tiles_total", cache="upstream"), 2)
        self.assertEqual(metric("kxtile_tiles_total", cache="disk"), 2)
        self.assertGreater(metric("kxtile_output_cache_bytes"), 1000)
        self.assertEqual(metric("kxtile_requests_in_flight"), 1)  # the one that asks
        types = self.gateway.get("/metrics").headers["Content-Type"]
        self.assertTrue(types.startswith("text/plain; version=0.0.4"))


class Work(ServeTestCase):
    def test_that_is_the_same_is_done_once(self):
        service = self.held()
        gateway = self.serve(self.held_definition(service), "--workers", "8")
        with concurrent.futures.ThreadPoolExecutor(20) as pool:
            replies = [pool.submit(gateway.get, "/held/3/4/2.png") for _ in range(20)]
            wait_until(lambda: gateway.metric("kxtile_requests_in_flight") >= 21, "20 wait")
            wait_until(lambda: service.asked, "the service is asked")
            service.open.set()
            replies = [reply.result(DEADLINE) for reply in replies]
        self.assertEqual({reply.status for reply in replies}, {200})
        self.assertEqual(len({reply.body for reply in replies}), 1)
        self.assertEqual(service.asked, ["/3/4/2.png"])

    def test_beyond_the_queue_is_refused_with_a_time_to_come_again(self):
        service = self.held()
        gateway = self.serve(self.held_definition(service), "--workers", "1", "--queue", "2")
        with concurrent.futures.ThreadPoolExecutor(8) as pool:
            first = pool.submit(gateway.get, "/held/3/0/0.png")
            wait_until(lambda: len(service.asked) == 1, "the first is worked on")
            waiting = [pool.submit(gateway.get, f"/held/3/{x}/0.png") for x in (1, 2)]
            wait_until(lambda: gateway.metric("kxtile_work_waiting") == 2, "two wait")
            refused = gateway.get("/held/3/3/0.png")
            self.assertEqual(refused.status, 503)
            self.assertGreaterEqual(int(refused.headers["Retry-After"]), 1)
            self.assertEqual(gateway.get("/health").status, 200)
            service.open.set()
            self.assertEqual({reply.result(DEADLINE).status for reply in (first, *waiting)}, {200})

    def test_of_a_service_that_hangs_leaves_workers_to_others(self):
        service = self.held()
        gateway = self.serve(self.held_definition(service), self.definition("plain"),
                             "--workers", "4")
        gateway.get("/plain/3/0/0.png")
        with concurrent.futures.ThreadPoolExecutor(12) as pool:
            hanging = [pool.submit(gateway.get, f"/held/4/{x}/0.png") for x in range(12)]
            wait_until(lambda: len(service.asked) >= 3, "workers wait for the service")
            self.assertEqual(gateway.get("/plain/3/1/1.png").status, 200)
            service.open.set()
            self.assertEqual({reply.result(DEADLINE).status for reply in hanging}, {200})

    def test_of_a_service_that_hangs_leaves_places_in_the_queue_to_others(self):
        service = self.held()
        gateway = self.serve(self.held_definition(service), self.definition("plain"),
                             "--workers", "1", "--queue", "4")
        asking = []
        for x in range(5):
            asking.append(gateway.connect())
            asking[-1].request("GET", f"/held/4/{x}/0.png")
            wait_until(lambda: len(service.asked) == 1, "the first is worked on")
        wait_until(lambda: gateway.metric("kxtile_work_waiting") == 4, "the queue is full")
        self.assertEqual(gateway.get("/plain/3/1/1.png").status, 200)
        for connection in asking:
            connection.close()
        wait_until(lambda: gateway.metric("kxtile_work_waiting") == 0, "the queue is empty")
        self.assertEqual(len(service.asked), 1)
        service.open.set()

    def test_that_everybody_gave_up_is_not_done(self):
        service = self.held()
        gateway = self.serve(self.held_definition(service), "--workers", "1")
        with concurrent.futures.ThreadPoolExecutor(1) as pool:
            first = pool.submit(gateway.get, "/held/3/0/0.png")
            wait_until(lambda: len(service.asked) == 1, "the first is worked on")
            leaving = gateway.connect()
            leaving.request("GET", "/held/3/1/0.png")
            wait_until(lambda: gateway.metric("kxtile_work_waiting") == 1, "the second waits")
            leaving.close()
            service.open.set()
            self.assertEqual(first.result(DEADLINE).status, 200)
        wait_until(lambda: gateway.metric("kxtile_requests_in_flight") == 1, "nothing is left")
        self.assertEqual(service.asked, ["/3/0/0.png"])


class Connections(ServeTestCase):
    def test_that_are_idle_keep_nobody_waiting(self):
        gateway = self.serve(self.definition("plain"), "--workers", "1")
        idle = []
        for _ in range(500):
            connection = gateway.connect()
            connection.connect()
            idle.append(connection)
        idle[0].request("GET", "/plain/3/4/2.png")
        idle[0].getresponse().read()
        self.assertEqual(gateway.get("/plain/3/4/2.png").cache, "output")
        self.assertEqual(gateway.get("/health").json()["connections"], 501)
        for connection in (idle[0], idle[499]):  # still open
            connection.request("GET", "/health")
            self.assertEqual(connection.getresponse().status, 200)
        for connection in idle:
            connection.close()

    def test_beyond_the_limit_take_the_place_of_the_oldest_idle_one(self):
        gateway = self.serve(self.definition("plain"), "--connections", "10")
        idle = []
        for _ in range(30):
            connection = gateway.connect()
            connection.connect()
            idle.append(connection)
        self.assertEqual(gateway.get("/health").status, 200)
        self.assertEqual(idle[0].sock.recv(1), b"")  # cut
        wait_until(lambda: gateway.get("/health").json()["connections"] <= 11, "ten are left")
        for connection in idle:
            connection.close()

    def test_that_all_ask_at_once_are_all_answered(self):
        gateway = self.serve(self.definition("plain"))
        tile = gateway.get("/plain/3/4/2.png").body
        request = b"GET /plain/3/4/2.png HTTP/1.1\r\nHost: x\r\n\r\n"
        asking = [socket.create_connection((gateway.address.hostname, gateway.address.port),
                                           DEADLINE) for _ in range(300)]
        for _ in range(3):
            # Requests pile up while the process stands still, so that its loop meets all at once.
            gateway.process.send_signal(signal.SIGSTOP)
            for end in asking:
                end.sendall(request)
            gateway.process.send_signal(signal.SIGCONT)
            for end in asking:
                response = http.client.HTTPResponse(end)
                response.begin()
                self.assertEqual((response.status, response.read()), (200, tile))
        for end in asking:
            end.close()

    def test_are_kept_alive(self):
        gateway = self.serve(self.definition("plain"))
        connection = gateway.connect()
        for path in ("/plain/3/4/2.png", "/plain/3/4/2.png", "/none/3/4/2.png", "/health",
                     "/plain/99/4/2.png", "/plain/3/5/2.png"):
            connection.request("GET", path)
            own = connection.sock.getsockname()
            connection.getresponse().read()
        self.assertEqual(connection.sock.getsockname(), own)
        connection.close()

    def test_with_floods_of_headers_are_refused(self):
        gateway = self.serve(self.definition("plain"))
        flood = b"GET /plain/3/4/2.png HTTP/1.1\r\nHost: x\r\n" + b"".join(
            b"X-%d: %s\r\n" % (i, b"y" * 100) for i in range(5000)) + b"\r\n"
        try:
            answer = gateway.raw(flood)
        except OSError:  # it was cut while it still sent
            answer = b""
        self.assertRegex(answer[:12], rb"^(HTTP/1.1 4\d\d)?$")
        long_line = b"GET /" + b"a" * 200000 + b" HTTP/1.1\r\nHost: x\r\n\r\n"
        try:
            answer = gateway.raw(long_line)
        except OSError:
            answer = b""
        self.assertRegex(answer[:12], rb"^(HTTP/1.1 4\d\d)?$")
        self.assertEqual(gateway.get("/health").status, 200)

    def test_that_send_no_whole_request_are_cut(self):
        gateway = self.serve(self.definition("plain"), "--idle-timeout", "1")
        with socket.create_connection((gateway.address.hostname, gateway.address.port),
                                      DEADLINE) as silent, \
             socket.create_connection((gateway.address.hostname, gateway.address.port),
                                      DEADLINE) as trickling:
            trickling.sendall(b"GET /health HTTP/1.1\r\nHost: x\r\n")
            trickling.settimeout(0.05)
            end = time.monotonic() + DEADLINE
            cut = False
            while not cut and time.monotonic() < end:
                try:
                    trickling.sendall(b"X: y\r\n")  # never idle for long
                    cut = trickling.recv(1000) == b"" or cut
                except TimeoutError:
                    pass
                except OSError:
                    cut = True
            self.assertTrue(cut)
            answer = b""
            while chunk := silent.recv(1000):
                answer += chunk

    def test_of_who_reads_slowly_hold_nobody_up(self):
        gateway = self.serve(self.definition("plain"))
        gateway.get("/plain/3/4/2@2x.png")
        slow = []
        for _ in range(20):
            connection = socket.socket()
            connection.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, 1024)
            connection.connect((gateway.address.hostname, gateway.address.port))
            connection.sendall(b"GET /plain/3/4/2@2x.png HTTP/1.1\r\nHost: x\r\n\r\n" * 5)
            slow.append(connection)
        self.assertEqual(gateway.get("/plain/3/4/2@2x.png").status, 200)
        for connection in slow:
            connection.close()

    def test_of_ambiguous_requests_are_answered_and_cut(self):
        gateway = self.serve(self.definition("plain"))
        behind = b"GET /health HTTP/1.1\r\nHost: x\r\n\r\n"
        for head in (b"Host: x\r\nHost: y\r\n", b"Host: x\r\nhost: x\r\n",
                     b"Host: x\r\nContent-Length: %d\r\nTransfer-Encoding: chunked\r\n"
                     % len(behind)):
            answer = gateway.raw(b"GET /health HTTP/1.1\r\n" + head + b"\r\n" + behind)
            self.assertTrue(answer.startswith(b"HTTP/1.1 400"), answer)
            self.assertEqual(answer.count(b"HTTP/1.1 "), 1, answer)

    def test_with_nonsense_are_answered_or_cut(self):
        gateway = self.serve(self.definition("plain"))
        for nonsense in (b"\x16\x03\x01\x02\x00\x01\x00\x01\xfc\x03\x03", b"GET\r\n\r\n",
                         b"\r\n\r\n\r\n", b"GET /health HTTP/9.9\r\n\r\n", b"\x00" * 100,
                         b"GET health HTTP/1.1\r\nHost: x\r\n\r\n",
                         b"GET /health HTTP/1.1\r\nContent-Length: 99999999999999999999\r\n\r\n"):
            try:
                self.assertRegex(gateway.raw(nonsense)[:10], rb"^(HTTP/1.[01] [45])?")
            except ConnectionError:
                pass
        self.assertEqual(gateway.get("/health").status, 200)


class Hosts(ServeTestCase):
    def test_are_not_looked_at_on_loopback(self):
        gateway = self.serve(self.definition("plain"))
        self.assertEqual(gateway.get("/health", headers={"Host": "evil.example"}).status, 200)

    def test_beyond_loopback_must_be_this_machines_or_named(self):
        gateway = self.serve(self.definition("plain"), "--bind", "0.0.0.0",
                             "--host", "Maps.Example.org")
        gateway.address = gateway.address._replace(netloc=f"127.0.0.1:{gateway.address.port}")
        port = gateway.address.port
        for host in (f"127.0.0.1:{port}", f"localhost:{port}", "maps.example.org",
                     "MAPS.example.org:80", socket.gethostname()):
            self.assertEqual(gateway.get("/health", headers={"Host": host}).status, 200, host)
        for host in ("evil.example", "127.0.0.2", "maps.example.org.evil.example", "", "[::1"):
            reply = gateway.get("/health", headers={"Host": host})
            self.assertEqual(reply.status, 421, host)
        self.assertIn(b" 421 ", gateway.raw(b"GET /health HTTP/1.0\r\n\r\n").split(b"\r\n")[0] + b" ")

    def test_of_ipv6_are_served(self):
        if not socket.has_ipv6:
            self.skipTest("this machine has no IPv6")
        try:
            gateway = self.serve(self.definition("plain"), "--bind", "::1")
        except AssertionError:
            self.skipTest("this machine has no IPv6 loopback")
        self.assertEqual(gateway.get("/health").status, 200)
        answer = gateway.raw(b"GET /plain.json HTTP/1.0\r\n\r\n")
        self.assertEqual(json.loads(answer.split(b"\r\n\r\n")[1])["tiles"],
                         [f"http://[::1]:{gateway.address.port}/plain/{{z}}/{{x}}/{{y}}.png"])


class End(ServeTestCase):
    def test_comes_at_once_when_nothing_is_under_way(self):
        for how in (signal.SIGTERM, signal.SIGINT):
            gateway = self.serve(self.definition("plain"))
            kept = gateway.connect()
            kept.request("GET", "/health")
            kept.getresponse().read()
            status, seconds = gateway.stop(how)
            self.assertEqual(status, 0)
            self.assertLess(seconds, 5)
            kept.close()

    def test_cuts_no_request_of_who_goes_on_asking(self):
        gateway = self.serve(self.definition("plain"))
        tile = gateway.get("/plain/3/4/2.png").body
        answered = [0] * 16

        def ask(index):
            """Asks on one connection until it is told that this was the last answer."""
            connection = gateway.connect()
            while True:
                connection.request("GET", "/plain/3/4/2.png")
                response = connection.getresponse()
                self.assertEqual((response.status, response.read()), (200, tile))
                answered[index] += 1
                if response.will_close:
                    return connection.close()

        with concurrent.futures.ThreadPoolExecutor(16) as pool:
            asking = [pool.submit(ask, index) for index in range(16)]
            wait_until(lambda: min(answered) >= 20, "everybody asks")
            status, seconds = gateway.stop()
            self.assertEqual(status, 0)
            self.assertLess(seconds, 5)
            for one in asking:
                one.result(DEADLINE)

    def hang(self, name):
        """A raster that whoever opens it waits for."""
        path = self.folder / f"{name}.testraster"
        os.mkfifo(path)
        return path

    def hold(self, path):
        """Waits until the pipe is read, and keeps its reader waiting."""
        def opened():
            try:
                held.append(os.open(path, os.O_WRONLY | os.O_NONBLOCK))
            except OSError:
                pass  # nobody reads
            return held
        held = []
        wait_until(opened, "the raster is opened")
        self.addCleanup(os.close, held[0])

    def test_comes_while_the_sources_are_loaded(self):
        path = self.hang("endless")
        process = subprocess.Popen([KXTILE, "serve", str(path), "--port", "0"],
                                   env={**self.environment, "KXTILE_PLUGIN_PATH": READERS},
                                   stdout=subprocess.DEVNULL)
        self.hold(path)
        begin = time.monotonic()
        process.send_signal(signal.SIGTERM)
        self.assertEqual(process.wait(DEADLINE), 0)
        self.assertLess(time.monotonic() - begin, 5)

    def test_comes_while_the_service_that_comes_along_starts(self):
        program = self.folder / "bin" / "kxtile"
        program.parent.mkdir()
        shutil.copy(KXTILE, program)
        hanging = program.with_name("kxorigin")
        hanging.write_text(f"#!/bin/sh\nmkdir '{self.folder}/started'\nexec sleep 1000\n")
        hanging.chmod(0o700)
        process = subprocess.Popen([program, "serve", "--port", "0"], env=self.environment,
                                   stdout=subprocess.DEVNULL)
        wait_until((self.folder / "started").exists, "it is started")
        begin = time.monotonic()
        process.send_signal(signal.SIGTERM)
        self.assertEqual(process.wait(DEADLINE), 0)
        self.assertLess(time.monotonic() - begin, 5)

    def test_comes_while_a_changed_source_is_loaded(self):
        gateway = self.serve(self.definition("plain"), "late.testraster", "--watch",
                             KXTILE_PLUGIN_PATH=READERS)
        self.hold(self.hang("late"))
        status, seconds = gateway.stop()
        self.assertEqual(status, 0)
        self.assertLess(seconds, 5)

    def test_lets_what_is_under_way_finish(self):
        service = self.held()
        gateway = self.serve(self.held_definition(service))
        with concurrent.futures.ThreadPoolExecutor(2) as pool:
            reply = pool.submit(gateway.get, "/held/3/4/2.png")
            wait_until(lambda: len(service.asked) == 1, "it is worked on")
            ended = pool.submit(gateway.stop)
            wait_until(lambda: self.refuses(gateway), "no new connection is taken")
            service.open.set()
            self.assertEqual(reply.result(DEADLINE).status, 200)
            self.assertEqual(ended.result(DEADLINE)[0], 0)

    def refuses(self, gateway):
        try:
            socket.create_connection((gateway.address.hostname, gateway.address.port),
                                     DEADLINE).close()
            return False
        except OSError:
            return True

    def test_comes_within_five_seconds_whatever_a_service_does(self):
        service = self.held()
        gateway = self.serve(self.held_definition(service))
        with concurrent.futures.ThreadPoolExecutor(1) as pool:
            reply = pool.submit(gateway.get, "/held/3/4/2.png")
            wait_until(lambda: len(service.asked) == 1, "it is worked on")
            status, seconds = gateway.stop()
            self.assertEqual(status, 0)
            self.assertLess(seconds, 5)
            self.assertEqual(reply.result(DEADLINE).status, 503)


class Watching(ServeTestCase):
    def test_takes_changed_new_and_removed_definitions(self):
        source = self.definition("plain")
        gateway = self.serve(source.parent, "--watch")
        before = gateway.get("/plain/3/4/2.png").body
        self.definition("plain", DEFINITIONS["plain"].replace("marble", "graticule"))
        wait_until(lambda: gateway.get("/plain/3/4/2.png").body != before, "the change is taken")
        self.assertEqual(gateway.get("/plain/3/4/2.png").body,
                         self.origin_bytes("/xyz/graticule/3/4/2.png"))
        self.definition("shifted")
        wait_until(lambda: gateway.get("/shifted/3/4/2.png").status == 200, "the new one is there")
        source.unlink()
        wait_until(lambda: gateway.get("/plain/3/4/2.png").status == 404, "the other one went")
        self.assertEqual(gateway.get("/shifted/3/4/2.png").status, 200)

    def test_keeps_what_it_had_of_a_broken_one(self):
        source = self.definition("plain")
        gateway = self.serve(source, "--watch")
        before = gateway.get("/plain/3/4/2.png").body
        self.definition("plain", "url = \n")

        def error():
            return gateway.get("/sources.json").json()["sources"][0]["error"]
        wait_until(lambda: error() is not None, "the fault is told")
        self.assertIn("line 1", error())
        self.assertEqual(gateway.get("/plain/3/4/2.png").body, before)
        self.assertEqual(gateway.get("/plain/3/5/2.png").status, 200)
        self.assertEqual(gateway.metric("kxtile_sources_broken"), 1)
        self.definition("plain")
        wait_until(lambda: error() is None, "it is well again")

    def test_is_off_without_the_option(self):
        source = self.definition("plain")
        gateway = self.serve(source)
        before = gateway.get("/plain.json").body
        self.definition("plain", DEFINITIONS["plain"].replace("Plain world", "Other world"))
        self.assertEqual(gateway.get("/plain.json").body, before)


class Sources(ServeTestCase):
    def test_get_names_that_addresses_can_hold(self):
        folder = self.folder / "many"
        folder.mkdir()
        text = DEFINITIONS["plain"].format(origin=self.address)
        for name in ("a b.toml", "a-b.toml", "wmts.toml", "地图.toml", "A B.toml", "x.y.z.toml"):
            (folder / name).write_text(text)
        (folder / ".hidden.toml").write_text(text)
        (folder / "notes.txt").write_text("no definition")
        gateway = self.serve(folder)
        ids = [source["id"] for source in gateway.get("/sources.json").json()["sources"]]
        self.assertEqual(len(ids), 6)
        self.assertEqual(len({name.lower() for name in ids}), 6)
        self.assertNotIn("wmts", ids)
        for name in ids:
            self.assertRegex(name, r"^[A-Za-z0-9_-]+$")
            self.assertEqual(gateway.get(f"/{name}/3/4/2.png").status, 200, name)

    def test_that_are_broken_are_told_and_the_others_served(self):
        broken = self.definition("broken", "nonsense")
        gateway = self.serve(broken, self.definition("plain"))
        self.assertIn("broken.toml", gateway.said())
        self.assertEqual(gateway.get("/plain/3/4/2.png").status, 200)
        self.assertEqual(gateway.get("/broken/3/4/2.png").status, 502)
        self.assertIsNotNone(gateway.get("/sources.json").json()["sources"][0]["error"])

    def test_of_which_none_can_be_served_end_the_program(self):
        done = self.kxtile("serve", self.definition("broken", "nonsense"), "--port", "0", status=1)
        self.assertIn(b"no source to serve", done.stderr)
        self.kxtile("serve", "nowhere.toml", "--port", "0", status=1)

    def test_may_be_templates(self):
        gateway = self.serve(self.url("/xyz/marble/{$z}/{$x}/{$y}.png"))
        name = gateway.get("/sources.json").json()["sources"][0]["id"]
        self.assertEqual(gateway.get(f"/{name}/3/4/2").body,
                         self.origin_bytes("/xyz/marble/3/4/2.png"))

    def test_come_along_when_none_is_named(self):
        gateway = self.serve()
        sources = {source["id"]: source for source in
                   gateway.get("/sources.json").json()["sources"]}
        for name in ("wgs84", "gcj02", "baidu", "tianditu", "quadkey", "history"):
            reply = gateway.get(sources[name]["tiles"].format(z=4, x=13, y=6))
            self.assertEqual((reply.status, picture_size(reply.body)[1:]), (200, (256, 256)), name)
        child = subprocess.run(["ps", "-o", "pid=", "--ppid", str(gateway.process.pid)],
                               capture_output=True, text=True, check=True).stdout.split()
        self.assertEqual(len(child), 1)
        gateway.process.kill()
        gateway.stop()
        wait_until(lambda: not pathlib.Path(f"/proc/{child[0]}").exists(), "the child ends too")

    def test_on_a_port_that_is_taken_fail_with_words(self):
        gateway = self.serve(self.definition("plain"))
        done = self.kxtile("serve", self.folder / "sources" / "plain.toml",
                           "--port", gateway.address.port, status=1)
        self.assertIn(b"cannot listen on 127.0.0.1", done.stderr)


if __name__ == "__main__":
    del sys.argv[1:5]
    unittest.main()
