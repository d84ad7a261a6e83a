#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Drives kxtile as a user would, against a kxorigin of its own.

Usage: kxtile_cli_test.py KXTILE KXORIGIN EXAMPLE_SOURCES
"""
import csv
import errno
import json
import math
import os
import pathlib
import sqlite3
import subprocess
import sys
import unittest

from kxtile_harness import KXTILE, KxtileTestCase, png_size

SOURCES = sys.argv[3]
VECTORS = pathlib.Path(__file__).parents[1] / "data" / "datum_vectors.csv"


class KxtileTest(KxtileTestCase):
    def test_tile_comes_from_network_then_from_disk(self):
        source = f"{SOURCES}/xyz.toml"
        before = len(self.requests())
        first = self.answer("tile", source, "4/3/3", "-o", "a.png")
        self.assertEqual((first["from"], first["http_status"], first["format"]),
                         ("network", 200, "png"))
        self.assertEqual(first["url"], self.url("/xyz/marble/3/4/3.png"))
        self.assertEqual(png_size(self.folder / "a.png"), (256, 256))
        second = self.answer("tile", source, "4/3/3", "-o", "b.png")
        self.assertEqual((second["from"], second["bytes"]), ("disk", first["bytes"]))
        self.assertEqual((self.folder / "a.png").read_bytes(),
                         (self.folder / "b.png").read_bytes())
        self.assertEqual(len(self.requests()), before + 1)

    def test_every_way_of_counting_shows_the_same_place(self):
        reference = self.kxtile("tile", self.url("/xyz/graticule/{$z}/{$x}/{$y}.png"), "10/9/4",
                                "-o", "-").stdout
        for cache in ([], ["--no-disk-cache"]):
            for path, options in [("/tms/graticule/{$z}/{$x}/{$y}.png", ["--rows", "south"]),
                                  ("/quadkey/graticule/{$quadkey}.png", []),
                                  ("/offset/graticule/2/{$z}/{$x}/{$y}.png",
                                   ["--level-offset", "2"]),
                                  ("/axis/graticule/yzx/{$y}/{$z}/{$x}.png", [])]:
                done = self.kxtile(*cache, "tile", self.url(path), "10/9/4", *options, "-o", "-")
                self.assertEqual(done.stdout, reference, (path, cache))

    def test_three_quarter_rows_come_out_right_with_and_without_cache(self):
        for options in (["--raw"], [], ["--size", "300"]):
            arguments = ["10/9/4", *options, "-o", "-"]
            reference = self.kxtile("tile", self.url("/geographic/graticule/{$z}/{$x}/{$y}.png"),
                                    "--scheme", "geographic", *arguments).stdout
            for cache in ([], ["--no-disk-cache"]):
                done = self.kxtile(*cache, "tile",
                                   self.url("/tianditu/graticule/{$z}/{$x}/{$y}.png"),
                                   "--scheme", "tianditu", *arguments)
                self.assertEqual(done.stdout, reference, options)

    def test_tiles_of_any_size_come_from_any_source(self):
        mercator = self.url("/xyz/graticule/{$z}/{$x}/{$y}.png")
        done = self.answer("tile", mercator, "10/9/4", "--size", "512", "-o", "large.png")
        self.assertEqual((done["width"], done["url"], done["from"]), (512, None, "network"))
        self.assertEqual(png_size(self.folder / "large.png"), (512, 512))
        again = self.answer("tile", mercator, "10/9/4", "--size", "512", "-o", "again.png")
        self.assertEqual(again["from"], "cache")
        for datum, options in [("wgs84", []), ("gcj02", []), ("gcj02", ["--block-copy"]),
                               ("bd09", ["--size", "100", "--block-copy"])]:
            done = self.answer("tile", mercator, "10/9/4", "--datum", datum, *options)
            self.assertEqual(done["width"], 100 if "--size" in options else 256)
        # A picture has at most 64 million pixels.
        self.kxtile("tile", mercator, "10/9/4", "--size", "8001", status=2)
        self.assertNotIn(b"8192", self.kxtile("tile", "--help").stdout.split(b"For a URL")[0])
        self.kxtile("tile", mercator, "10/9/4", "--size", "0", status=2)
        self.kxtile("tile", mercator, "10/9/4", "--raw", "--block-copy", status=2)
        self.kxtile("tile", mercator, "10/9/4", "--raw", "--size", "256", status=2)
        for size, warned in (("100", True), ("256", False)):
            done = self.kxtile("tile", mercator, "10/9/4", "--datum", "gcj02", "--block-copy",
                               "--size", size)
            self.assertEqual(b"warning: blocks are copied only into" in done.stderr, warned)
        done = self.kxtile("tile", mercator, f"0/0/30", "--size", "512", status=1)
        self.assertIn(b"Levels go to 30", done.stderr)

    def test_another_reading_of_a_template_has_its_own_tiles(self):
        template = self.url("/tms/graticule/{$z}/{$x}/{$y}.png")
        wrong = self.kxtile("tile", template, "4/3/3", "-o", "-").stdout
        right = self.kxtile("tile", template, "4/3/3", "--rows", "south", "-o", "-").stdout
        self.assertNotEqual(wrong, right)
        self.assertEqual(right, self.kxtile("tile", self.url("/xyz/graticule/{$z}/{$x}/{$y}.png"),
                                            "4/3/3", "-o", "-").stdout)

    def test_the_plane_counts_rows_from_the_south_on_its_own_datum(self):
        # 12959580.67 and 4827036.87 plane metres of (116.404, 39.915), 8 x 256 a tile.
        answer = self.answer("locate", "116.404,39.915", "--level", "15", "--scheme", "baidu",
                             "http://h/x={$x}&y={$y}&z={$z}")
        self.assertEqual(answer["source"]["url"], "http://h/x=6327&y=2356&z=15")

    def test_raw_tiles_of_the_plane_have_numbers_of_either_sign(self):
        plane = self.url("/status/404/x=%d&y=%d&z=%d")
        for address, shown in [("-5/-7/4", "x=M5&y=M7&z=4"), ("5/7/4", "x=5&y=7&z=4")]:
            done = self.kxtile("tile", plane.replace("%d&y=%d&z=%d", "{$x}&y={$y}&z={$z}"),
                               address, "--raw", "--scheme", "baidu", "--rows", "south", status=3)
            self.assertIn(shown.encode(), done.stderr)
        self.kxtile("tile", plane, "-17/0/4", "--raw", "--scheme", "baidu", status=2)

    def test_locate_agrees_with_the_published_vectors(self):
        with VECTORS.open(encoding="utf-8") as file:
            vectors = [row for row in csv.DictReader(file) if abs(float(row["bd_lat"])) < 74]
        for row in vectors[::12]:
            place = f"{float(row['lon']):.15f},{float(row['lat']):.15f}"
            answer = self.answer("locate", place, "--level", "17")
            shifted = {entry["datum"]: entry for entry in answer["datums"]}
            for datum, prefix in [("GCJ-02", "gcj"), ("BD-09", "bd")]:
                self.assertAlmostEqual(shifted[datum]["longitude"], float(row[prefix + "_lon"]),
                                       delta=1e-9)
                self.assertAlmostEqual(shifted[datum]["latitude"], float(row[prefix + "_lat"]),
                                       delta=1e-9)
            grids = {(entry["grid"], entry["datum"]): entry for entry in answer["grids"]}
            plane = grids["Baidu", "BD-09"]
            self.assertAlmostEqual(plane["column"], float(row["mc_x"]) / 2 / 256, delta=1e-6)
            self.assertAlmostEqual(plane["row_from_south"], float(row["mc_y"]) / 2 / 256,
                                   delta=1e-6)
            latitude = math.radians(float(row["gcj_lat"]))
            mercator = grids["Web Mercator", "GCJ-02"]
            self.assertAlmostEqual(
                mercator["row_from_south"],
                (1 + math.asinh(math.tan(latitude)) / math.pi) / 2 * 2 ** 17, delta=1e-5)
            self.assertAlmostEqual(grids["geographic", "WGS 84"]["row_from_south"],
                                   (float(row["lat"]) + 180) / 360 * 2 ** 17, delta=1e-6)

    def test_locate_takes_places_of_other_coordinate_systems(self):
        self.environment["KXTILE_PLUGIN_PATH"] = str(
            pathlib.Path(KXTILE).resolve().parents[2] / "plugins" / "gdal" / "plugin")
        # echo 448500 4418000 | cs2cs -f %.9f EPSG:32650 OGC:CRS84
        answer = self.answer("locate", "448500,4418000", "--crs", "EPSG:32650", "--level", "15")
        self.assertAlmostEqual(answer["longitude"], 116.397458498, delta=2e-9)
        self.assertAlmostEqual(answer["latitude"], 39.910523295, delta=2e-9)
        for crs, why in [("EPSG:99999999", b"crs not found"), ("+proj=nothing", b"nothing")]:
            done = self.kxtile("locate", "1,2", "--crs", crs, "--level", "3", status=1)
            self.assertIn(crs.encode(), done.stderr)
            self.assertIn(why, done.stderr)
        self.kxtile("locate", "1", "--crs", "EPSG:32650", "--level", "3", status=2)
        self.environment["KXTILE_PLUGIN_PATH"] = str(self.folder)
        done = self.kxtile("locate", "1,2", "--crs", "EPSG:32650", "--level", "3", status=1)
        self.assertIn(b"KxGdalReader.so is missing", done.stderr)

    def test_locate_tells_the_url_of_a_source(self):
        answer = self.answer("locate", "116.404,39.915", "--level", "15", "--scheme", "baidu",
                             "--datum", "bd09", "--rows", "south", "http://h/x={$x}&y={$y}&z={$z}")
        # 12959580.67 and 4827036.87 plane metres, 8 x 256 a tile.
        self.assertEqual(answer["source"]["url"], "http://h/x=6327&y=2356&z=15")
        for place, tile in [("180,0", [7, 4, 3]), ("-180,0", [0, 4, 3])]:
            edge = self.answer("locate", "--level", "3", "--", place)["grids"]
            self.assertEqual([row["tile"] for row in edge if row["datum"] == "WGS 84"
                              and row["grid"] != "Baidu"], [tile, tile])
        west = self.answer("locate", "-0.12,51.5", "--level", "3", "http://h/{$z}/{$x}/{$y}")
        self.assertEqual(west["source"]["url"], "http://h/3/3/2")
        self.assertEqual(west["grids"][0]["quadkey"], "031")
        table = self.kxtile("locate", "10,89.9", "--level", "3").stdout
        self.assertEqual(table.count(b"outside"), 6)
        for wrong in (["10", "--level", "3"], ["10,91", "--level", "3"], ["1,2,3", "--level", "3"],
                      ["nan,1", "--level", "3"], ["1,1", "--level", "31"], ["1,1"]):
            self.kxtile("locate", *wrong, status=2)
        self.kxtile("locate", "10,89.9", "--level", "3", "http://h/{$z}/{$x}/{$y}", status=3)

    def test_align_shows_four_panels_for_each_source(self):
        mercator = self.url("/xyz/graticule/{$z}/{$x}/{$y}.png")
        folder = pathlib.Path(SOURCES).parent / "alignment"
        answer = self.answer("align", folder / "wgs84.toml", "--at", "116.3975,39.9087",
                             "--level", "15", "--beside", folder / "gcj02.toml",
                             "--beside", folder / "baidu.toml", "-o", "sheet.png")
        plain, gcj02, baidu = (row["mean_difference"] for row in answer["sources"])
        self.assertEqual(plain, 0, "nothing is to be aligned")
        self.assertGreater(gcj02, 10)
        self.assertGreater(baidu, 10)
        width, height = png_size(self.folder / "sheet.png")
        self.assertEqual((width > 4 * 512, height > 3 * 512), (True, True))
        gone = self.url("/status/404/{$z}/{$x}/{$y}")
        self.kxtile("align", gone, "--at", "1,1", "--level", "9", status=3)
        self.kxtile("align", self.url("/status/500/{$z}/{$x}/{$y}"), "--at", "1,1",
                    "--level", "9", status=1)
        self.kxtile("align", mercator, "--at", "1,89.9", "--level", "9", status=2)
        self.kxtile("align", mercator, "--at", "1,1", "--level", "9", "-o", "a.txt", status=2)

    def test_without_disk_cache_nothing_is_kept(self):
        done = self.answer("--no-disk-cache", "tile", f"{SOURCES}/south-rows.toml", "4/3/3")
        self.assertEqual(done["from"], "network")
        self.assertEqual(done["file"], "3_4_3.jpeg")
        self.assertFalse((self.folder / "cache" / "tiles").exists())

    def test_another_extension_converts(self):
        for name, start in [("t.webp", b"RIFF"), ("t.jpg", b"\xff\xd8\xff"), ("t.tif", b"II*\0")]:
            self.kxtile("tile", f"{SOURCES}/xyz.toml", "4/3/3", "-o", name)
            self.assertEqual((self.folder / name).read_bytes()[:len(start)], start)
        self.kxtile("tile", f"{SOURCES}/xyz.toml", "4/3/3", "-o", "t.xyz", status=2)
        self.kxtile("tile", f"{SOURCES}/xyz.toml", "4/3/3", "-o", "none/t.png", status=1)
        self.assertEqual(sorted(path.name for path in self.folder.iterdir() if path.is_file()),
                         ["t.jpg", "t.tif", "t.webp"])

    def test_no_tile_has_its_own_exit_code(self):
        for code in (404, 410, 204):
            template = self.url(f"/status/{code}/{{$z}}/{{$x}}/{{$y}}")
            done = self.kxtile("tile", template, "0/0/0", status=3)
            self.assertIn(f"HTTP status {code}".encode(), done.stderr)
            self.assertIn(b"known on disk", self.kxtile("tile", template, "0/0/0", status=3).stderr)
            self.kxtile("--no-disk-cache", "tile", template, "0/0/0", status=3)
        self.kxtile("tile", self.url("/empty/marble/{$z}/{$x}/{$y}.png"), "0/0/0", status=3)

    def test_failures_name_url_status_and_cause(self):
        cases = [("/status/403/{$z}/{$x}/{$y}", b"403"),
                 ("/html/marble/{$z}/{$x}/{$y}.png", b"text/html"),
                 ("/truncated/marble/{$z}/{$x}/{$y}.png", b"no whole PNG")]
        for path, words in cases:
            for cache in ([], ["--no-disk-cache"]):
                done = self.kxtile(*cache, "tile", self.url(path), "0/0/0", status=1)
                self.assertIn(words, done.stderr)
                self.assertIn(self.address.encode(), done.stderr)
        error = self.answer("tile", "http://127.0.0.1:1/{$z}/{$x}/{$y}", "0/0/0", status=1)
        self.assertIn("127.0.0.1:1/0/0/0", error["error"])
        self.assertEqual(list(self.folder.glob("*.png")), [])

    def test_headers_and_user_agent_can_be_given(self):
        keyed = self.url("/key/marble/{$z}/{$x}/{$y}.png")
        self.kxtile("tile", keyed, "0/0/0", status=1)
        self.kxtile("tile", keyed, "0/0/0", "--header", "X-Api-Key: let-me-in", "-o", "t.png")
        self.kxtile("tile", self.url("/agent/marble/{$z}/{$x}/{$y}.png"), "0/0/0", "-o", "t.png")
        self.kxtile("tile", self.url("/agent-is/me/marble/{$z}/{$x}/{$y}.png"), "0/0/0",
                    "--user-agent", "me", "-o", "t.png")

    def test_wrong_usage(self):
        for arguments in [[], ["tile"], ["tile", "a.toml"], ["nonsense"], ["--timeout", "x", "url"],
                          ["tile", "http://h/{$x}", "1/2"], ["tile", "http://h/{$x}", "2/0/1"],
                          ["url", "http://h/{$x}", "0/0/31"], ["url", "http://h/{$x}", "-1/0/1"],
                          ["url", "http://h/{$x}", "0/0/0/"], ["url", "http://h/{x}", "0/0/0"],
                          ["url", "http://h/{$x}", "0/0/0", "--scheme", "flat"],
                          ["quadkey", "4"], ["quadkey", "1" * 31], ["quadkey", "8/0/3"],
                          ["cache", "clear"], ["cache"]]:
            done = self.kxtile(*arguments, status=2)
            self.assertNotEqual(done.stderr + done.stdout, b"", arguments)

    def test_quadkey_both_ways(self):
        self.assertEqual(self.kxtile("quadkey", "3/5/3").stdout, b"213\n")
        self.assertEqual(self.kxtile("quadkey", "213").stdout, b"3/5/3\n")
        self.assertEqual(self.answer("quadkey", "213"), {"quadkey": "213", "x": 3, "y": 5, "z": 3})

    def test_url(self):
        template = "https://{$serverpart}.h/{$z}/{$x}/{$y}?n=%20"
        self.assertEqual(self.kxtile("url", template, "3/5/3", "--servers", "a,b").stdout,
                         b"https://a.h/3/3/5?n=%20\n")
        self.assertEqual(self.answer("url", "http://h/{$quadkey}", "3/5/3")["url"], "http://h/213")
        self.assertEqual(self.answer("url", "http://h/{$z}/{$x}/{$y}", "3/5/3", "--rows",
                                     "south")["url"], "http://h/3/3/2")

    def test_url_takes_other_programs_placeholders(self):
        for template, options, expected in [
                ("http://h/{z}/{x}/{y}?n=%20", [], "http://h/3/3/5?n=%20"),
                ("http://h/{z}/{x}/{-y}", [], "http://h/3/3/2"),
                ("http://{s}.h/{z}/{x}/{y}", ["--servers", "a,b"], "http://a.h/3/3/5"),
                ("http://{b-d}.h/{z-1}/{x}/{y}", [], "http://b.h/2/3/5"),
                ("http://h/{quadkey}", [], "http://h/213")]:
            self.assertEqual(self.answer("url", template, "3/5/3", *options)["url"], expected)
            definition = self.folder / "same.toml"
            scheme = "BingMap" if "quadkey" in template else "WebMercatorWGS84"
            definition.write_text(f"url = '{template}'\nscheme = '{scheme}'\nservers = 'a,b'\n")
            self.assertEqual(self.answer("url", definition, "3/5/3")["url"], expected)
        for template in ("http://h/{z}/{x}/{y}/{-y}", "http://h/{z}/{x}/{y}?s={s}"):
            self.assertIn("into a definition",
                          self.answer("url", template, "3/5/3", status=2)["error"])

    def test_check_looks_at_every_source_of_a_list(self):
        qgis = self.folder / "list.xml"
        qgis.write_text("<qgsXYZTilesConnections>"
                        "<xyztiles name='Good' url='http://h/{z}/{x}/{y}'/>"
                        "<xyztiles name='Bad' url='http://h/{z}/{x}'/>"
                        "<xyztiles name='Good' url='http://h/{z}'/></qgsXYZTilesConnections>")
        proxy = self.folder / "proxy.yaml"
        proxy.write_text("sources:\n  good: {type: tile, url: 'http://h/%(z)s/%(x)s/%(y)s'}\n"
                         "  bad: {type: tile, url: 'http://h/%(z)s'}\n")
        for path, bad in [(qgis, "Bad"), (proxy, "bad")]:
            done = self.kxtile("--json", "source", "check", path, status=1)
            errors = [found["file"] for found in json.loads(done.stdout)
                      if found["severity"] == "error"]
            self.assertEqual(set(errors), {f"{path}#{bad}"})
        said = self.kxtile("source", "check", qgis, status=1)
        self.assertIn(b"list.xml#Good: warning: cannot be chosen by its name", said.stdout)
        self.assertIn(b"3 definition(s)", said.stderr)

    def test_url_keeps_percent_signs_of_its_own(self):
        for own in ("%20", "%d0%b0", "%s", "%%", "%"):
            self.assertEqual(self.kxtile("url", f"http://h/{own}{{$z}}/{{$x}}/{{$y}}?{own}",
                                         "3/5/6").stdout, f"http://h/{own}6/3/5?{own}\n".encode())
            self.assertEqual(self.kxtile("url", f"http://h/{own}{{$quadkey}}", "3/5/3").stdout,
                             f"http://h/{own}213\n".encode())

    def test_servers_take_turns_from_the_first_on(self):
        template = self.url("/server/{$serverpart}/marble/{$z}/{$x}/{$y}.jpg")
        before = len(self.requests())
        definition = self.folder / "servers.toml"
        definition.write_text(f'url = "{template}"\nservers = "a b c"\nscheme = 10\n')
        self.kxtile("--no-disk-cache", "sheet", *[definition] * 4, "--at", "0/0/0")
        asked = [request["path"][8] for request in self.requests()[before:]]
        self.assertEqual(asked, ["a", "b", "c", "a"])

    def test_failures_keep_secrets(self):
        self.environment["TEST_KEY"] = "tell-nobody"
        definition = self.folder / "s.toml"
        definition.write_text('url = "${KXORIGIN}/status/403/{$z}/{$x}/{$y}?k=${TEST_KEY}"\n')
        for cache in ([], ["--no-disk-cache"]):
            for command in (["tile", definition, "0/0/0"], ["sheet", definition, "--at", "0/0/0"]):
                done = self.kxtile("--json", *cache, *command, status=1)
                self.assertNotIn(b"tell-nobody", done.stdout + done.stderr)
                self.assertIn(b"k=${TEST_KEY}", done.stderr)

    def test_script_error_is_shown_to_its_author(self):
        definition = self.folder / "s.toml"
        definition.write_text('script = """\nfunction GetTileURL(level, row, col)\n'
                              '  return nothing.at_all\nend\n"""\n')
        for command in ("url", "tile"):
            done = self.kxtile(command, definition, "0/0/0", status=1)
            self.assertIn(b"nothing", done.stderr)

    def test_script_error_keeps_secrets(self):
        self.environment["TEST_KEY"] = "tell-nobody"
        definition = self.folder / "s.toml"
        definition.write_text(
            'script = """function GetTileURL() error(\'bad ${TEST_KEY}\') end"""\n')
        for command in ("url", "tile"):
            done = self.kxtile(command, definition, "0/0/0", status=1)
            self.assertNotIn(b"tell-nobody", done.stdout + done.stderr)
            self.assertIn(b"bad ${TEST_KEY}", done.stderr)

    def test_script_that_does_not_load_is_told_of_at_once(self):
        definition = self.folder / "s.toml"
        definition.write_text('script = "function GetTileURL("\n')
        self.assertIn(b"does not load", self.kxtile("source", "show", definition).stderr)

    def test_quadkeys_have_no_level_0(self):
        self.kxtile("tile", self.url("/quadkey/marble/{$quadkey}.png"), "0/0/0", status=3)

    def test_source_show_masks_secrets(self):
        self.environment["TEST_KEY"] = "tell-nobody"
        definition = self.folder / "s.toml"
        definition.write_text('url = "http://h/{$z}/{$x}/{$y}?key=${TEST_KEY}"\n'
                              'datum = "GCJ02"\nrows = "SouthToNorth"\nscheme = 12\n')
        done = self.kxtile("source", "show", definition)
        self.assertNotIn(b"tell-nobody", done.stdout + done.stderr)
        shown = self.answer("source", "show", definition)
        self.assertEqual(shown["url"], "http://h/{$z}/{$x}/{$y}?key=${TEST_KEY}")
        self.assertEqual((shown["datum"], shown["scheme"], shown["rows"]),
                         ("GCJ-02", 12, "from the south"))
        self.assertIn(b"key=tell-nobody", self.kxtile("url", definition, "0/0/0").stdout)

    def test_unreadable_definitions_say_why(self):
        done = self.kxtile("tile", "missing.toml", "0/0/0", status=1)
        self.assertIn(b"missing.toml", done.stderr)
        broken = self.folder / "broken.toml"
        broken.write_text('url = "http://h/{$x}"\nscheme = [\n')
        self.assertIn(b"line", self.kxtile("source", "show", broken, status=1).stderr)
        unset = self.folder / "unset.toml"
        unset.write_text('url = "http://h/{$x}/{$y}/{$z}?k=${KXTILE_SURELY_UNSET}"\n')
        self.assertIn(b"KXTILE_SURELY_UNSET",
                      self.kxtile("source", "show", unset, status=1).stderr)

    def test_cache_info_and_clear(self):
        self.assertEqual(self.answer("cache", "info")["sources"], [])
        self.kxtile("tile", f"{SOURCES}/xyz.toml", "4/3/3", "-o", "a.png")
        missing = self.url("/status/404/{$z}/{$x}/{$y}")
        self.kxtile("tile", missing, "4/3/3", status=3)
        sources = {entry["tiles"]: entry for entry in self.answer("cache", "info")["sources"]}
        self.assertEqual(len(sources), 2)
        self.assertEqual(sources[0]["no_data"], 1)
        # Any MBTiles reader finds the tile: row 4 from the south.
        with sqlite3.connect(sources[1]["file"]) as database:
            rows = database.execute(
                "select zoom_level, tile_column, tile_row, tile_data from tiles").fetchall()
            metadata = dict(database.execute("select name, value from metadata"))
        database.close()
        self.assertEqual([row[:3] for row in rows], [(3, 4, 4)])
        self.assertEqual(bytes(rows[0][3]), (self.folder / "a.png").read_bytes())
        self.assertEqual(metadata["format"], "png")
        self.kxtile("cache", "clear", missing)
        self.kxtile("cache", "clear", "--all")
        self.assertEqual([s for s in self.answer("cache", "info")["sources"]
                          if s["tiles"] or s["no_data"]], [])
        self.assertEqual(self.answer("tile", f"{SOURCES}/xyz.toml", "4/3/3", "-o", "a.png")["from"],
                         "network")

    def test_a_cache_that_cannot_be_written_does_no_harm(self):
        blocked = self.folder / "blocked"
        blocked.write_text("a file where the folder should be")
        done = self.answer("--cache-dir", blocked, "tile", f"{SOURCES}/xyz.toml", "4/3/3",
                           "-o", "a.png")
        self.assertEqual(done["from"], "network")
        self.assertEqual(png_size(self.folder / "a.png"), (256, 256))

    def test_sheet_shows_sources_side_by_side(self):
        sources = sorted(str(path) for path in pathlib.Path(SOURCES).glob("*.toml"))
        done = self.kxtile("--json", "sheet", *sources, "--at", "4/3/3", "--again",
                           "--tiles", "tiles", "-o", "sheet.png")
        self.assertEqual(done.stdout.count(b"\n"), 1)
        answer = json.loads(done.stdout)
        self.assertEqual(answer["sheet"], "sheet.png")
        self.assertEqual([tile["from"] for tile in answer["tiles"]],
                         ["network", "memory", "disk"] * 6)
        width, height = png_size(self.folder / "sheet.png")
        self.assertGreater(width, 3 * 256)
        self.assertGreater(height, 2 * 256)
        self.assertEqual(len(list((self.folder / "tiles").iterdir())), 6)

    def test_sheet_shows_picture_files_beside_sources(self):
        self.kxtile("tile", f"{SOURCES}/xyz.toml", "4/3/3", "-o", "own.png")
        self.kxtile("sheet", f"{SOURCES}/xyz.toml", "--at", "4/3/3", "--picture", "own.png",
                    "--picture", "own.png", "-o", "three.png")
        self.assertEqual(png_size(self.folder / "three.png")[0], 3 * 270 + 14)
        (self.folder / "words.png").write_text("no picture")
        for name in ("words.png", "none.png"):
            done = self.kxtile("sheet", f"{SOURCES}/xyz.toml", "--at", "4/3/3", "--picture", name,
                               "-o", "none-of-it.png", status=1)
            self.assertIn(name.encode(), done.stderr)
        self.assertFalse((self.folder / "none-of-it.png").exists())

    def test_sheet_goes_on_past_sources_that_fail(self):
        missing = self.url("/status/404/{$z}/{$x}/{$y}")
        self.kxtile("sheet", missing, f"{SOURCES}/xyz.toml", "--at", "4/3/3", "-o", "a.png",
                    status=3)
        self.assertEqual(png_size(self.folder / "a.png")[0], 2 * 270 + 14)
        done = self.kxtile("sheet", "none.toml", f"{SOURCES}/xyz.toml", missing, "--at", "4/3/3",
                           "--tiles", "t", status=1)
        self.assertIn(b"none.toml", done.stderr)
        self.assertEqual([path.name for path in (self.folder / "t").iterdir()], ["xyz.png"])

    def test_sheet_tells_in_one_object_which_sources_fail(self):
        missing = self.url("/status/404/{$z}/{$x}/{$y}")
        done = self.kxtile("--json", "sheet", "none.toml", f"{SOURCES}/xyz.toml", missing,
                           "--at", "4/3/3", "-o", "a.png", status=1)
        self.assertEqual(done.stdout.count(b"\n"), 1)
        answer = json.loads(done.stdout)
        self.assertEqual(answer["sheet"], "a.png")
        self.assertIn("2 of 3 sources", answer["error"])
        self.assertEqual([tile["source"] for tile in answer["tiles"]], ["none", "xyz", missing])
        self.assertEqual(["error" in tile for tile in answer["tiles"]], [True, False, True])
        self.assertIn("none.toml", answer["tiles"][0]["error"])
        self.assertIn(b"none.toml", done.stderr)

    def test_sheet_keeps_tiles_of_one_name_apart(self):
        copy = self.folder / "xyz.toml"
        copy.write_bytes(pathlib.Path(SOURCES, "xyz.toml").read_bytes())
        self.kxtile("sheet", copy, f"{SOURCES}/xyz.toml", "--at", "4/3/3", "--tiles", "t")
        self.assertEqual(sorted(path.name for path in (self.folder / "t").iterdir()),
                         ["xyz-2.png", "xyz.png"])

    def test_output_follows_links_keeps_modes_and_feeds_pipes(self):
        source = f"{SOURCES}/xyz.toml"
        target = self.folder / "target.png"
        target.write_bytes(b"old")
        target.chmod(0o600)
        (self.folder / "link.png").symlink_to(target)
        for name in ("link.png", "link.webp"):
            if name.endswith("webp"):
                (self.folder / name).symlink_to(target)
            self.kxtile("tile", source, "4/3/3", "-o", name)
            self.assertTrue((self.folder / name).is_symlink())
            self.assertEqual(target.stat().st_mode & 0o777, 0o600)
            self.assertNotEqual(target.read_bytes(), b"old")
        os.mkfifo(self.folder / "pipe.png")
        reader = subprocess.Popen(["cat", "pipe.png"], cwd=self.folder, stdout=subprocess.PIPE)
        self.kxtile("tile", source, "4/3/3", "-o", "pipe.png")
        self.assertEqual(reader.communicate()[0][:4], b"\x89PNG")
        self.assertTrue((self.folder / "pipe.png").is_fifo())

    def test_verbose_tells_a_status_only_of_requests(self):
        tile = ("--verbose", "tile", f"{SOURCES}/xyz.toml", "4/3/3", "-o", "a.png")
        self.assertIn(b"3.png (HTTP status 200)", self.kxtile(*tile).stderr)
        self.assertNotIn(b"HTTP status", self.kxtile(*tile).stderr)

    def test_a_remembered_absence_says_how_to_forget_it(self):
        tile = ("tile", self.url("/status/404/{$z}/{$x}/{$y}"), "4/3/3")
        self.assertNotIn(b"Remembered", self.kxtile(*tile, status=3).stderr)
        self.assertIn("'kxtile cache clear SOURCE'", self.answer(*tile, status=3)["hint"])

    def test_answers_that_cannot_be_written_are_failures_with_a_reason(self):
        source = f"{SOURCES}/xyz.toml"
        readable = self.folder / "readable"
        readable.write_bytes(b"")
        for arguments, status in [(["--help"], 1), (["--version"], 1), (["quadkey", "1/1/1"], 1),
                                  (["--json", "url", source, "4/3/3"], 1),
                                  (["tile", "--help"], 1), (["tile", source, "4/3/3"], 1),
                                  (["tile", source, "4/3/3", "-o", "-"], 1),
                                  (["--json", "quadkey"], 2)]:
            words = [KXTILE, *arguments]
            closed = ["sh", "-c", 'exec "$@" >&-', "sh", *words]
            for command in (words, closed):
                with readable.open("rb") as out:
                    done = subprocess.run(command, env=self.environment, cwd=self.folder,
                                          stdout=out, stderr=subprocess.PIPE, check=False)
                self.assertEqual(done.returncode, status, (command, done.stderr))
                # Neither can be written to; what has been flushed before has lost its reason.
                self.assertRegex(done.stderr.decode(), "to standard output: (an earlier write "
                                 f"failed|{os.strerror(errno.EBADF)})\n")
                self.assertEqual(done.stderr.count(b"cannot write"), 1, done.stderr)

    def test_usage_errors_come_as_json_too(self):
        self.assertIn("TILE", self.answer("quadkey", status=2)["error"])
        self.kxtile("--timeout", "nan", "url", "http://h/{$x}{$y}{$z}", "0/0/0", status=2)
        self.kxtile("quadkey", "", status=2)
        self.kxtile("quadkey", "0/0/0", status=2)
        self.assertNotIn(b"\x1b", self.kxtile("quadkey", "\x1b[31m", status=2).stderr)

    def test_help_of_every_command_shows_an_example(self):
        for command in ["", "tile", "url", "quadkey", "sheet", "source", "source show", "cache",
                        "cache info", "cache clear", "cache verify", "cache export"]:
            done = self.kxtile(*command.split(), "--help")
            self.assertIn(b"kxtile " + command.split(" ")[0].encode(),
                          done.stdout.split(b"Example")[1])
        self.assertTrue(self.kxtile("--version").stdout.startswith(b"kxtile "))


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1], verbosity=1)
