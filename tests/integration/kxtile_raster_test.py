#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Drives kxtile's raster commands as a user would, and compares mosaics with gdalwarp's.

Usage: kxtile_raster_test.py KXTILE PLUGIN_FOLDERS
"""
import json
import math
import os
import pathlib
import signal
import subprocess
import sys
import tempfile
import unittest

from kxtile_harness import KxtileTestCase, needs_test_data, png_size, test_data

PLUGINS = sys.argv[2]
PLUGIN_NAMES = {path.stem for folder in PLUGINS.split(":") for path in
                pathlib.Path(folder).glob("*.so")}
PROJECT = pathlib.Path(__file__).resolve().parents[2]
MARBLE = PROJECT / "build/assets/earth-blue-marble.jpg"
PMTILES_READER = PROJECT / "tests/support/pmtiles_reader.py"
WIDTH, HEIGHT = 1200, 900
# Ten metres a pixel in UTM zone 33, around 15.1 degrees east, 50 degrees north.
WEST, NORTH, STEP = 500000, 5540000, 10


def run(*arguments):
    done = subprocess.run([str(a) for a in arguments], capture_output=True, check=False)
    assert done.returncode == 0, (arguments, done.stderr)
    return done.stdout


def addressed_pixel(column, row):
    """A pixel of the made raster, which tells its column and row."""
    return bytes((column % 256, row % 256, 1 + column // 256 * 16 + row // 256))


def place_of(pixel):
    block = pixel[2] - 1
    return block // 16 * 256 + pixel[0], block % 16 * 256 + pixel[1]


def make_raster(folder):
    """The made raster as GeoTIFF."""
    raw = folder / "made.raw"
    raw.write_bytes(b"".join(addressed_pixel(column, row)
                             for row in range(HEIGHT) for column in range(WIDTH)))
    (folder / "made.hdr").write_text(
        f"ENVI\nsamples = {WIDTH}\nlines = {HEIGHT}\nbands = 3\nheader offset = 0\n"
        "file type = ENVI Standard\ndata type = 1\ninterleave = bip\nbyte order = 0\n")
    path = folder / "made.tif"
    run("gdal_translate", "-q", "-a_srs", "EPSG:32633", "-a_ullr", WEST, NORTH,
        WEST + WIDTH * STEP, NORTH - HEIGHT * STEP, "-co", "TILED=YES", raw, path)
    return path


def join_tiles(folder, level, path):
    """All tiles of a level, by the names that pmtiles_reader.py gives, as one Web Mercator TIFF."""
    half = math.pi * 6378137
    side = 2 * half / 2 ** level
    parts = []
    for tile in sorted(folder.glob(f"{level}-*")):
        _, x, y = map(int, tile.name.split("-"))
        part = tile.with_suffix(".tif")
        run("gdal_translate", "-q", *rgb_of(tile), "-a_srs", "EPSG:3857", "-a_ullr",
            x * side - half, half - y * side, (x + 1) * side - half, half - (y + 1) * side, tile,
            part)
        parts.append(part)
    run("gdalbuildvrt", "-q", path.with_suffix(".vrt"), *parts)
    run("gdal_translate", "-q", path.with_suffix(".vrt"), path)


def rgb_of(picture):
    """What makes gdal_translate write three bands."""
    bands = json.loads(run("gdalinfo", "-json", picture))["bands"]
    if bands[0]["colorInterpretation"] == "Palette":
        return ["-expand", "rgb"]
    return ["-b", 1] * 3 if len(bands) < 3 else ["-b", 1, "-b", 2, "-b", 3]


class Picture:
    """The pixels of a raster as GDAL reads them, four bytes each, rows from the north."""

    def __init__(self, path):
        with tempfile.TemporaryDirectory() as folder:
            raw = pathlib.Path(folder, "raw")
            self.info = json.loads(run("gdalinfo", "-json", path))
            grey = ["-b", 1] * 3
            bands = {1: grey, 2: [*grey, "-b", 2]}.get(len(self.info["bands"]), [])
            alpha = any(b["colorInterpretation"] == "Alpha" for b in self.info["bands"])
            run("gdal_translate", "-q", "-of", "ENVI", "-co", "INTERLEAVE=BIP", *bands, path, raw)
            data = raw.read_bytes()
        self.width, self.height = self.info["size"]
        size = 4 if alpha else 3
        self.pixels = [data[i:i + 3] if not alpha or data[i + 3] else None
                       for i in range(0, self.width * self.height * size, size)]

    def extent(self):
        """West, south, east, north of the pixels' outer edges."""
        west, across, _, north, _, down = self.info["geoTransform"]
        return west, north + down * self.height, west + across * self.width, north


class RasterTest(KxtileTestCase):
    @classmethod
    def setUpClass(cls):
        cls.address = ""  # nothing here is fetched
        cls.shared = tempfile.TemporaryDirectory()
        cls.made = make_raster(pathlib.Path(cls.shared.name))

    @classmethod
    def tearDownClass(cls):
        cls.shared.cleanup()

    def setUp(self):
        super().setUp()
        self.environment["KXTILE_PLUGIN_PATH"] = PLUGINS

    def failure(self, *arguments, status=1):
        return self.kxtile(*arguments, status=status).stderr.decode()

    def mosaic(self, raster, bounds, crs, resolution, name, *options):
        return self.answer("mosaic", raster, "--bounds", ",".join(map(repr, bounds)),
                           "--crs", crs, "--resolution", repr(resolution), "-o", name, *options)

    def warped(self, raster, mosaic, crs, level):
        """What gdalwarp makes of a raster on the grid of a mosaic, by way of the grid of the
        raster's tiles: the nearest pixel of the nearest pixel, as the library takes it."""
        corners = mosaic.info["wgs84Extent"]["coordinates"][0]
        xs, ys = zip(*corners)
        step = 360 / 256 / 2 ** level
        margin = 8 + (max(ys) - min(ys)) / step // 8
        tiles = [(math.floor(min(xs) / step) - margin) * step,
                 (math.floor(min(ys) / step) - margin) * step,
                 (math.ceil(max(xs) / step) + margin) * step,
                 (math.ceil(max(ys) / step) + margin) * step]
        between = self.folder / "between.tif"
        run("gdalwarp", "-q", "-overwrite", "-r", "near", "-et", 0, "-dstalpha", "-t_srs",
            "EPSG:4326", "-te", *tiles, "-tr", step, step, raster, between)
        reference = self.folder / "reference.tif"
        run("gdalwarp", "-q", "-overwrite", "-r", "near", "-et", 0, "-t_srs", crs, "-te",
            *mosaic.extent(), "-ts", mosaic.width, mosaic.height, between, reference)
        return Picture(reference)

    def assert_alike(self, mosaic, reference, least=0.05):
        """At least 99 of 100 pixels are visible in both or in neither, and as many of those that
        both show are equal. They show at least the given share of the picture."""
        pairs = list(zip(mosaic.pixels, reference.pixels, strict=True))
        both = [(a, b) for a, b in pairs if a is not None and b is not None]
        self.assertGreater(len(both), len(pairs) * least)
        one = sum((a is None) != (b is None) for a, b in pairs)
        self.assertLessEqual(one / len(pairs), 0.01, "shown in one of them only")
        equal = sum(a == b for a, b in both)
        self.assertGreaterEqual(equal / len(both), 0.99)

    def test_info_tells_levels_bounds_and_type(self):
        info = self.answer("raster", "info", self.made)
        self.assertEqual(info["type"], "projected")
        # The pixel is 9.0e-5 degrees high; level 14's are 8.6e-5, level 13's twice that.
        self.assertEqual(info["max_level"], 14)
        corners = json.loads(run("gdalinfo", "-json", self.made))["wgs84Extent"]["coordinates"][0]
        xs, ys = zip(*corners)
        for is_, wanted in zip(info["bounds"], (min(xs), min(ys), max(xs), max(ys))):
            self.assertAlmostEqual(is_, wanted, delta=2e-4)
        told = self.kxtile("raster", "info", self.made).stdout.decode()
        self.assertIn(f"levels        {info['min_level']} to 14", told)

    def test_info_tells_system_and_size_as_gdal_does(self):
        gdal = json.loads(run("gdalinfo", "-json", self.made))
        epsg = run("gdalsrsinfo", "-o", "epsg", self.made).decode().strip()
        info = self.answer("raster", "info", self.made)
        self.assertEqual(f"EPSG:{info['crs']['epsg']}", epsg)
        self.assertIn(f'PROJCRS["{info["crs"]["name"]}"', gdal["coordinateSystem"]["wkt"])
        self.assertFalse(info["crs"]["assumed"])
        self.assertEqual([info["width"], info["height"]], gdal["size"])
        self.assertEqual((info["bands"], info["band_type"]),
                         (len(gdal["bands"]), gdal["bands"][0]["type"]))
        told = self.kxtile("raster", "info", self.made).stdout.decode()
        self.assertIn("system        WGS 84 / UTM zone 33N (EPSG:32633)\n", told)
        self.assertIn("size          1200 x 900 pixels, 3 bands of Byte\n", told)

    def test_info_goes_across_the_antimeridian(self):
        raster = self.folder / "across.tif"
        run("gdal_translate", "-q", "-a_srs", "EPSG:4326", "-a_ullr", 170, 10, 190, -5, self.made,
            raster)
        info = self.answer("raster", "info", raster)
        for is_, wanted in zip(info["bounds"], (170, -5, -170, 10)):
            self.assertAlmostEqual(is_, wanted, delta=1e-9)
        told = self.kxtile("raster", "info", raster).stdout.decode()
        self.assertIn("170 to -170, across the antimeridian", told)
        message = self.failure("mosaic", raster, "--bounds", "0,0,1,1", "--crs", "EPSG:4326",
                               "--resolution", "0.02", "-o", "m.png")
        self.assertIn("It covers longitude 170 to -170 across the antimeridian and latitude -5 to "
                      "10.", message)

    def test_assumed_systems_are_told(self):
        picture = self.folder / "picture.png"
        run("gdal_translate", "-q", "-of", "PNG", self.made, picture)
        (self.folder / "picture.png.aux.xml").unlink(missing_ok=True)
        (self.folder / "picture.pgw").write_text("0.01\n0\n0\n-0.01\n10.005\n49.995\n")
        done = self.kxtile("raster", "info", picture)
        self.assertIn(b"WGS 84 (EPSG:4326), assumed", done.stdout)
        self.assertEqual(done.stderr, b"")
        self.assertTrue(self.answer("raster", "info", picture)["crs"]["assumed"])
        for command in (["raster", "tile", picture, "68/44/7", "-o", "t.png"],
                        ["mosaic", picture, "--bounds", "11,45,12,46", "--crs", "EPSG:4326",
                         "--resolution", "0.02", "-o", "m.png"],
                        ["files", picture, "--bounds", "11,45,12,46", "--levels", "7", "-o", "t"]):
            errors = self.kxtile(*command).stderr
            self.assertEqual(errors.count(b"does not say its coordinate system; WGS 84 is assumed"),
                             1, (command, errors))
            self.assertIn(b".prj", errors)
        (self.folder / "picture.prj").write_bytes(run("gdalsrsinfo", "-o", "wkt_esri", "EPSG:4258"))
        told = self.kxtile("raster", "info", picture).stdout
        self.assertIn(b"(EPSG:4258)\n", told)
        self.assertEqual(self.kxtile("raster", "tile", picture, "68/44/7", "-o", "t.png").stderr, b"")

    def test_tile_is_cut_at_its_address(self):
        tile = self.answer("raster", "tile", self.made, "4439/2776/13", "-o", "t.png")
        self.assertEqual((tile["format"], tile["width"], tile["height"]), ("png", 256, 256))
        self.assertEqual(png_size(self.folder / "t.png"), (256, 256))
        to_stdout = self.kxtile("raster", "tile", self.made, "4439/2776/13", "-o", "-")
        self.assertTrue(to_stdout.stdout.startswith((b"\x89PNG", b"\xff\xd8\xff")))
        message = self.failure("raster", "tile", self.made, "1/1/13", status=3)
        self.assertRegex(message, r"levels \d+ to 14")

    def test_geotiff_lies_where_it_was_asked_for(self):
        bounds = [501000, 5533000, 509000, 5539000]
        made = self.mosaic(self.made, bounds, "EPSG:32633", 10.0, "m.tif")
        self.assertEqual((made["width"], made["height"], made["level"]), (800, 600, 14))
        picture = Picture(self.folder / "m.tif")
        self.assertEqual((picture.width, picture.height), (800, 600))
        for is_, wanted in zip(picture.extent(), bounds):
            self.assertAlmostEqual(is_, wanted, delta=1e-3)
        self.assertIn('ID["EPSG",32633]', picture.info["coordinateSystem"]["wkt"])
        # Every pixel shows the raster at its place, to within one of the raster's pixels.
        for row in range(0, 600, 7):
            for column in range(0, 800, 7):
                x, y = place_of(picture.pixels[row * 800 + column])
                self.assertLessEqual(abs(x - (column + 100)), 1)
                self.assertLessEqual(abs(y - (row + 100)), 1)

    def test_mosaics_agree_with_gdalwarp(self):
        for crs, bounds, resolution in [
                ("EPSG:32633", [501003, 5533002, 505007, 5537006], 13.0),
                ("EPSG:4326", [15.03, 49.96, 15.08, 49.99], 0.0001),
                ("EPSG:3857", [1673500, 6432000, 1680000, 6438000], 17.0),
                ("EPSG:3035", [4681000, 2993000, 4686000, 2998000], 11.5),
                ("EPSG:3995", [1176000, -4374500, 1180000, -4370500], 12.0),
                ("+proj=lcc +lat_1=49 +lat_2=51 +lat_0=50 +lon_0=15 +datum=WGS84",
                 [1000, -6000, 5000, -1000], 10.0)]:
            with self.subTest(crs):
                # A .tif of a system without code needs the plug-in that knows .prj texts.
                name = "m.png" if crs.startswith("+") else "m.tif"
                made = self.mosaic(self.made, bounds, crs, resolution, name)
                if name == "m.png":
                    west, south, east, north = bounds
                    run("gdal_translate", "-q", "-a_srs", crs, "-a_ullr", west, north, east, south,
                        self.folder / name, self.folder / "m.tif")
                mosaic = Picture(self.folder / "m.tif")
                self.assert_alike(mosaic, self.warped(self.made, mosaic, crs, made["level"]))

    def test_long_pictures_have_the_asked_pixels_too(self):
        for crs, bounds, resolution, size in [
                ("EPSG:32633", [501000, 5536000, 511800, 5538600], 13.0, (830, 200)),
                ("EPSG:32633", [505000, 5531500, 505500, 5539500], 12.5, (40, 640)),
                ("EPSG:4326", [15.02, 49.97, 15.16, 49.98], 0.0001, (1400, 100)),
                ("EPSG:3035", [4681000, 2995000, 4688000, 2995200], 12.5, (560, 16))]:
            with self.subTest(crs=crs, size=size):
                made = self.mosaic(self.made, bounds, crs, resolution, "m.tif")
                self.assertEqual((made["width"], made["height"]), size)
                mosaic = Picture(self.folder / "m.tif")
                west, across, _, north, _, down = mosaic.info["geoTransform"]
                for is_, wanted in zip((west, across, north, down),
                                       (bounds[0], resolution, bounds[3], -resolution)):
                    self.assertAlmostEqual(is_, wanted, delta=1e-15 * abs(wanted))
                self.assert_alike(mosaic, self.warped(self.made, mosaic, crs, made["level"]))

    def window(self, path, left, top, side, name):
        """A square of a picture's pixels."""
        run("gdal_translate", "-q", "-srcwin", left, top, side, side, path, self.folder / name)
        return Picture(self.folder / name)

    def test_pictures_beyond_64_million_pixels(self):
        # The made raster's pixels on the equator, each eighteen times as wide and five times as
        # high, with room for the tiles at the picture's edges.
        wide = self.folder / "wide.vrt"
        run("gdal_translate", "-q", "-of", "VRT", "-outsize", 21600, 4500, "-a_srs", "EPSG:3857",
            "-a_ullr", 0, 45000, 216000, 0, self.made, wide)
        bounds = [8000, 5500, 208000, 39500]
        for name in ("m.tif", "m.png"):
            command = [sys.argv[1], "mosaic", wide, "--bounds", ",".join(map(str, bounds)), "--crs",
                       "EPSG:3857", "--resolution", 10, "-o", name]
            child = subprocess.Popen([str(word) for word in command], cwd=self.folder,
                                     env=self.environment, stdout=subprocess.DEVNULL)
            _, status, usage = os.wait4(child.pid, 0)
            child.returncode = os.waitstatus_to_exitcode(status)
            self.assertEqual(child.returncode, 0)
            info = json.loads(run("gdalinfo", "-json", self.folder / name))
            self.assertEqual((info["size"], len(info["bands"])), ([20000, 3400], 3))
            for left, top in [(0, 0), (19900, 3300), (9950, 1700), (0, 3300), (19900, 0)]:
                shown = self.window(self.folder / name, left, top, 100, "part.tif")
                for row in range(0, 100, 9):
                    for column in range(0, 100, 9):
                        x, y = place_of(shown.pixels[row * 100 + column])
                        self.assertLessEqual(abs(x - (left + column + 800.5) / 18), 1.2)
                        self.assertLessEqual(abs(y - (top + row + 550.5) / 5), 1.4)
            if b"__asan_init" not in pathlib.Path(sys.argv[1]).read_bytes():
                # The picture of 195 MiB, and what any mosaic takes.
                self.assertLess(usage.ru_maxrss / 1024, 20000 * 3400 * 3 / 2 ** 20 + 128)

    @unittest.skipUnless("KxGdalWriter" in PLUGIN_NAMES,
                         "KxGdalWriter is not built: nothing knows .prj texts")
    def test_geotiff_tells_a_system_without_code(self):
        laea = "+proj=laea +lat_0=49.5 +lon_0=15.25 +x_0=1000 +y_0=2000 +datum=WGS84 +units=m"
        prj = self.folder / "own.prj"
        prj.write_bytes(run("gdalsrsinfo", "-o", "wkt_esri", "--single-line", laea))
        west, south = self.project(laea, 15.05, 49.95)
        for crs in (laea, prj):
            self.mosaic(self.made, [west, south, west + 2000, south + 1000], str(crs), 10.0, "m.tif")
            told = run("gdalsrsinfo", "-o", "proj4", self.folder / "m.tif").decode()
            for word in laea.split():
                self.assertIn(word, told)

    @staticmethod
    def project(crs, longitude, latitude):
        told = subprocess.run(["gdaltransform", "-s_srs", "OGC:CRS84", "-t_srs", crs, "-output_xy"],
                              input=f"{longitude} {latitude}\n", capture_output=True, check=True,
                              text=True).stdout
        return [float(word) for word in told.split()]

    @needs_test_data
    def test_mosaics_of_public_rasters_agree_with_gdalwarp(self):
        for name, crs, bounds, resolution in [
                ("RGB.byte.tif", "EPSG:32618", [140000, 2640000, 300000, 2820000], 300.0),
                ("RGB.byte.tif", "EPSG:4326", [-78.3, 24.0, -76.8, 25.4], 0.0028),
                ("world.rgb.tif", "EPSG:4326", [-20.0, 30.0, 50.0, 70.0], 0.71),
                ("shade.tif", "EPSG:3857", None, 1.02),
                ("cog_cmap.tif", "EPSG:3857", None, 1.02)]:
            raster = test_data(name)
            with self.subTest(raster=name, crs=crs):
                if bounds is None:  # the raster's own, and a little over its own pixels
                    info = json.loads(run("gdalinfo", "-json", raster))
                    pixel = info["geoTransform"][1]
                    west, north = info["geoTransform"][0], info["geoTransform"][3]
                    middle = [side // 2 for side in info["size"]]
                    bounds = [west + (middle[0] - 150) * pixel, north - (middle[1] + 150) * pixel,
                              west + (middle[0] + 150) * pixel, north - (middle[1] - 150) * pixel]
                    resolution *= pixel
                made = self.mosaic(raster, bounds, crs, resolution, "m.tif")
                mosaic = Picture(self.folder / "m.tif")
                source = raster
                if "palette" in run("gdalinfo", raster).decode().lower():
                    source = self.folder / "rgb.tif"
                    run("gdal_translate", "-q", "-expand", "rgba", raster, source)
                self.assert_alike(mosaic, self.warped(source, mosaic, crs, made["level"]))

    @needs_test_data
    def test_mosaic_of_a_picture_with_alpha_agrees_with_gdalwarp(self):
        # What is seen is in the south-western corner; half of this shows nothing.
        made = self.mosaic(test_data("alpha.tif"), [19474940, -4799020, 19476540, -4798220],
                           "EPSG:3857", 4.08, "m.tif")
        mosaic = Picture(self.folder / "m.tif")
        self.assertIn(None, mosaic.pixels)
        self.assert_alike(mosaic, self.warped(test_data("alpha.tif"), mosaic, "EPSG:3857",
                                              made["level"]))

    @needs_test_data
    @unittest.skipUnless("KxTilePackReader" in PLUGIN_NAMES,
                         "KxTilePackReader is not built: nothing reads packs")
    def test_mosaic_of_a_pack_agrees_with_gdalwarp(self):
        pack = test_data("stamen_toner_z3.pmtiles")
        (self.folder / "tiles").mkdir()
        run(sys.executable, "-B", PMTILES_READER, pack, self.folder / "tiles")
        whole = self.folder / "whole.tif"
        join_tiles(self.folder / "tiles", 3, whole)
        made = self.mosaic(pack, [-20.0, 30.0, 50.0, 70.0], "EPSG:4326", 0.2, "m.tif")
        mosaic = Picture(self.folder / "m.tif")
        self.assert_alike(mosaic, self.warped(whole, mosaic, "EPSG:4326", made["level"]), least=0.99)

    @unittest.skipUnless(MARBLE.exists(), "the Blue Marble is not in build/assets")
    def test_mosaics_of_the_blue_marble_agree_with_gdalwarp(self):
        world = self.folder / "world.tif"
        run("gdal_translate", "-q", "-a_srs", "EPSG:4326", "-a_ullr", -180, 90, 180, -90, "-co",
            "TILED=YES", MARBLE, world)
        for crs, bounds, resolution in [("EPSG:4326", [-20.0, 30.0, 50.0, 70.0], 0.1),
                                        ("EPSG:3035", [2600000, 1500000, 6600000, 5300000], 10500)]:
            with self.subTest(crs):
                made = self.mosaic(world, bounds, crs, resolution, "m.tif")
                mosaic = Picture(self.folder / "m.tif")
                self.assert_alike(mosaic, self.warped(world, mosaic, crs, made["level"]), least=0.99)

    def test_degrees_are_the_same_grid(self):
        made = self.mosaic(self.made, [15.0, 49.9, 15.2, 50.02], "EPSG:4326", 0.0002, "m.tif")
        self.assertEqual((made["width"], made["height"]), (1000, 600))
        picture = Picture(self.folder / "m.tif")
        for is_, wanted in zip(picture.extent(), (15.0, 49.9, 15.2, 50.02)):
            self.assertAlmostEqual(is_, wanted, delta=1e-8)
        self.assertIn('ID["EPSG",4326]', picture.info["coordinateSystem"]["wkt"])
        self.assertEqual(len(picture.info["bands"]), 4)
        self.assertIsNone(picture.pixels[0], "what the raster does not cover is transparent")

    def test_feet_are_taken_as_feet(self):
        foot = 1200 / 3937
        west, south, east, north = [edge / foot for edge in (501000, 5533000, 505000, 5536000)]
        feet = "+proj=utm +zone=33 +datum=WGS84 +units=us-ft"
        wkt = run("gdalsrsinfo", "-o", "wkt1", "--single-line", feet).decode().strip()
        for crs in (feet, feet.replace("units=us-ft", f"to_meter={foot!r}"), wkt):
            if crs == wkt and "KxGdalWriter" not in PLUGIN_NAMES:
                continue  # nothing tells the units of WKT
            with self.subTest(crs):
                made = self.mosaic(self.made, [west, south, east, north], crs, 10 / foot, "m.png")
                # Ten metres are level 14, ten times 3.28 would be 12.
                self.assertEqual((made["width"], made["height"], made["level"]), (400, 300, 14))
                self.assertAlmostEqual(made["pixel_width"], 10 / foot, delta=1e-6)
                self.assertAlmostEqual(made["first_pixel"][0], west + 5 / foot, delta=1e-2)
                self.assertAlmostEqual(made["first_pixel"][1], north - 5 / foot, delta=1e-2)
                picture = Picture(self.folder / "m.png")
                for row in range(0, 300, 7):
                    for column in range(0, 400, 7):
                        x, y = place_of(picture.pixels[row * 400 + column])
                        self.assertLessEqual(abs(x - (column + 100)), 1)
                        self.assertLessEqual(abs(y - (row + 400)), 1)
        fine = self.failure("mosaic", self.made, "--bounds", f"{west},{south},{east},{north}",
                            "--crs", feet, "--resolution", "2", "-o", "m.png")
        self.assertIn("from 31.3", fine)  # 9.55 metres
        self.assertIn("feet", fine)

    @unittest.skipUnless("KxGdalWriter" in PLUGIN_NAMES,
                         "KxGdalWriter is not built: nothing tells the units of EPSG:2225")
    def test_false_eastings_are_in_feet_too(self):
        # California's zone 1 has false eastings and northings, and is written in feet.
        raster = self.folder / "california.tif"
        run("gdal_translate", "-q", "-a_srs", "EPSG:2225", "-a_ullr", 6500000, 2200000,
            6500000 + WIDTH * 30, 2200000 - HEIGHT * 30, self.made, raster)
        made = self.mosaic(raster, [6503000, 2180000, 6515000, 2192000], "EPSG:2225", 32.8,
                           "m.tif")
        self.assertEqual(made["level"], 14)
        mosaic = Picture(self.folder / "m.tif")
        self.assert_alike(mosaic, self.warped(raster, mosaic, "EPSG:2225", made["level"]),
                          least=0.99)

    def test_units_that_nothing_tells_are_refused(self):
        message = self.failure("mosaic", self.made, "--bounds", "274000,3025000,275000,3026000",
                               "--crs", "+proj=utm +zone=33 +datum=WGS84 +units=fath",
                               "--resolution", "6", "-o", "m.png")
        self.assertIn("is not in metres", message)

    def test_every_format_is_written(self):
        for name, format_ in [("m.png", "PNG"), ("m.jpg", "JPEG"), ("m.jpeg", "JPEG"),
                              ("m.webp", "WEBP"), ("m.tiff", "GTiff"), ("M.TIF", "GTiff")]:
            self.mosaic(self.made, [501000, 5533000, 503000, 5534000], "EPSG:32633", 10.0, name)
            info = json.loads(run("gdalinfo", "-json", self.folder / name))
            self.assertEqual((info["driverShortName"], info["size"]), (format_, [200, 100]))
        names = {path.name for path in self.folder.iterdir()}
        self.assertFalse([name for name in names if name.startswith(".")], "a temporary file")

    def test_single_pixels_and_rows(self):
        for bounds, size in [([505000, 5536000, 505010, 5536010], [1, 1]),
                             ([505000, 5536000, 505500, 5536010], [50, 1]),
                             ([505000, 5536000, 505010, 5536500], [1, 50])]:
            self.mosaic(self.made, bounds, "EPSG:32633", 10.0, "m.tif")
            picture = Picture(self.folder / "m.tif")
            self.assertEqual([picture.width, picture.height], size)
            west, south, _, _ = bounds
            x, y = place_of(picture.pixels[(picture.height - 1) * picture.width])
            self.assertLessEqual(abs(x - (west - WEST) // 10), 1)
            self.assertLessEqual(abs(y - ((NORTH - south) // 10 - 1)), 1)

    def test_world_file_and_prj_stand_beside_the_picture(self):
        if "KxGdalWriter" not in PLUGIN_NAMES:
            message = self.failure("mosaic", self.made, "--bounds", "501000,5533000,503000,5534000",
                                   "--crs", "EPSG:32633", "--resolution", "10", "-o", "m.png",
                                   "--world-file")
            self.assertIn("KxGdalWriter.so is missing", message)
            self.skipTest("KxGdalWriter is not built: nothing knows .prj texts")
        for name, world in [("m.png", "m.pgw"), ("m.jpg", "m.jgw"), ("m.webp", "m.wpw"),
                            ("m.tif", "m.tfw")]:
            made = self.mosaic(self.made, [501000, 5533000, 503000, 5534500], "EPSG:32633", 10.0,
                               name, "--world-file")
            self.assertEqual((made["world_file"], made["prj_file"]), (world, "m.prj"))
            lines = [float(line) for line in (self.folder / world).read_text().splitlines()]
            for is_, wanted in zip(lines, (10, 0, 0, -10, 501005, 5534495)):
                self.assertAlmostEqual(is_, wanted, delta=1e-4)
            self.assertEqual(len(lines), 6)
        # GDAL takes both.
        info = json.loads(run("gdalinfo", "-json", self.folder / "m.png"))
        self.assertAlmostEqual(info["geoTransform"][0], 501000, delta=1e-3)
        prj = (self.folder / "m.prj").read_text()
        self.assertTrue(prj.startswith('PROJCS["WGS_1984_UTM_Zone_33N"'), prj)
        made = self.mosaic(self.made, [15.03, 49.94, 15.14, 49.99], "EPSG:4326", 0.0001,
                           "d.png", "--world-file")
        lines = [float(line) for line in (self.folder / "d.pgw").read_text().splitlines()]
        self.assertAlmostEqual(lines[0], 0.0001, delta=1e-7)
        self.assertAlmostEqual(lines[4], 15.03005, delta=1e-6)
        self.assertTrue((self.folder / "d.prj").read_text().startswith("GEOGCS["))

    def test_nothing_there_is_a_failure_that_leaves_files_alone(self):
        (self.folder / "old.png").write_text("old")
        for bounds in ("600000,5533000,603000,5534000", "9501000,5533000,9503000,5534000"):
            message = self.failure("mosaic", self.made, "--bounds", bounds, "--crs", "EPSG:32633",
                                   "--resolution", "10", "-o", "old.png")
            self.assertIn("lies in the bounds", message)
            self.assertIn("It covers longitude 15", message)
        self.assertEqual((self.folder / "old.png").read_text(), "old")

    def test_world_file_keeps_its_place_where_the_picture_cannot_have_its_name(self):
        if "KxGdalWriter" not in PLUGIN_NAMES:
            self.skipTest("KxGdalWriter is not built: nothing knows .prj texts")
        (self.folder / "m.png").mkdir()
        (self.folder / "m.png/inside").write_text("old")
        (self.folder / "m.pgw").write_text("old")
        (self.folder / "m.prj").write_text("old")
        message = self.failure("mosaic", self.made, "--bounds", "501000,5533000,503000,5534000",
                               "--crs", "EPSG:32633", "--resolution", "10", "-o", "m.png",
                               "--world-file")
        self.assertIn("cannot write 'm.png'", message)
        self.assertEqual((self.folder / "m.pgw").read_text(), "old")
        self.assertEqual((self.folder / "m.prj").read_text(), "old")
        self.assertEqual(sorted(path.name for path in self.folder.glob("[.m]*")),
                         ["m.pgw", "m.png", "m.prj"])

    def test_damaged_rasters_make_no_picture(self):
        # From 0 to 45 degrees east it cannot be read.
        raster = self.folder / "damaged.testraster"
        raster.write_text("-90 -60 90 60 0 5 damaged")
        (self.folder / "m.png").write_text("old")
        message = self.failure("mosaic", raster, "--bounds", "-40,-30,40,30", "--crs", "EPSG:4326",
                               "--resolution", "0.1", "-o", "m.png")
        self.assertRegex(message, r"[1-9]\d* of the tiles of '.*' cannot be read: the strip is cut")
        self.assertEqual((self.folder / "m.png").read_text(), "old")
        self.assertEqual(list(self.folder.glob(".kxtile*")), [])
        self.mosaic(raster, [-80, -30, -10, 30], "EPSG:4326", 0.1, "m.png")
        self.assertEqual(png_size(self.folder / "m.png"), (700, 600))

    def test_an_interrupted_mosaic_leaves_nothing(self):
        (self.folder / "m.tif").write_text("old")
        (self.folder / "m.png").write_text("old")
        before = sorted(self.folder.iterdir())
        for stop, name in ((signal.SIGTERM, "m.png"), (signal.SIGINT, "m.tif")):
            # 10000 x 10000 pixels, more than anyone writes at a blow.
            process = subprocess.Popen(
                [sys.argv[1], "mosaic", self.made, "--bounds", "450000,5480000,550000,5580000",
                 "--crs", "EPSG:32633", "--resolution", "10", "-o", name], cwd=self.folder,
                env=self.environment, stdout=subprocess.PIPE, stderr=subprocess.PIPE)
            while not list(self.folder.glob(".kxtile-*")):
                self.assertIsNone(process.poll(), "it ended before it wrote anything")
            process.send_signal(stop)
            _, errors = process.communicate(timeout=60)
            self.assertEqual(process.returncode, 130, errors)
            self.assertIn("was not written", errors.decode())
            self.assertEqual(sorted(self.folder.iterdir()), before)
            self.assertEqual((self.folder / name).read_text(), "old")

    def test_a_mosaic_removes_what_killed_ones_left(self):
        gone = subprocess.Popen(["true"])
        gone.wait()
        orphan = self.folder / f".kxtile-{gone.pid}-mosaic.tmp.tif"
        orphan.write_text("half")
        living = self.folder / f".kxtile-{os.getpid()}-mosaic.tmp.tif"
        living.write_text("half")
        self.mosaic(self.made, [501000, 5533000, 503000, 5534000], "EPSG:32633", 10.0, "m.png")
        self.assertFalse(orphan.exists())
        self.assertTrue(living.exists())

    def test_failures_get_words(self):
        def message(raster=self.made, bounds="501000,5533000,503000,5534000", crs="EPSG:32633",
                    resolution="10", output="m.png", status=1):
            return self.failure("mosaic", raster, "--bounds", bounds, "--crs", crs,
                                "--resolution", resolution, "-o", output, status=status)

        self.assertIn("there is no file 'none.tif'", message(raster="none.tif"))
        (self.folder / "text.tif").write_text("no raster")
        self.assertIn("cannot open the raster", message(raster="text.tif"))
        (self.folder / "a.xyzzy").write_text("no raster")
        self.assertIn("no plug-in reads '.xyzzy'", message(raster="a.xyzzy"))
        fine = message(resolution="0.5")
        self.assertRegex(fine, r"no level for a resolution of 0\.5: it has levels \d+ to 14")
        self.assertIn("from 9.55", fine)
        self.assertIn("EPSG:999999", message(crs="EPSG:999999"))
        self.assertIn("another datum", message(crs="EPSG:4267", bounds="15,49.9,15.1,50",
                                               resolution="0.001"))
        self.assertIn("are no bounds", message(bounds="1,2,3", status=2))
        self.assertIn("are empty", message(bounds="3,2,1,4", status=2))
        self.assertIn("narrower than one pixel", message(resolution="5000", status=2))
        self.assertIn("200000 x 100000 pixels are more than the 2 GiB",
                      message(resolution="0.01", status=2))
        # Three bytes of each would do, but a row is sampled with alpha.
        self.assertIn("571428571 x 1 pixels are more than the 2 GiB",
                      message(bounds="501000,5533000,503000,5533000.000004",
                              resolution="0.0000035", status=2))
        strip = "501000,5533000,503000,5533010"
        self.assertIn("at most 65500 a side",
                      message(bounds=strip, resolution="0.03", output="m.jpg", status=2))
        self.assertIn("at most 16383 a side",
                      message(bounds=strip, resolution="0.1", output="m.webp", status=2))
        self.assertIn("must be above 0", message(resolution="-1", status=2))
        self.assertIn("no picture is written as .bmp", message(output="m.bmp", status=2))
        self.assertIn("does not say what format", message(output="m", status=2))
        self.assertIn("the folder exists", message(output="none/m.png"))
        self.assertEqual(list(self.folder.glob("m*")), [])

    def test_a_raster_is_never_replaced_by_what_is_made_of_it(self):
        raster = self.folder / "own.tif"
        raster.write_bytes(b"II*\0 whatever it holds")
        (self.folder / "link.tif").symlink_to(raster)
        before = raster.read_bytes()
        for name in ("own.tif", "link.tif"):
            for command in (["mosaic", "own.tif", "--bounds=0,0,10,10", "--crs", "EPSG:4326",
                             "--resolution", "0.5", "-o", name],
                            ["raster", "tile", "own.tif", "0/0/0", "-o", name]):
                done = self.kxtile(*command, status=2)
                self.assertIn(b"made from", done.stderr)
                self.assertEqual(raster.read_bytes(), before)

    def test_bounds_may_begin_with_a_minus(self):
        west = self.failure("mosaic", self.made, "--bounds", "-78.3,24.0,-76.8,25.4", "--crs",
                            "EPSG:4326", "--resolution", "0.001", "-o", "m.png")
        self.assertIn("lies in the bounds", west)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
