#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Drives `kxtile files` as a user would, against a kxorigin and services of its own.

Usage: kxtile_files_test.py KXTILE KXORIGIN EXAMPLE_SOURCES READER_PLUGINS
"""
import http.server
import json
import math
import os
import pathlib
import pty
import signal
import struct
import subprocess
import sys
import threading
import unittest

from kxtile_harness import KXTILE, KxtileTestCase, png_size

SOURCES, READERS = sys.argv[3:5]
WORLD = "-180,-90,180,90"
LONG = 120  # seconds; a process that has not ended by then does not end
HALF_WORLD = math.pi * 6378137.0


def single(value):
    """The nearest number of single precision."""
    return struct.unpack("f", struct.pack("f", value))[0]


def world_file(level, row, column, size=256):
    """The six lines that a tile's world file must have, by the formulas of the tiling."""
    edge = 2 * HALF_WORLD / 2 ** level
    pixel = single(edge / size)
    return (f"{pixel:.6f}\n0\n0\n{-pixel:.6f}\n{column * edge - HALF_WORLD:.6f}\n"
            f"{HALF_WORLD - row * edge:.6f}\n")


def is_whole_png(data):
    return data.startswith(b"\x89PNG\r\n\x1a\n") and data.endswith(b"IEND\xaeB`\x82")


def read_to_end(terminal):
    """All that was written to a terminal whose other side is closed."""
    shown = b""
    while True:
        try:
            more = os.read(terminal, 100000)
        except OSError:  # nobody is there any more
            return shown
        if not more:
            return shown
        shown += more


class Service:
    """A tile service that answers some requests and leaves the others hanging."""

    def __init__(self, tile):
        self.answered = 10 ** 9  # requests that are answered, hanging from then on
        self.allowed = 10 ** 9  # of these, such that get the tile; others are refused
        self.paths = []
        self.hanging = threading.Semaphore(0)
        self.lock = threading.Lock()
        self.released = threading.Event()
        service = self

        class Handler(http.server.BaseHTTPRequestHandler):
            protocol_version = "HTTP/1.1"

            def do_GET(self):
                with service.lock:
                    service.paths.append(self.path)
                    hangs = len(service.paths) > service.answered
                    refused = len(service.paths) > service.allowed
                if hangs:
                    service.hanging.release()
                    service.released.wait()
                    self.close_connection = True
                    return
                body = b"the key is used up" if refused else tile
                self.send_response(403 if refused else 200)
                self.send_header("Content-Length", str(len(body)))
                self.end_headers()
                self.wfile.write(body)

            def log_message(self, *_):
                pass

        self.server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Handler)
        self.server.daemon_threads = True
        self.thread = threading.Thread(target=self.server.serve_forever)
        self.thread.start()
        self.template = f"http://127.0.0.1:{self.server.server_port}/{{$z}}/{{$x}}/{{$y}}.png"

    def stop(self):
        self.released.set()
        self.server.shutdown()
        self.thread.join()
        self.server.server_close()


class FilesTest(KxtileTestCase):
    def setUp(self):
        super().setUp()
        self.environment["KXTILE_PLUGIN_PATH"] = READERS
        self.template = self.url("/xyz/marble/{$z}/{$x}/{$y}.png")

    def files(self, *arguments, status=0):
        """The last line that the command answers with --json."""
        done = self.kxtile("--json", "files", *arguments, status=status)
        return json.loads(done.stdout.splitlines()[-1])

    def tree(self, folder):
        return {str(path.relative_to(folder)): path.read_bytes()
                for path in pathlib.Path(folder).rglob("*") if path.is_file()}

    def start(self, *arguments, **options):
        process = subprocess.Popen([KXTILE, *map(str, arguments)], env=self.environment,
                                   cwd=self.folder, **options)
        self.addCleanup(process.kill)
        return process

    def service(self):
        tile = self.kxtile("tile", self.template, "0/0/0", "-o", "-").stdout
        service = Service(tile)
        self.addCleanup(service.stop)
        return service

    def raster(self, text, name="made.testraster"):
        path = self.folder / name
        path.write_text(text)
        return path

    # What is written

    def test_a_template_becomes_tiles_with_world_files(self):
        end = self.files(self.template, "--bounds", WORLD, "--levels", "0-2")
        self.assertEqual((end["made"], end["kept"], end["holes"], end["failed"]), (21, 0, 0, 0))
        tree = self.tree(end["output"])
        names = {f"{z}/{y}/{x}" for z in range(3) for y in range(2 ** z) for x in range(2 ** z)}
        self.assertEqual(set(tree), {name + ext for name in names for ext in (".png", ".pgw")})
        for name in names:
            z, y, x = map(int, name.split("/"))
            self.assertEqual(tree[name + ".pgw"].decode(), world_file(z, y, x), name)
        direct = self.kxtile("--no-disk-cache", "tile", self.template, "3/1/2", "-o", "-").stdout
        self.assertEqual(tree["2/1/3.png"], direct)
        self.assertEqual(end["bytes"], sum(len(data) for name, data in tree.items()
                                           if name.endswith(".png")))

    def test_a_definition_lies_where_the_library_puts_it(self):
        end = self.files(f"{SOURCES}/xyz.toml", "--bounds", WORLD, "--levels", "1", "-o", "tiles/")
        self.assertEqual(pathlib.Path(end["output"]).parent, pathlib.Path("tiles"))
        self.assertEqual(len(self.tree(self.folder / end["output"])), 8)
        self.assertFalse((self.folder / "cache").exists(), "nothing is left elsewhere")

    def test_ways_of_counting_come_out_the_same(self):
        reference = self.tree(self.folder / self.files(
            self.template, "--bounds", WORLD, "--levels", "2", "-o", "a")["output"])
        for source, options in [
                (self.url("/tms/marble/{$z}/{$x}/{$y}.png"), ["--rows", "south"]),
                (f"{SOURCES}/south-rows.toml", []),
                (self.url("/quadkey/marble/{$quadkey}.png"), []),
                (f"{SOURCES}/gzip.toml", []),
                (f"{SOURCES}/scripted.toml", [])]:
            end = self.files(source, *options, "--bounds", WORLD, "--levels", "2", "-o", "b")
            tree = self.tree(self.folder / end["output"])
            if {name.split(".")[1] for name in tree} == {"png", "pgw"}:
                self.assertEqual(tree, reference, source)
            else:
                worlds = {name.split(".")[0]: data for name, data in tree.items()
                          if name.endswith(".jgw")}
                self.assertEqual(worlds, {name.split(".")[0]: data
                                          for name, data in reference.items()
                                          if name.endswith(".pgw")}, source)

    def test_tiles_of_another_size_and_grid_are_made_of_several(self):
        geographic = self.url("/geographic/marble/{$z}/{$x}/{$y}.png")
        end = self.files(geographic, "--scheme", "geographic", "--size", "512", "--bounds",
                         "0,0,10,10", "--levels", "3", "-o", "tiles")
        tree = self.tree(self.folder / end["output"])
        self.assertEqual(set(tree), {"3/3/4.jpeg", "3/3/4.jgw"})
        self.assertEqual(tree["3/3/4.jgw"].decode(), world_file(3, 3, 4, 512))

    def test_bounds_go_across_the_antimeridian(self):
        end = self.files(self.template, "--bounds", "170,-20,-170,10", "--levels", "3", "-o", "t")
        self.assertEqual({name for name in self.tree(self.folder / end["output"])
                          if name.endswith(".png")},
                         {f"3/{row}/{column}.png" for row in (3, 4) for column in (0, 7)})

    def test_the_tiles_of_a_raster_are_named_for_what_they_are(self):
        # Of level 4 the raster has squares of 22.5 degrees up to latitude 45. Row 5 of the tiles
        # begins at 55.8 degrees, rows 6 and 7 lie inside.
        raster = self.raster("-10 -10 40 40 0 8 squares")
        arguments = ["--bounds", "1,5,2,50", "--levels", "4", "-o", "t"]
        end = self.files(raster, *arguments)
        self.assertEqual(end["made"], 3)
        root = self.folder / end["output"]
        tree = self.tree(root)
        self.assertEqual(set(tree), {"4/5/8.png", "4/5/8.pgw", "4/6/8.jpeg", "4/6/8.jgw",
                                     "4/7/8.jpeg", "4/7/8.jgw"})
        for name in ("4/5/8.pgw", "4/7/8.jgw"):
            self.assertEqual(tree[name].decode(), world_file(4, int(name[2]), 8))
        self.assertTrue(is_whole_png(tree["4/5/8.png"]))
        self.assertTrue(tree["4/6/8.jpeg"].startswith(b"\xff\xd8"))
        # The same raster by another path is the same raster; and what a killed run left under the
        # library's own names is taken.
        for ext in ("png", "pgw"):
            (root / f"4/5/8.{ext}").rename(root / f"4/5/8..{ext}")
        again = self.files(f"./{raster.name}", *arguments)
        self.assertEqual((again["made"], again["kept"]), (0, 3))
        self.assertEqual(self.tree(root), tree)

    def test_a_raster_of_stored_tiles_hands_out_its_own(self):
        raster = self.raster("-180 -85 180 85 0 8 stored")
        tile = self.kxtile("tile", self.template, "0/0/0", "-o", "-").stdout
        (self.folder / "made.testraster.tile").write_bytes(tile)
        end = self.files(raster, "--bounds", WORLD, "--levels", "2", "-o", "t", status=4)
        self.assertEqual((end["made"], end["holes"], end["failed"]), (8, 4, 4))
        tree = self.tree(self.folder / end["output"])
        self.assertEqual(tree["2/1/2.png"], tile)
        self.assertEqual(tree["2/1/3.pgw"].decode(), world_file(2, 1, 3))
        failed = pathlib.Path(self.folder, end["failed_list"]).read_text()
        self.assertEqual({line.split("\t")[0] for line in failed.splitlines()
                          if not line.startswith("#")}, {f"1/{row}/2" for row in range(4)})
        self.assertIn("cannot be read", failed)

    # What is not there, and what fails

    def test_holes_are_told_from_failures(self):
        arguments = ["--bounds", "10,50,10,50", "-o", "t"]
        end = self.files(self.template, *arguments, "--levels", "21-24", status=3)
        self.assertEqual((end["made"], end["holes"], end["failed"]), (2, 2, 0))
        self.assertIsNone(end["failed_list"])
        gone = self.url("/status/410/{$z}/{$x}/{$y}.png")
        end = self.files(gone, *arguments, "--levels", "2", status=3)
        self.assertEqual((end["holes"], end["failed"]), (1, 0))
        self.assertFalse((self.folder / end["output"]).exists(), "no empty folders stay")
        empty = self.url("/empty/marble/{$z}/{$x}/{$y}.png")
        self.assertEqual(self.files(empty, *arguments, "--levels", "2", status=3)["holes"], 1)
        for path in ("/status/500/{$z}/{$x}/{$y}.png", "/html/marble/{$z}/{$x}/{$y}.png",
                     "/truncated/marble/{$z}/{$x}/{$y}.png", "/key/marble/{$z}/{$x}/{$y}.png"):
            end = self.files(self.url(path), *arguments, "--levels", "2", status=4)
            self.assertEqual((end["holes"], end["failed"]), (0, 1), path)
        raster = self.raster("0 0 40 40 0 5 squares")
        end = self.files(raster, "--bounds", "-170,-80,-160,-70", "--levels", "2-6",
                         "-o", "t", status=3)
        self.assertGreater(end["holes"], 0)
        self.assertEqual((end["made"], end["failed"]), (0, 0))

    def test_what_a_raster_cannot_read_is_no_hole(self):
        # The raster reaches from 90 degrees west to 90 east, from 0 to 45 it cannot be read. A tile of
        # level 5 is 11.25 degrees wide.
        raster = self.raster("-90 -60 90 60 0 5 damaged")
        (self.folder / "list").write_text(
            "".join(f"{column}/14/5\n" for column in (2, 10, 13, 17, 18, 22, 28)))
        arguments = [raster, "--retry", "list", "-o", "t"]
        end = self.files(*arguments, status=4)
        self.assertEqual((end["made"], end["holes"], end["failed"]), (3, 2, 2))
        self.assertEqual({name for name in self.tree(self.folder / end["output"])
                          if name.startswith("5/") and not name.endswith(".jgw")},
                         {"5/14/10.jpeg", "5/14/13.jpeg", "5/14/22.jpeg"})
        failed = (self.folder / end["failed_list"]).read_text()
        for column in (17, 18):
            self.assertIn(f"{column}/14/5\tthe raster's tile cannot be read: the strip is cut off",
                          failed)
        self.assertEqual(self.files(*arguments, status=4)["kept"], 3)

    def test_holes_of_tiles_made_of_several_are_told_from_failures(self):
        for status, code, counted in (("404", 3, "holes"), ("500", 4, "failed")):
            template = self.url("/status/" + status + "/{$z}/{$x}/{$y}.png")
            end = self.files(template, "--scheme", "geographic", "--bounds", "1,1,9,9",
                             "--levels", "3", "-o", "t", status=code)
            self.assertEqual(end[counted], 1)

    def test_a_service_that_refuses_all_is_left_alone(self):
        before = len(self.requests())
        refusing = self.url("/status/403/{$z}/{$x}/{$y}.png")
        arguments = [refusing, "--bounds", WORLD, "-o", "t", "--jobs", "4"]
        done = self.kxtile("--json", "files", *arguments, "--levels", "6", status=1)
        end = json.loads(done.stdout.splitlines()[-1])
        # Each of the other threads may have had a tile in work.
        self.assertGreaterEqual(end["failed"], 64)
        self.assertLessEqual(end["failed"], 64 + 3)
        self.assertEqual(len(self.requests()) - before, end["failed"])
        self.assertRegex(end["gave_up"], "^6[4-7] tiles in a row were refused")
        self.assertIn("HTTP status 403", end["gave_up"])
        self.assertEqual((end["exit_code"], end["interrupted"]), (1, False))
        for words in (b"given up: 6", b"HTTP status 403",
                      b"Once that is mended, the same command goes on where it ended",
                      b"--keep-going"):
            self.assertIn(words, done.stderr)
        end = self.files(*arguments, "--levels", "4", "--keep-going", status=4)
        self.assertEqual((end["failed"], end["gave_up"]), (256, None))

    def test_a_service_that_is_not_there_is_not_asked_for_ever(self):
        service = Service(b"")
        template = service.template
        service.stop()  # nobody listens there any more
        done = self.kxtile("files", template, "--bounds", WORLD, "--levels", "6", "-o", "t",
                           "--jobs", "1", status=1)
        self.assertIn(b"16 failed", done.stdout)
        self.assertIn(b"for want of a connection", done.stderr)

    def test_what_the_service_has_not_is_no_refusal(self):
        for status in (404, 204):
            end = self.files(self.url(f"/status/{status}/{{$z}}/{{$x}}/{{$y}}.png"), "--bounds",
                             WORLD, "--levels", "4", "-o", "t", status=3)
            self.assertEqual((end["holes"], end["gave_up"]), (256, None))

    def test_a_refused_run_goes_on_when_it_may(self):
        # The first two tiles are let through, then the key is used up.
        tile = self.kxtile("tile", self.template, "0/0/0", "-o", "-").stdout
        service = Service(tile)
        self.addCleanup(service.stop)
        service.allowed = 2
        arguments = [service.template, "--bounds", WORLD, "--levels", "4", "-o", "t", "--jobs", "1"]
        end = self.files(*arguments, status=1)
        self.assertEqual((end["made"], end["failed"]), (2, 64))
        service.allowed = 10 ** 9
        end = self.files(*arguments)
        self.assertEqual((end["made"], end["kept"]), (254, 2))

    def test_tiles_of_two_sizes_do_not_mix(self):
        arguments = [self.template, "--bounds", "1,1,9,9", "--levels", "3", "-o", "t"]
        small = self.files(*arguments)
        large = self.files(*arguments, "--size", "512")
        self.assertEqual((large["made"], large["kept"]), (1, 0))
        self.assertEqual(large["output"], small["output"] + "-512px")
        self.assertEqual(png_size(self.folder / small["output"] / "3/3/4.png"), (256, 256))
        large_tree = self.tree(self.folder / large["output"])
        world, = [data for name, data in large_tree.items() if name.endswith("gw")]
        self.assertEqual(world.decode(), world_file(3, 3, 4, 512))
        self.assertEqual(self.files(*arguments, "--size", "512")["kept"], 1)
        self.assertEqual(self.files(*arguments, "--size", "256")["kept"], 1)

    def test_an_empty_job_says_what_there_is(self):
        raster = self.raster("10.5 20 40 60 2 8 squares")
        covers = b"covers longitude 10.5 to 40, latitude 20 to 60, levels 2 to 8"
        for bounds, levels in (("-170,-80,-160,-70", "4"), ("11,21,12,22", "9-10")):
            done = self.kxtile("files", raster, "--bounds", bounds, "--levels", levels, "-o", "t",
                               status=3)
            self.assertIn(covers, done.stderr)
        # Some are there, others are of levels that it has not.
        done = self.kxtile("files", raster, "--bounds", "11,21,12,22", "--levels", "8-9", "-o", "t",
                           status=3)
        self.assertIn(covers, done.stderr)
        # Holes at the edge are none of these.
        done = self.kxtile("files", raster, "--bounds", "6,21,12,22", "--levels", "8", "-o", "t",
                           status=3)
        self.assertEqual(done.stderr, b"")
        (self.folder / "s.toml").write_text(
            f'url = "{self.address}/status/404/{{$z}}/{{$x}}/{{$y}}.png"\n'
            '[bounds]\nwest = 5.0\nsouth = 45.0\neast = 11.0\nnorth = 48.0\n'
            'min_level = 1\nmax_level = 9\n')
        done = self.kxtile("files", "s.toml", "--bounds", "1,2,3,4", "--levels", "3", "-o", "t",
                           status=3)
        self.assertIn(b"s covers longitude 5 to 11, latitude 45 to 48, levels 1 to 9", done.stderr)

    def test_goes_on_past_failures_and_tries_them_again(self):
        # Each address fails once.
        template = self.url("/fault/status-500/1/xyz/marble/{$z}/{$x}/{$y}.png?again")
        done = self.kxtile("files", template, "--bounds", WORLD, "--levels", "2", "-o", "t",
                           "--failed", "list", status=4)
        self.assertIn(b"16 failed", done.stdout)
        self.assertIn(b"--retry", done.stderr)
        self.assertIn(b"HTTP status 500", done.stderr)
        self.assertIn(b"further failures", done.stderr)
        self.assertEqual(done.stderr.count(b"HTTP status 500"), 10)
        listed = (self.folder / "list").read_text()
        self.assertEqual(sum(not line.startswith("#") for line in listed.splitlines()), 16)
        end = self.files(template, "--retry", "list", "-o", "t", "--failed", "list")
        self.assertEqual((end["made"], end["failed"]), (16, 0))
        self.assertFalse((self.folder / "list").exists(), "nothing failed any more")
        end = self.files(template, "--bounds", WORLD, "--levels", "2", "-o", "t")
        self.assertEqual(end["kept"], 16)

    def test_each_failure_is_a_line_of_json(self):
        done = self.kxtile("--json", "files", self.url("/status/500/{$z}/{$x}/{$y}.png"),
                           "--bounds", WORLD, "--levels", "1", "-o", "t", status=4)
        lines = [json.loads(line) for line in done.stdout.splitlines()]
        self.assertEqual((lines[0]["event"], lines[0]["done"], lines[0]["tiles"]),
                         ("progress", 0, 4))
        failed = [line for line in lines if line["event"] == "failed"]
        self.assertEqual({(line["z"], line["y"], line["x"]) for line in failed},
                         {(1, y, x) for y in range(2) for x in range(2)})
        self.assertIn("500", failed[0]["error"])
        self.assertEqual((lines[-1]["event"], lines[-1]["exit_code"], lines[-1]["failed_list"]),
                         ("end", 4, lines[-1]["output"] + "/failed-tiles.txt"))

    def test_what_cannot_be_written_fails(self):
        (self.folder / "file").write_text("")
        end = self.files(self.template, "--bounds", WORLD, "--levels", "1", "-o", "file/t",
                         status=4)
        self.assertEqual((end["failed"], end["failed_list"]), (4, None))
        raster = self.raster("0 0 40 40 0 5 squares")
        done = self.kxtile("files", raster, "--bounds", "1,1,2,2", "--levels", "2", "-o",
                           "file/t", status=4)
        self.assertIn(b"cannot write", done.stderr)
        self.assertIn(b"Not a directory", done.stderr)

    def test_secrets_stay_out_of_messages_and_lists(self):
        (self.folder / "s.toml").write_text(
            f'url = "{self.address}/status/500/${{SECRET}}/{{$z}}/{{$x}}/{{$y}}.png"\n')
        self.environment["SECRET"] = "hush-hush"
        done = self.kxtile("--json", "files", "s.toml", "--bounds", WORLD, "--levels", "0", "-o",
                           "t", status=4)
        listed = pathlib.Path(self.folder,
                              json.loads(done.stdout.splitlines()[-1])["failed_list"]).read_text()
        for text in (done.stdout, done.stderr, listed.encode()):
            self.assertNotIn(b"hush-hush/0", text)
            self.assertIn(b"${SECRET}" if text else b"", text)

    # Before the work

    def test_dry_run_counts_and_estimates_without_a_request(self):
        before = len(self.requests())
        arguments = [self.template, "--bounds", WORLD, "--levels", "0-10", "-o", "t"]
        answer = self.files(*arguments, "--dry-run")
        self.assertEqual(answer["tiles"], (4 ** 11 - 1) // 3)
        self.assertEqual([(entry["level"], entry["tiles"]) for entry in answer["levels"]],
                         [(level, 4 ** level) for level in range(11)])
        self.assertIn("usually", answer["estimated_from"])
        self.assertEqual(len(self.requests()), before)
        self.assertFalse((self.folder / "t").exists())
        text = self.kxtile("files", *arguments, "--dry-run").stdout
        self.assertIn(b"level 10: 1048576 tiles", text)

    def test_an_estimate_goes_by_tiles_that_are_there(self):
        arguments = [self.template, "--bounds", WORLD, "--levels", "2", "-o", "t"]
        end = self.files(*arguments)
        answer = self.files(*arguments, "--dry-run")
        self.assertAlmostEqual(answer["estimated_bytes"], end["bytes"], delta=16)
        self.assertIn("16 tiles that are there", answer["estimated_from"])

    def test_an_estimate_of_a_raster_goes_by_tiles_cut_to_try(self):
        raster = self.raster("-180 -85 180 85 0 8 squares")
        arguments = [raster, "--bounds", WORLD, "--levels", "2", "-o", "t"]
        answer = self.files(*arguments, "--dry-run")
        self.assertIn("cut to try", answer["estimated_from"])
        self.assertFalse((self.folder / "t").exists())
        self.assertAlmostEqual(self.files(*arguments)["bytes"], answer["estimated_bytes"],
                               delta=16)

    def test_more_than_ten_thousand_tiles_of_a_service_need_a_yes(self):
        service = self.service()
        service.answered = 0
        arguments = ["files", service.template, "--levels", "7", "--bounds"]
        done = self.kxtile(*arguments, WORLD, status=2)
        self.assertIn(b"16384 tiles", done.stderr)
        self.assertIn(b"--yes", done.stderr)
        self.assertEqual(service.paths, [])
        process = self.start(*arguments, WORLD, "--yes", stdout=subprocess.DEVNULL)
        self.assertTrue(service.hanging.acquire(timeout=LONG))
        process.terminate()
        self.assertEqual(process.wait(timeout=LONG), 130)

    def test_wrong_arguments_are_told(self):
        for arguments, word in [
                (["--levels", "1"], b"--bounds"),
                (["--bounds", "1,2,3"], b"--levels"),
                (["--bounds", "1,2,3", "--levels", "1"], b"WEST,SOUTH,EAST,NORTH"),
                (["--bounds", "1,2,3,4", "--levels", "31"], b"0 to 30"),
                (["--bounds", "1,86,3,89", "--levels", "1"], b"85.0511"),
                (["--bounds", "1,2,3,4", "--levels", "1", "--jobs", "0"], b"--jobs"),
                (["--bounds", "1,2,3,4", "--retry", "list"], b"--retry")]:
            done = self.kxtile("files", self.template, *arguments, status=2)
            self.assertIn(word, done.stderr, arguments)
        done = self.kxtile("files", self.template, "--retry", "missing", status=1)
        self.assertIn(b"missing", done.stderr)
        (self.folder / "noise.tif").write_bytes(bytes(100))
        done = self.kxtile("files", "noise.tif", "--bounds", "1,2,3,4", "--levels", "1", status=1)
        self.assertIn(b"KXTILE_PLUGIN_PATH", done.stderr)
        self.raster("not a raster", "bad.testraster")
        done = self.kxtile("files", "bad.testraster", "--bounds", "1,2,3,4", "--levels", "1",
                           status=1)
        self.assertIn(b"cannot open the raster", done.stderr)
        told = self.kxtile("files", "--help").stdout
        for words in (b"130", b"--keep-going", b".pgw", b"EPSG:3857", b"corner"):
            self.assertIn(words, told)

    # Interrupted

    def assert_only_whole_files(self, folder):
        for name, data in self.tree(folder).items():
            if name.endswith(".png"):
                self.assertTrue(is_whole_png(data), name)
            else:
                self.assertTrue(name.endswith(".pgw"), name)
                z, y, x = map(int, name.split(".")[0].split("/"))
                self.assertEqual(data.decode(), world_file(z, y, x), name)

    def test_a_killed_run_goes_on_where_it_ended(self):
        service = self.service()
        service.answered = 20
        arguments = ["files", service.template, "--bounds", WORLD, "--levels", "3", "--jobs", "3",
                     "-o", "t"]
        process = self.start(*arguments, stdout=subprocess.DEVNULL)
        for _ in range(3):
            self.assertTrue(service.hanging.acquire(timeout=LONG))
        process.kill()
        process.wait(timeout=LONG)
        root, = (self.folder / "t").iterdir()
        self.assert_only_whole_files(root)
        kept = [name for name in self.tree(root) if name.endswith(".png")]
        self.assertEqual(len(kept), 20)
        # What a killed process may leave: a tile without its world file, half a file, an empty one.
        (root / kept[0]).with_suffix(".pgw").unlink()
        orphan = (root / kept[1]).parent / f".kxtile-{process.pid}-7.tmp"
        orphan.write_bytes(b"half")
        own = (root / kept[1]).parent / f".kxtile-{os.getpid()}-7.tmp"
        own.write_bytes(b"of a living process")
        (root / kept[2]).write_bytes(b"")
        service.answered = 10 ** 9
        asked = len(service.paths)
        end = self.files(*arguments[1:])
        self.assertEqual((end["made"], end["kept"]), (45, 19))
        self.assertEqual(len(service.paths) - asked, 45)
        self.assertFalse(orphan.exists())
        self.assertTrue(own.exists())
        own.unlink()
        self.assert_only_whole_files(root)
        self.assertEqual(len(self.tree(root)), 128)

    def test_ctrl_c_ends_it_though_the_service_hangs(self):
        for stop in (signal.SIGINT, signal.SIGTERM):
            service = self.service()
            service.answered = 6
            folder = self.folder / stop.name
            process = self.start("--json", "--timeout", "3600", "files", service.template,
                                 "--bounds", WORLD, "--levels", "2-9", "--jobs", "4", "--yes",
                                 "-o", folder, stdout=subprocess.PIPE)
            for _ in range(4):
                self.assertTrue(service.hanging.acquire(timeout=LONG))
            process.send_signal(stop)
            # Its requests would go on for an hour.
            output, _ = process.communicate(timeout=LONG)
            self.assertEqual(process.returncode, 130)
            end = json.loads(output.splitlines()[-1])
            self.assertEqual((end["interrupted"], end["made"], end["failed"]), (True, 6, 0))
            root, = folder.iterdir()
            self.assert_only_whole_files(root)
            self.assertEqual(len(self.tree(root)), 12)
            for path in root.rglob("*"):
                self.assertTrue(path.is_file() or any(path.iterdir()), path)

    def test_an_interrupted_retry_keeps_what_was_not_tried(self):
        service = self.service()
        service.answered = 2
        tiles = [f"{column}/1/3" for column in range(8)]
        (self.folder / "list").write_text("".join(f"{tile}\twhy\n" for tile in tiles))
        arguments = [service.template, "--retry", "list", "--failed", "list", "--jobs", "1",
                     "-o", "t"]
        process = self.start("--json", "--timeout", "3600", "files", *arguments,
                             stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        self.assertTrue(service.hanging.acquire(timeout=LONG))
        process.send_signal(signal.SIGINT)
        output, errors = process.communicate(timeout=LONG)
        self.assertEqual(process.returncode, 130, errors)
        end = json.loads(output.splitlines()[-1])
        self.assertEqual((end["made"], end["failed"], end["failed_list"]), (2, 0, "list"))
        listed = (self.folder / "list").read_text().splitlines()
        self.assertEqual([line.split("\t")[0] for line in listed if not line.startswith("#")],
                         tiles[2:])
        service.answered = 10 ** 9
        self.assertEqual(self.files(*arguments)["made"], 6)
        self.assertFalse((self.folder / "list").exists())

    def test_ctrl_c_lets_what_is_on_its_way_come_in(self):
        service = self.service()
        process = self.start("files", service.template, "--bounds", WORLD, "--levels", "2-9",
                             "--jobs", "4", "--yes", "-o", "t", stdout=subprocess.PIPE)
        service.answered = 200
        for _ in range(4):
            self.assertTrue(service.hanging.acquire(timeout=LONG))
        service.answered = 10 ** 9
        service.released.set()
        process.send_signal(signal.SIGINT)
        process.communicate(timeout=LONG)
        self.assertEqual(process.returncode, 130)
        root, = (self.folder / "t").iterdir()
        self.assert_only_whole_files(root)

    def test_a_terminal_shows_a_bar(self):
        ours, theirs = pty.openpty()
        self.addCleanup(os.close, ours)
        process = self.start("files", self.template, "--bounds", WORLD, "--levels", "1", "-o", "t",
                             stdout=subprocess.PIPE, stderr=theirs)
        output, _ = process.communicate(timeout=LONG)
        os.close(theirs)
        shown = read_to_end(ours)
        self.assertIn(b"0/4", shown)
        self.assertTrue(shown.endswith(b"\r\x1b[K"), "the bar is taken away at the end")
        self.assertIn(b"4 tiles made", output)
        quiet = self.kxtile("files", self.template, "--bounds", WORLD, "--levels", "1", "-o", "u")
        self.assertEqual(quiet.stderr, b"")


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
