#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Drives `kxtile export` as a user would; what it writes is opened with other programs.

Usage: kxtile_export_test.py KXTILE KXORIGIN EXAMPLE_SOURCES READER_PLUGINS PMTILES_READER
"""
import importlib.util
import json
import pathlib
import shutil
import signal
import sqlite3
import subprocess
import sys
import unittest

from kxtile_files_test import LONG, WORLD, Service
from kxtile_harness import KXTILE, KxtileTestCase

READERS, PMTILES_READER = sys.argv[4:6]
HALF_WORLD = 20037508.342789244


def load(path):
    specification = importlib.util.spec_from_file_location("pmtiles_reader", path)
    module = importlib.util.module_from_spec(specification)
    specification.loader.exec_module(module)
    return module


pmtiles = load(PMTILES_READER)


class ExportTest(KxtileTestCase):
    def setUp(self):
        super().setUp()
        self.environment["KXTILE_PLUGIN_PATH"] = READERS
        self.template = self.url("/xyz/marble/{$z}/{$x}/{$y}.png")

    def export(self, *arguments, status=0):
        """The last line that the command answers with --json."""
        done = self.kxtile("--json", "export", *arguments, status=status)
        return json.loads(done.stdout.splitlines()[-1])

    def served(self, level, column, row):
        """The tile as the source's own bytes."""
        name = self.folder / "served.png"
        self.kxtile("tile", self.template, f"{column}/{row}/{level}", "-o", name)
        return name.read_bytes()

    def gdal(self, program, *arguments):
        if shutil.which(program) is None:
            self.skipTest(f"{program} (gdal-bin) is not installed")
        done = subprocess.run([program, *map(str, arguments)], cwd=self.folder,
                              capture_output=True, check=False)
        self.assertEqual(done.returncode, 0, done.stderr)
        self.assertEqual(done.stderr, b"")
        return done.stdout

    def pixels(self, path, *window):
        """R, G, B of a window of a raster, row by row, as GDAL reads it."""
        place = ["-srcwin", *window] if window else []
        self.gdal("gdal_translate", "-q", "-of", "ENVI", "-co", "INTERLEAVE=BIP", "-b", "1", "-b",
                  "2", "-b", "3", *place, path, "out.raw")
        return (self.folder / "out.raw").read_bytes()

    def files(self):
        """What lies in the folder beside the cache."""
        return sorted(path.name for path in self.folder.iterdir() if path.name != "cache")

    def tiles_of_database(self, path):
        with sqlite3.connect(f"file:{self.folder / path}?mode=ro", uri=True) as database:
            return {(level, column, 2 ** level - 1 - row): data for level, column, row, data in
                    database.execute("SELECT zoom_level, tile_column, tile_row, tile_data "
                                     "FROM tiles")}

    def tiles_of(self, path):
        if path.endswith(".mbtiles"):
            return self.tiles_of_database(path)
        archive = pmtiles.Archive(self.folder / path)
        pmtiles.check(archive)
        return dict(archive.tiles())

    def metadata_of_database(self, path):
        with sqlite3.connect(f"file:{self.folder / path}?mode=ro", uri=True) as database:
            return dict(database.execute("SELECT name, value FROM metadata"))

    def service(self):
        service = Service(self.served(0, 0, 0))
        self.addCleanup(service.stop)
        return service

    # What is written

    def test_mbtiles_open_in_gdal_with_the_served_pixels(self):
        end = self.export(self.template, "--bounds", "-80,10,100,80", "--levels", "0-2", "-o",
                          "out.mbtiles", "--name", "a name", "--attribution", "somebody")
        # Level 2 has columns 1 to 3 and rows 0 and 1 there, level 1 both columns of row 0.
        self.assertEqual((end["made"], end["kept"], end["holes"], end["failed"]), (9, 0, 0, 0))
        info = json.loads(self.gdal("gdalinfo", "-json", "out.mbtiles"))
        self.assertEqual(info["driverShortName"], "MBTiles")
        self.assertEqual(info["size"], [3 * 256, 2 * 256])
        self.assertAlmostEqual(info["geoTransform"][0], -HALF_WORLD / 2, delta=1)
        self.assertAlmostEqual(info["geoTransform"][3], HALF_WORLD, delta=1)
        for column in range(1, 4):
            for row in range(2):
                window = self.pixels("out.mbtiles", 256 * (column - 1), 256 * row, 256, 256)
                self.served(2, column, row)
                self.assertEqual(window, self.pixels("served.png"), (column, row))
        metadata = self.metadata_of_database("out.mbtiles")
        self.assertEqual((metadata["name"], metadata["attribution"]), ("a name", "somebody"))
        self.assertEqual((metadata["minzoom"], metadata["maxzoom"]), ("0", "2"))
        for (level, column, row), data in self.tiles_of_database("out.mbtiles").items():
            self.assertEqual(data, self.served(level, column, row))

    def test_pmtiles_hold_the_served_tiles(self):
        end = self.export(self.template, "--bounds", WORLD, "--levels", "0-3", "-o",
                          "out.pmtiles", "--jobs", "3")
        self.assertEqual(end["made"], 85)
        archive = pmtiles.Archive(self.folder / "out.pmtiles")
        answer = pmtiles.check(archive)
        self.assertEqual(answer["header"]["addressed"], 85)
        self.assertEqual(answer["header"]["type"], 2)
        self.assertEqual((answer["header"]["west"], answer["header"]["east"]),
                         (-1800000000, 1800000000))
        tiles = dict(archive.tiles())
        self.assertEqual(len(tiles), 85)
        for level, column, row in [(0, 0, 0), (1, 1, 0), (2, 3, 1), (3, 2, 5), (3, 7, 0)]:
            self.assertEqual(tiles[level, column, row], self.served(level, column, row))

    def test_a_geotiff_holds_the_deepest_level(self):
        end = self.export(self.template, "--bounds", "-80,10,100,80", "--levels", "0-3", "-o",
                          "out.tif")
        # Columns 2 to 6 and rows 0 to 3 of level 3.
        self.assertEqual((end["made"], end["failed"]), (20, 0))
        self.assertEqual(self.files(), ["out.tif"])
        info = json.loads(self.gdal("gdalinfo", "-json", "out.tif"))
        self.assertEqual(info["size"], [5 * 256, 4 * 256])
        self.assertEqual(info["metadata"]["IMAGE_STRUCTURE"]["LAYOUT"], "COG")
        self.assertIn('ID["EPSG",3857]', info["coordinateSystem"]["wkt"])
        edge = 2 * HALF_WORLD / 8
        for value, wanted in zip(info["geoTransform"],
                                 [2 * edge - HALF_WORLD, edge / 256, 0, HALF_WORLD, 0, -edge / 256]):
            self.assertAlmostEqual(value, wanted, places=6)
        self.assertGreaterEqual(len(info["bands"][0]["overviews"]), 1)
        for column, row in [(2, 0), (6, 0), (4, 2), (2, 3), (6, 3)]:
            window = self.pixels("out.tif", 256 * (column - 2), 256 * row, 256, 256)
            self.served(3, column, row)
            self.assertEqual(window, self.pixels("served.png"), (column, row))

    def test_holes_of_a_geotiff_are_transparent(self):
        raster = self.folder / "made.testraster"
        raster.write_text("-180 -85 180 85 0 8 stored")
        (self.folder / "made.testraster.tile").write_bytes(self.served(0, 0, 0))
        # Of this raster column 0 is missing, and column 1 cannot be read.
        end = self.export(raster, "--bounds", WORLD, "--levels", "2", "-o", "out.tif", status=4)
        self.assertEqual((end["made"], end["holes"], end["failed"]), (8, 4, 4))
        self.assertIn("out.tif.failed-tiles.txt", end["failed_list"])
        self.gdal("gdal_translate", "-q", "-of", "ENVI", "-b", "4", "out.tif", "alpha.raw")
        alpha = (self.folder / "alpha.raw").read_bytes()
        for row in (0, 511, 1023):
            self.assertEqual(alpha[1024 * row:1024 * row + 1024], bytes(512) + b"\xff" * 512)

    def test_a_raster_becomes_what_its_tiles_are(self):
        raster = self.folder / "made.testraster"
        raster.write_text("-10 -10 40 40 0 8 squares")
        self.export(raster, "--bounds", "1,5,2,50", "--levels", "4", "-o", "out.mbtiles")
        self.kxtile("files", raster, "--bounds", "1,5,2,50", "--levels", "4", "-o", "tree")
        tree = {tuple(map(int, path.with_suffix("").parts[-3:])): path.read_bytes()
                for path in (self.folder / "tree").rglob("*.*")
                if path.suffix in (".png", ".jpeg")}
        tiles = self.tiles_of_database("out.mbtiles")
        self.assertEqual({(level, row, column): data for (level, column, row), data
                          in tiles.items()}, tree)

    def test_an_archive_becomes_another_archive(self):
        self.export(self.template, "--bounds", WORLD, "--levels", "0-2", "-o", "a.mbtiles")
        end = self.export("a.mbtiles", "--bounds", WORLD, "--levels", "0-2", "-o", "b.pmtiles")
        self.assertEqual(end["made"], 21)
        self.export("b.pmtiles", "--bounds", WORLD, "--levels", "0-2", "-o", "c.mbtiles")
        self.assertEqual(self.tiles_of_database("c.mbtiles"), self.tiles_of_database("a.mbtiles"))

    def test_bounds_go_across_the_antimeridian(self):
        arguments = [self.template, "--bounds", "170,-20,-170,10", "--levels", "3", "-o"]
        self.export(*arguments, "out.pmtiles")
        archive = pmtiles.Archive(self.folder / "out.pmtiles")
        self.assertEqual({place for place, _ in archive.tiles()},
                         {(3, column, row) for column in (0, 7) for row in (3, 4)})
        # In the middle of the tiles, not of the world.
        self.assertEqual(archive.header["center_lon"], 1800000000)
        self.export(*arguments, "out.mbtiles")
        metadata = self.metadata_of_database("out.mbtiles")
        longitude, latitude, level = map(float, metadata["center"].split(","))
        self.assertEqual((abs(longitude), level), (180, 3))
        west, south, east, north = map(float, metadata["bounds"].split(","))
        self.assertTrue(west <= longitude <= east and south < latitude < north, metadata)
        done = self.kxtile("export", *arguments, "out.tif", status=2)
        self.assertIn(b"antimeridian", done.stderr)

    # What is there already

    def test_a_file_that_is_there_is_not_replaced_unasked(self):
        arguments = [self.template, "--bounds", WORLD, "--levels", "0-1", "-o"]
        for name in ("out.mbtiles", "out.pmtiles", "out.tif"):
            (self.folder / name).write_text("somebody's work")
            done = self.kxtile("export", *arguments, name, status=1)
            self.assertIn(b"--overwrite", done.stderr)
            self.assertEqual((self.folder / name).read_text(), "somebody's work")
            self.export(*arguments, name, "--overwrite")
            self.assertGreater((self.folder / name).stat().st_size, 1000)
        (self.folder / "folder.mbtiles").mkdir()
        self.kxtile("export", *arguments, "folder.mbtiles", "--overwrite", status=1)

    def test_an_archive_is_gone_on_with(self):
        for name in ("out.mbtiles", "out.pmtiles"):
            service = self.service()
            arguments = ["--no-disk-cache", "export", service.template, "-o", name]
            self.kxtile(*arguments, "--bounds", "-180,0,0,85", "--levels", "2", "--resume")
            self.assertEqual(len(service.paths), 4)
            done = self.kxtile("--json", *arguments, "--bounds", WORLD, "--levels", "1-2",
                               "--resume")
            end = json.loads(done.stdout.splitlines()[-1])
            self.assertEqual((end["made"], end["kept"]), (16, 4))
            self.assertEqual(len(service.paths), 20)
        self.assertEqual(len(self.tiles_of_database("out.mbtiles")), 20)
        pmtiles.check(pmtiles.Archive(self.folder / "out.pmtiles"))
        (self.folder / "noise.pmtiles").write_bytes(bytes(1000))
        done = self.kxtile("export", self.template, "--bounds", WORLD, "--levels", "1", "-o",
                           "noise.pmtiles", "--resume", status=1)
        self.assertIn(b"gone on with", done.stderr)

    def test_going_on_loses_no_tile_of_the_file(self):
        for name in ("out.mbtiles", "out.pmtiles"):
            self.export(self.template, "--bounds", "-180,0,0,85", "--levels", "1-2", "-o", name)
            first = self.tiles_of(name)
            self.assertEqual(len(first), 5)
            # Another level of another part of the earth.
            end = self.export(self.template, "--bounds", "1,-85,179,-1", "--levels", "3", "-o",
                              name, "--resume")
            self.assertEqual((end["made"], end["kept"]), (16, 0))
            both = self.tiles_of(name)
            self.assertEqual(len(both), 21)
            self.assertEqual({place: both[place] for place in first}, first)
            self.assertEqual({place for place in both if place[0] == 3},
                             {(3, column, row) for column in range(4, 8) for row in range(4, 8)})
        self.assertEqual(self.files(), ["out.mbtiles", "out.pmtiles"])

    # What is not there, and what fails

    def test_holes_are_told_from_failures(self):
        arguments = ["--bounds", "10,50,10,50", "-o"]
        end = self.export(self.template, "--levels", "21-24", *arguments, "a.mbtiles", status=3)
        self.assertEqual((end["made"], end["holes"], end["failed"]), (2, 2, 0))
        # Nothing at all makes no file.
        for status, code in (("404", 3), ("500", 4)):
            source = self.url("/status/" + status + "/{$z}/{$x}/{$y}.png?key=hush-hush-hush-hush")
            for name in ("b.mbtiles", "b.pmtiles", "b.tif"):
                done = self.kxtile("export", source, "--levels", "3", *arguments, name,
                                   "--failed", "list", status=code)
                self.assertIn(b"was not written", done.stderr)
                self.assertEqual(b"there is no tile for it" in done.stderr, status == "404")
                self.assertEqual(b"1 failed; the last one: http" in done.stderr, status == "500")
                self.assertEqual(b"(HTTP status 500)" in done.stderr, status == "500")
                self.assertNotIn(b"hush", done.stderr)
        self.assertNotIn("hush", (self.folder / "list").read_text())
        self.assertEqual(self.files(), ["a.mbtiles", "list"])

    def test_a_service_that_refuses_leaves_an_archive_to_go_on_with(self):
        for name in ("out.mbtiles", "out.pmtiles"):
            service = self.service()
            (self.folder / "served.png").unlink()
            service.allowed = 3
            arguments = ["--no-disk-cache", "--json", "export", service.template, "--bounds", WORLD,
                         "--levels", "4", "--jobs", "1", "--failed", "list", "-o", name]
            done = self.kxtile(*arguments, status=1)
            end = json.loads(done.stdout.splitlines()[-1])
            self.assertEqual((end["made"], end["failed"]), (3, 64))
            self.assertIn("64 tiles in a row were refused", end["gave_up"])
            self.assertIn(b"Once that is mended, the same command with --resume goes on",
                          done.stderr)
            self.assertIn(b"holds what was there by then", done.stderr)
            self.assertEqual(len(self.tiles_of(name)), 3)
            service.allowed = 10 ** 9
            done = self.kxtile(*arguments, "--resume")
            end = json.loads(done.stdout.splitlines()[-1])
            self.assertEqual((end["made"], end["kept"]), (253, 3))
            (self.folder / name).unlink()
        # Where nothing came there is no file, and where there was one it stays.
        service.allowed = 0
        arguments[-1] = "out.tif"
        (self.folder / "out.tif").write_text("complete")
        done = self.kxtile(*arguments, "--overwrite", status=1)
        self.assertIn(b"'out.tif' was not written", done.stderr)
        self.assertIn(b"Once that is mended, the same command begins anew;", done.stderr)
        self.assertEqual((self.folder / "out.tif").read_text(), "complete")
        self.assertEqual(self.files(), ["list", "out.tif"])
        # --overwrite and --resume exclude each other.
        arguments[-1] = "out.mbtiles"
        for before, allowed, told in [(None, 3, b"with --resume instead of --overwrite goes on"),
                                      ("complete", 3, b"command begins anew"),
                                      (None, 0, b"command begins anew")]:
            (self.folder / "out.mbtiles").unlink(missing_ok=True)
            if before is not None:
                (self.folder / "out.mbtiles").write_text(before)
            service.paths.clear()
            service.allowed = allowed
            done = self.kxtile(*arguments, "--overwrite", status=1)
            self.assertIn(told, done.stderr)

    def test_a_file_of_another_source_is_not_gone_on_with(self):
        other = self.url("/xyz/graticule/{$z}/{$x}/{$y}.png")
        for name in ("out.mbtiles", "out.pmtiles"):
            arguments = ["--levels", "0-1", "-o", name, "--bounds"]
            self.export(self.template, *arguments, "-180,0,0,85")
            arguments.append(WORLD)
            before = (self.folder / name).read_bytes()
            for source in ([other], [self.template, "--size", "512"],
                           [self.template, "--format", "jpg"]):
                done = self.kxtile("export", *source, *arguments, "--resume", status=1)
                self.assertIn(f"holds tiles of '{self.template}, 256 pixels', not of".encode(),
                              done.stderr)
                self.assertIn(b"--overwrite", done.stderr)
                self.assertEqual((self.folder / name).read_bytes(), before)
            end = self.export(other, *arguments, "--resume", "--other-source")
            self.assertEqual((end["made"], end["kept"]), (3, 2))
        # Archives of other programs do not say it.
        with sqlite3.connect(self.folder / "out.mbtiles") as database:
            database.execute("DELETE FROM metadata WHERE name = 'kxtile_origin'")
        self.export(self.template, "--bounds", WORLD, "--levels", "1", "-o", "out.mbtiles",
                    "--resume")

    def test_a_changed_key_is_the_same_source(self):
        for key in ("first-key-of-the-service", "second-key-of-the-service"):
            self.export(f"{self.template}?key={key}", "--bounds", WORLD, "--levels", "1", "-o",
                        "out.mbtiles", "--resume")
        metadata = self.metadata_of_database("out.mbtiles")
        self.assertNotIn("key-of-the-service", str(metadata))

    def test_a_job_beside_the_raster_says_where_that_lies(self):
        raster = self.folder / "made.testraster"
        raster.write_text("10 20 40 60 2 8 squares")
        done = self.kxtile("export", raster, "--bounds", "-170,-80,-160,-70", "--levels", "4", "-o",
                           "out.mbtiles", status=3)
        self.assertIn(b"there is no tile for it", done.stderr)
        self.assertIn(b"made.testraster covers longitude 10 to 40, latitude 20 to 60, levels 2 to 8",
                      done.stderr)
        done = self.kxtile("export", raster, "--bounds", "11,21,12,22", "--levels", "8-9", "-o",
                           "out.mbtiles", status=3)
        self.assertIn(b"levels 2 to 8", done.stderr)

    def test_what_failed_is_fetched_again(self):
        # Each address fails once.
        template = self.url("/fault/status-500/1/xyz/marble/{$z}/{$x}/{$y}.png?export")
        bad = self.folder / "list"
        arguments = [template, "--bounds", WORLD, "--levels", "0-1", "-o", "out.pmtiles",
                     "--failed", bad]
        self.export(self.template, "--bounds", WORLD, "--levels", "0", "-o", "out.pmtiles")
        arguments.append("--other-source")
        done = self.kxtile("export", *arguments, "--resume", status=4)
        self.assertIn(b"--resume", done.stderr)
        self.assertIn("# Try them again with --resume --retry and this file.",
                      bad.read_text().splitlines())
        self.assertEqual(sum(not line.startswith("#")
                             for line in bad.read_text().splitlines()), 4)
        end = self.export(*arguments, "--resume")
        self.assertEqual((end["made"], end["kept"]), (4, 1))
        self.assertFalse(bad.exists())

    def test_a_file_that_cannot_be_made_asks_for_no_tile(self):
        service = self.service()
        for name in ("missing/out.mbtiles", "missing/out.pmtiles", "missing/out.tif"):
            done = self.kxtile("export", service.template, "--bounds", WORLD, "--levels", "1",
                               "-o", name, status=1)
            self.assertIn(b"cannot write 'missing/out", done.stderr)
        self.assertEqual(service.paths, [])

    def test_a_cache_that_cannot_be_written_costs_one_warning(self):
        service = self.service()
        (self.folder / "file").write_text("")
        done = self.kxtile("--cache-dir", self.folder / "file" / "cache", "export",
                           service.template, "--bounds", WORLD, "--levels", "2", "-o",
                           "out.mbtiles")
        self.assertEqual(len(service.paths), 16)
        self.assertEqual(done.stderr.count(b"cannot be written"), 1, done.stderr)
        self.assertEqual(len(self.tiles_of("out.mbtiles")), 16)

    def test_what_is_in_the_cache_is_not_fetched_again(self):
        service = self.service()
        arguments = ["export", service.template, "--bounds", WORLD, "--levels", "2", "-o"]
        self.kxtile(*arguments, "a.mbtiles")
        done = self.kxtile(*arguments, "b.mbtiles")
        self.assertEqual((len(service.paths), done.stderr), (16, b""))
        self.assertEqual(self.tiles_of("b.mbtiles"), self.tiles_of("a.mbtiles"))

    def test_a_disk_without_room_ends_it(self):
        def limit():
            import resource
            resource.setrlimit(resource.RLIMIT_FSIZE, (200000, 200000))
        for name in ("out.mbtiles", "out.pmtiles"):
            done = subprocess.run(
                [KXTILE, "--no-disk-cache", "export", self.template, "--bounds", WORLD, "--levels",
                 "0-4", "-o", name, "--failed", "list"], env=self.environment, cwd=self.folder,
                preexec_fn=limit, capture_output=True, check=False)
            self.assertEqual(done.returncode, 1, done.stderr)
            self.assertIn(b"cannot write", done.stderr)
            self.assertIn(self.files(), (["list"], []))

    def test_pictures_that_pmtiles_has_not_end_it_at_the_first(self):
        # One pixel, made by the rules of GIF 89a.
        gif = bytes.fromhex("47494638396101000100800000000000ffffff2c00000000010001000002024401003b")
        service = Service(gif)
        self.addCleanup(service.stop)
        arguments = ["--no-disk-cache", "export", service.template, "--bounds", WORLD, "--levels",
                     "3", "--jobs", "1", "-o"]
        done = self.kxtile(*arguments, "out.pmtiles", status=1)
        self.assertIn(b"PNG, JPEG or WebP; the first one is in the format 'gif'", done.stderr)
        self.assertIn(b".mbtiles", done.stderr)
        self.assertEqual(len(service.paths), 1)
        self.kxtile(*arguments, "out.mbtiles")
        self.assertEqual(set(self.tiles_of_database("out.mbtiles").values()), {gif})

    def test_wrong_arguments_are_told(self):
        for arguments, word in [
                (["--bounds", WORLD, "--levels", "1", "-o", "out.zip"], b".mbtiles"),
                (["--bounds", WORLD, "--levels", "1"], b"--output"),
                (["--levels", "1", "-o", "out.pmtiles"], b"--bounds"),
                (["--bounds", WORLD, "--levels", "1", "-o", "a.tif", "--resume"], b"GeoTIFF"),
                (["--bounds", WORLD, "--levels", "8", "-o", "a.pmtiles"], b"--yes"),
                (["--bounds", WORLD, "--levels", "24", "-o", "a.tif", "--yes"], b"pixels"),
                (["--bounds", WORLD, "--levels", "1", "-o", "a.mbtiles", "--resume",
                  "--overwrite"], b"--overwrite"),
                (["--bounds", WORLD, "--levels", "1", "-o", "a.mbtiles", "--other-source"],
                 b"--resume")]:
            done = self.kxtile("export", self.template, *arguments, status=2)
            self.assertIn(word, done.stderr, arguments)
        self.assertEqual(self.files(), [])
        self.assertIn(b"--resume", self.kxtile("export", "--help").stdout)

    def test_a_dry_run_says_how_much_it_would_be(self):
        answer = self.export(self.template, "--bounds", WORLD, "--levels", "0-3", "-o", "a.mbtiles",
                             "--dry-run")
        self.assertEqual(answer["tiles"], 85)
        self.assertEqual([level["tiles"] for level in answer["levels"]], [1, 4, 16, 64])
        answer = self.export(self.template, "--bounds", WORLD, "--levels", "0-3", "-o", "a.tif",
                             "--dry-run")
        self.assertEqual(answer["tiles"], 64)
        self.assertEqual(self.files(), [])

    # Interrupted

    def interrupt(self, service, *arguments, hanging=4):
        """What an export says that is interrupted when so many requests hang."""
        process = subprocess.Popen(
            [KXTILE, "--json", "--timeout", "3600", "--no-disk-cache", "export", service.template,
             *arguments, "--jobs", str(hanging)], env=self.environment, cwd=self.folder,
            stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        self.addCleanup(process.kill)
        for _ in range(hanging):
            self.assertTrue(service.hanging.acquire(timeout=LONG))
        process.send_signal(signal.SIGINT)
        # Its requests would go on for an hour.
        output, errors = process.communicate(timeout=LONG)
        self.assertEqual(process.returncode, 130, errors)
        end = json.loads(output.splitlines()[-1])
        self.assertTrue(end["interrupted"])
        return end, errors

    def test_ctrl_c_leaves_an_archive_to_go_on_with(self):
        for name in ("out.mbtiles", "out.pmtiles"):
            service = self.service()
            (self.folder / "served.png").unlink()
            service.answered = 6
            arguments = ["--bounds", WORLD, "--levels", "3", "-o", name]
            end, errors = self.interrupt(service, *arguments)
            self.assertEqual(end["made"], 6)
            self.assertIn(b"--resume", errors)
            self.assertEqual(self.files(), [name])
            self.assertEqual(len(self.tiles_of(name)), 6)
            # Once more, and in vain: the file stays as it is.
            service.answered = 0
            before = (self.folder / name).read_bytes()
            end, errors = self.interrupt(service, *arguments, "--resume")
            self.assertIn(b"was not written", errors)
            self.assertEqual((self.folder / name).read_bytes(), before)
            service.answered = 10 ** 9
            done = self.kxtile("--json", "export", service.template, *arguments, "--resume")
            end = json.loads(done.stdout.splitlines()[-1])
            self.assertEqual((end["made"], end["kept"]), (58, 6))
            self.assertEqual(len(self.tiles_of(name)), 64)
            self.assertEqual(self.files(), [name])
            (self.folder / name).unlink()

    def test_ctrl_c_leaves_no_part_of_a_picture_nor_in_the_place_of_a_file(self):
        for name in ("out.tif", "out.mbtiles"):
            service = self.service()
            (self.folder / "served.png").unlink()
            service.answered = 6
            (self.folder / name).write_text("complete")
            end, errors = self.interrupt(service, "--bounds", WORLD, "--levels", "3", "-o", name,
                                         "--overwrite")
            self.assertEqual(end["made"], 6)
            self.assertIn(b"was not written", errors)
            self.assertEqual(self.files(), [name])
            self.assertEqual((self.folder / name).read_text(), "complete")
            (self.folder / name).unlink()

    def test_a_list_is_tried_again_into_the_file(self):
        service = self.service()
        self.export(service.template, "--bounds", "-180,0,0,85", "--levels", "2", "-o", "a.pmtiles")
        (self.folder / "list").write_text("3/3/2\n2/2/2\n0/0/2\n")
        asked = len(service.paths)
        end = self.export(service.template, "--retry", "list", "-o", "a.pmtiles", "--resume",
                          "--failed", "list")
        self.assertEqual((end["made"], end["kept"]), (2, 1))
        self.assertEqual(len(service.paths) - asked, 2)
        self.assertEqual(set(self.tiles_of("a.pmtiles")),
                         {(2, 0, 0), (2, 1, 0), (2, 0, 1), (2, 1, 1), (2, 3, 3), (2, 2, 2)})
        self.assertFalse((self.folder / "list").exists())
        (self.folder / "list").write_text("3/3/2\n")
        arguments = ["export", service.template, "--retry", "list", "-o"]
        done = self.kxtile(*arguments, "a.pmtiles", status=2)
        self.assertIn(b"--retry needs --resume", done.stderr)
        done = self.kxtile(*arguments, "b.pmtiles", "--resume", status=1)
        self.assertIn(b"there is no 'b.pmtiles'", done.stderr)

    def test_what_a_killed_run_left_is_removed(self):
        service = self.service()
        service.answered = 6
        process = subprocess.Popen([KXTILE, "export", service.template, "--bounds", WORLD,
                                    "--levels", "3", "--jobs", "2", "-o", "out.mbtiles"],
                                   env=self.environment, cwd=self.folder, stdout=subprocess.DEVNULL)
        for _ in range(2):
            self.assertTrue(service.hanging.acquire(timeout=LONG))
        process.kill()
        process.wait(timeout=LONG)
        (self.folder / "served.png").unlink()
        self.assertEqual(len(self.files()), 1)
        self.export(self.template, "--bounds", WORLD, "--levels", "1", "-o", "out.mbtiles")
        self.assertEqual(self.files(), ["out.mbtiles"])


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
