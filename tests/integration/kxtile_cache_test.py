#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Checks and exports of the disk cache, against a kxorigin of its own. GDAL reads what is exported.

Usage: kxtile_cache_test.py KXTILE KXORIGIN EXAMPLE_SOURCES PACK_READER
"""
import json
import math
import os
import pathlib
import re
import resource
import sqlite3
import subprocess
import sys
import tempfile
import unittest

from kxtile_harness import KXTILE, KxtileTestCase

SOURCES, PACK_READER = sys.argv[3:5]
HALF_WORLD = math.pi * 6378137.0


def gdal(*command):
    return subprocess.run(command, capture_output=True, check=True, text=True).stdout


def pixels(path, *options):
    """The picture's bytes, pixel by pixel, as GDAL decodes it."""
    with tempfile.TemporaryDirectory() as folder:
        raw = pathlib.Path(folder, "raw.bin")
        gdal("gdal_translate", "-q", "-of", "ENVI", "-co", "INTERLEAVE=BIP", "-b", "1", "-b", "2",
             "-b", "3", *options, str(path), str(raw))
        return raw.read_bytes()


class KxtileCacheTest(KxtileTestCase):
    def setUp(self):
        super().setUp()
        self.template = self.url("/xyz/marble/{$z}/{$x}/{$y}.png")

    def kxtile(self, *arguments, status=0):
        done = super().kxtile(*arguments, status=status)
        done.stdout, done.stderr = done.stdout.decode(), done.stderr.decode()
        return done

    def fetch(self, source, *tiles):
        for tile in tiles:
            self.kxtile("tile", source, tile, "-o", tile.replace("/", "_") + ".png")

    def sources(self):
        return self.answer("cache", "info")["sources"]

    def query(self, path, *statement):
        with sqlite3.connect(path) as database:
            rows = database.execute(*statement).fetchall()
        database.close()
        return rows

    def test_info_names_definition_files(self):
        for name, kind in [("xyz.toml", "a template"), ("scripted.toml", "a script")]:
            self.fetch(f"{SOURCES}/{name}", "4/3/3")
            with self.subTest(kind):
                self.assertIn(name, [source["description"] for source in self.sources()])
                self.assertIn(name + " (", self.kxtile("cache", "info").stdout)

    def test_info_lists_databases_that_were_set_aside(self):
        self.assertEqual(self.answer("cache", "info")["set_aside"], [])
        self.fetch(self.template, "4/3/3")
        [source] = self.sources()
        pathlib.Path(source["file"]).write_bytes(b"no database at all" * 1000)
        self.fetch(self.template, "4/3/3")
        self.assertEqual(self.answer("cache", "info")["set_aside"],
                         [{"file": source["file"] + ".damaged-1", "bytes": 18000}])
        self.assertEqual([found["tiles"] for found in self.sources()], [1])
        said = self.kxtile("cache", "info").stdout
        self.assertIn("1 damaged database set aside, 17.6 KiB", said)
        self.assertIn(source["file"] + ".damaged-1", said)

    def limited(self, cache, *arguments):
        """What kxtile says when no file may grow beyond 30000 bytes: a JPEG tile fits, a database
        does not, whose index of the log alone is 32 KiB."""
        limit = 30000
        # Python ignores the signal of such a limit itself, and gives it back to its children.
        done = subprocess.run(
            [KXTILE, "--cache-dir", str(self.folder / cache), *arguments], check=False,
            env=self.environment, cwd=self.folder, capture_output=True, text=True,
            preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (limit, limit)))
        return done.returncode, done.stderr

    def test_a_full_disk_costs_the_cache_and_nothing_else(self):
        template = self.template.replace(".png", ".jpg")
        self.kxtile("tile", template, "4/3/3", "-o", "4.jpg")
        self.kxtile("--no-disk-cache", "tile", template, "5/3/3", "-o", "5.jpg")
        for cache in ["cache", "fresh"]:
            for column in [4, 5]:
                with self.subTest(cache=cache, column=column):
                    status, said = self.limited(cache, "tile", template, f"{column}/3/3",
                                                "-o", "limited.jpg")
                    self.assertEqual(status, 0, said)
                    self.assertEqual((self.folder / "limited.jpg").read_bytes(),
                                     (self.folder / f"{column}.jpg").read_bytes())
        self.assertIn("cannot be written", said)
        self.assertEqual([source["tiles"] for source in self.sources()], [1])

    def test_export_onto_a_full_disk_fails_and_leaves_nothing(self):
        self.fetch(self.template, "4/3/3")
        status, said = self.limited("cache", "cache", "export", self.template, "-o", "out.mbtiles")
        self.assertEqual(status, 1)
        self.assertIn("cannot write 'out.mbtiles'", said)
        self.assertEqual([file.name for file in self.folder.glob("*")
                          if file.name not in ("cache", "4_3_3.png")], [])

    def test_clear_tells_what_was_there(self):
        for command in ("clear", "verify"):
            self.assertEqual(self.kxtile("cache", command, self.template).stdout,
                             f"no tiles of '{self.template}' are kept\n")
        self.assertEqual(self.kxtile("cache", "clear", "--all").stdout,
                         f"no tiles are kept in {self.folder / 'cache'}\n")
        self.fetch(self.template, "4/3/3", "5/3/3")
        self.assertEqual(self.kxtile("cache", "clear", self.template).stdout,
                         "cleared 1 source, 2 tiles\n")
        self.assertEqual(self.answer("cache", "clear", "--all"), {"cleared": 0})

    def test_a_raster_that_is_not_there_is_refused(self):
        self.environment["KXTILE_PLUGIN_PATH"] = PACK_READER
        for command in ("clear", "verify"):
            self.assertIn("there is no file 'nosuch.mbtiles'",
                          self.kxtile("cache", command, "nosuch.mbtiles", status=1).stderr)

    def test_clear_and_verify_pass_over_entries_of_a_list_that_cannot_be_used(self):
        connections = ('<qgsXYZTilesConnections version="1.0">'
                       '<xyztiles url="%s" name="Good" zmin="0" zmax="8"/>'
                       '<xyztiles url="ftp://example.org/{z}/{x}/{y}" name="Bad"/>'
                       '</qgsXYZTilesConnections>')
        path = self.folder / "list.xml"
        path.write_text(connections % self.url("/xyz/marble/{z}/{x}/{y}.png"))
        self.fetch("list.xml#Good", "4/3/3")
        done = self.kxtile("cache", "verify", "list.xml")
        self.assertIn("sound", done.stdout)
        self.assertIn("left out", done.stderr)
        self.assertEqual(self.kxtile("cache", "clear", "list.xml").stdout,
                         "cleared 1 source, 1 tile\n")
        path.write_text(connections % "ftp://example.org/{z}/{x}/{y}")
        self.kxtile("cache", "clear", "list.xml", status=1)

    def test_export_opens_in_gdal_and_shows_the_services_pixels(self):
        tiles = ["0/0/0", "0/0/1", "1/0/1", "4/2/3", "5/2/3", "4/3/3", "5/3/3"]
        self.fetch(self.template, *tiles)
        done = self.answer("cache", "export", self.template, "-o", "out.mbtiles", "--name", "Marble")
        self.assertEqual([done[key] for key in ("tiles", "format", "minzoom", "maxzoom")],
                         [len(tiles), "png", 0, 3])
        info = json.loads(gdal("gdalinfo", "-json", str(self.folder / "out.mbtiles")))
        self.assertEqual(info["driverShortName"], "MBTiles")
        metadata = info["metadata"][""]
        self.assertEqual({key: metadata[key] for key in
                          ("name", "format", "minzoom", "maxzoom", "type")},
                         {"name": "Marble", "format": "png", "minzoom": "0", "maxzoom": "3",
                          "type": "baselayer"})
        # Level 3, columns 4 and 5, rows 2 and 3 from the north: 0 to 90 E, equator to 66.5 N.
        west, south, east, north = map(float, metadata["bounds"].split(","))
        latitude = math.degrees(math.atan(math.sinh(math.pi / 2)))
        for value, expected in [(west, 0), (south, 0), (east, 90), (north, latitude)]:
            self.assertAlmostEqual(value, expected, places=5)
        self.assertEqual(info["size"], [512, 512])
        self.assertAlmostEqual(info["geoTransform"][0], 0, delta=1)
        self.assertAlmostEqual(info["geoTransform"][3], HALF_WORLD / 2, delta=1)
        for column, row in [(4, 2), (5, 2), (4, 3), (5, 3)]:
            window = [(column - 4) * 256, (row - 2) * 256, 256, 256]
            self.assertEqual(
                pixels(self.folder / "out.mbtiles", "-srcwin", *map(str, window)),
                pixels(self.folder / f"{column}_{row}_3.png"), (column, row))

    def test_export_is_sound_sqlite_with_rows_from_the_south(self):
        self.fetch(self.template, "1/2/3")
        self.kxtile("cache", "export", self.template, "-o", "out.mbtiles")
        path = self.folder / "out.mbtiles"
        self.assertEqual(self.query(path, "pragma integrity_check"), [("ok",)])
        [(level, column, row, data)] = self.query(
            path, "select zoom_level, tile_column, tile_row, tile_data from tiles")
        self.assertEqual((level, column, row), (3, 1, 7 - 2))
        self.assertEqual(data, (self.folder / "1_2_3.png").read_bytes())
        self.assertEqual([name for name in os.listdir(self.folder) if name.startswith(".")], [])

    def test_a_picture_that_comes_again_is_stored_once(self):
        self.fetch(self.template, "0/0/1")
        [source] = self.sources()
        [(data,)] = self.query(source["file"], "select tile_data from tiles")
        with sqlite3.connect(source["file"]) as database:
            small = pathlib.Path(self.folder / "0_0_1.png").read_bytes()[:100]
            for column in range(8):
                database.execute("insert into tiles values(3, ?, 1, ?)", (column, small))
        database.close()
        done = self.answer("cache", "export", self.template, "-o", "out.mbtiles")
        self.assertEqual((done["tiles"], done["pictures"]), (9, 2))
        self.assertEqual(self.query(self.folder / "out.mbtiles", "select tile_data from tiles where"
                                    " zoom_level = 3 and tile_column = 7"), [(small,)])
        self.assertEqual(self.query(self.folder / "out.mbtiles", "select tile_data from tiles where"
                                    " zoom_level = 1"), [(data,)])

    def test_export_refuses_what_would_lie_wrong(self):
        for options, word in [(["--datum", "gcj02"], "GCJ-02"), (["--scheme", "geographic"], "grid"),
                              (["--scheme", "baidu"], "grid"), (["--scheme", "11"], "grid")]:
            done = self.answer("cache", "export", self.template + "?" + word, *options,
                               "-o", "out.mbtiles", status=1)
            self.assertIn(word, done["error"])
        self.assertIn("no tile", self.answer("cache", "export", self.template, "-o", "out.mbtiles",
                                             status=1)["error"])
        self.assertIn(".mbtiles", self.answer("cache", "export", self.template, "-o", "out.png",
                                              status=2)["hint"])
        self.fetch(self.template, "0/0/1")
        self.assertIn("none/out.mbtiles", self.answer(
            "cache", "export", self.template, "-o", "none/out.mbtiles", status=1)["error"])
        self.assertEqual(list(self.folder.glob("*.mbtiles")), [])

    def test_export_names_the_source_and_whom_it_is_owed_to(self):
        definition = self.folder / "city.toml"
        definition.write_text(f'url = "{self.template}"\nscheme = "WebMercatorWGS84"\n'
                              'name = "City plan"\nattribution = "© the city\'s office"\n',
                              encoding="utf-8")
        self.fetch(definition, "0/0/1")
        for options, name in [([], "City plan"), (["--name", "Mine"], "Mine")]:
            self.kxtile("cache", "export", definition, "-o", "out.mbtiles", *options)
            self.assertEqual(self.query(self.folder / "out.mbtiles", "select name, value from"
                                        " metadata where name in ('name', 'attribution')"),
                             [("attribution", "© the city's office"), ("name", name)])

    def test_export_replaces_nothing_but_databases_unless_told(self):
        self.fetch(self.template, "0/0/1")
        output = self.folder / "out.mbtiles"
        command = ["cache", "export", self.template, "-o", "out.mbtiles"]
        for content in [b"a letter", b"a letter of more than sixteen bytes"]:
            output.write_bytes(content)
            done = self.answer(*command, status=1)
            self.assertIn("out.mbtiles", done["error"])
            self.assertIn("--force", done["hint"])
            self.assertEqual(output.read_bytes(), content)
        self.kxtile(*command, "--force")
        self.kxtile(*command)
        output.write_bytes(b"")
        self.kxtile(*command)
        self.assertEqual(self.query(output, "select count(*) from tiles"), [(1,)])
        output.unlink()
        output.mkdir()
        self.answer(*command, status=1)
        self.answer(*command, "--force", status=1)
        self.assertTrue(output.is_dir())

    def test_verify_finds_nothing_in_a_sound_cache(self):
        self.assertEqual(self.answer("cache", "verify")["sources"], [])
        self.fetch(self.template, "0/0/1", "1/1/1")
        self.fetch(f"{SOURCES}/gzip.toml", "0/0/1")
        done = self.answer("cache", "verify")
        self.assertEqual([(source["state"], source["damaged"]) for source in done["sources"]],
                         [("sound", [])] * 2)
        self.assertEqual(sorted(source["tiles"] for source in done["sources"]), [1, 2])
        self.assertEqual(len(self.answer("cache", "verify", self.template)["sources"]), 1)
        self.assertIn("sound", self.kxtile("cache", "verify").stdout)

    def test_verify_names_the_tiles_that_are_damaged(self):
        self.fetch(self.template, "1/2/3", "1/3/3", "1/4/3", "1/5/3")
        [source] = self.sources()
        whole = (self.folder / "1_2_3.png").read_bytes()
        with sqlite3.connect(source["file"]) as database:
            for row, data in [(3, whole[:len(whole) // 2]), (4, b""), (5, b"<html></html>")]:
                database.execute("update tiles set tile_data = ? where tile_row = ?",
                                 (data, 7 - row))
        database.close()
        done = self.answer("cache", "verify", self.template, status=1)
        self.assertEqual(done["damaged"], 1)
        self.assertEqual(sorted((tile["column"], tile["row"], tile["level"])
                                for tile in done["sources"][0]["damaged"]),
                         [(1, 3, 3), (1, 4, 3), (1, 5, 3)])
        said = self.kxtile("cache", "verify", status=1)
        self.assertIn("tile 1/3/3 is no whole picture", said.stdout)
        self.assertIn("damaged", said.stderr)

    def test_verify_and_a_damaged_database(self):
        self.fetch(self.template, *[f"{column}/{row}/3" for column in range(4) for row in range(8)])
        [source] = self.sources()
        path = pathlib.Path(source["file"])
        [(root,)] = self.query(path, "select rootpage from sqlite_schema where name = 'tiles'")
        [(size,)] = self.query(path, "pragma page_size")
        content = bytearray(path.read_bytes())
        content[(root - 1) * size:root * size] = b"\xaa" * size
        path.write_bytes(content)
        [found] = self.answer("cache", "verify", status=1)["sources"]
        self.assertEqual(found["state"], "damaged")
        self.assertTrue(found["problems"])
        self.assertEqual(len(found["damaged"]), 32)
        self.assertEqual(path.read_bytes(), bytes(content), "verify leaves the file alone")
        path.write_bytes(b"no database at all" * 1000)
        [found] = self.answer("cache", "verify", status=1)["sources"]
        self.assertEqual((found["state"], found["tiles"]), ("damaged", 0))

    def test_verify_tells_of_another_programs_database(self):
        (self.folder / "cache" / "tiles").mkdir(parents=True)
        self.query(self.folder / "cache" / "tiles" / "other.mbtiles", "create table theirs(x)")
        [found] = self.answer("cache", "verify")["sources"]
        self.assertEqual(found["state"], "foreign")


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1], verbosity=1)
