#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""GDAL reads what 'kxtile serve' describes, and finds the pixels that are served.

Called with KXTILE KXORIGIN. GDAL's own command line programs do the reading; tiles that are fetched
one by one are decoded by GDAL, too, so that both ways end at the same decoder.
"""
import os
import pathlib
import signal
import subprocess
import tempfile
import unittest
import urllib.request

from kxtile_harness import KXTILE, KxtileTestCase

EDGE = 256
LAST_LEVEL = 12
DEEP_LEVEL = 22  # of which an eye's blink more than the world would be another row
BOUNDS = f"""
[bounds]
west = -180
south = -85.0511287798066
east = 180
north = 85.0511287798066
min_level = 0
max_level = {LAST_LEVEL}
"""
# Level, column, row from the north: the world, the middle of the plane, a part of China, the south.
TILES = [(0, 0, 0), (1, 1, 1), (5, 26, 12), (9, 421, 194), (LAST_LEVEL, 1240, 2500)]

XYZ = """<GDAL_WMS>
  <Service name="TMS"><ServerUrl>{address}</ServerUrl></Service>
  <DataWindow>
    <UpperLeftX>-20037508.342789244</UpperLeftX><UpperLeftY>20037508.342789244</UpperLeftY>
    <LowerRightX>20037508.342789244</LowerRightX><LowerRightY>-20037508.342789244</LowerRightY>
    <TileLevel>{last}</TileLevel><TileCountX>1</TileCountX><TileCountY>1</TileCountY>
    <YOrigin>top</YOrigin>
  </DataWindow>
  <Projection>EPSG:3857</Projection>
  <BlockSizeX>256</BlockSizeX><BlockSizeY>256</BlockSizeY><BandsCount>3</BandsCount>
</GDAL_WMS>
"""


class GdalReadsTheGateway(KxtileTestCase):
    def setUp(self):
        super().setUp()
        self.environment |= {"GDAL_DEFAULT_WMS_CACHE_PATH": str(self.folder / "wms"),
                             "GDAL_HTTP_TIMEOUT": "60"}
        for name, route, more in [("marble", "/xyz/marble", ""),
                                  ("lines", "/xyz/graticule", ""),
                                  ("shifted", "/xyz-gcj02/marble", 'datum = "GCJ02"\n')]:
            text = f'url = "{self.address}{route}/{{$z}}/{{$x}}/{{$y}}.png"\n'
            text += f'scheme = "WebMercatorWGS84"\nformat = "png"\nattribution = "kxorigin"\n{more}'
            (self.folder / f"{name}.toml").write_text(text + BOUNDS)
        (self.folder / "deep.toml").write_text(
            f'url = "{self.address}/xyz/marble/{{$z}}/{{$x}}/{{$y}}.png"\n'
            f'scheme = "WebMercatorWGS84"\n[bounds]\nmax_level = {DEEP_LEVEL}\n')
        self.gateway = subprocess.Popen(
            [KXTILE, "serve", "--port", "0", "marble.toml", "lines.toml", "shifted.toml",
             "deep.toml"],
            env=self.environment, cwd=self.folder, stdout=subprocess.PIPE, text=True)
        self.addCleanup(self.stop)
        line = self.gateway.stdout.readline()
        self.root = next(word for word in line.split() if word.startswith("http")).rstrip("/")

    def stop(self):
        self.gateway.send_signal(signal.SIGTERM)
        self.assertEqual(self.gateway.wait(60), 0)
        self.gateway.stdout.close()

    def gdal(self, program, *arguments):
        done = subprocess.run([program, *map(str, arguments)], env=self.environment,
                              cwd=self.folder, capture_output=True, text=True, check=False)
        self.assertEqual(done.returncode, 0, (program, arguments, done.stderr))
        return done.stdout

    def pixels(self, source, *arguments):
        """Red, green and blue of what GDAL reads, one band after the other."""
        with tempfile.TemporaryDirectory() as folder:
            target = pathlib.Path(folder, "pixels")
            bands = ["-b", "1", "-b", "2", "-b", "3"]
            self.gdal("gdal_translate", "-q", "-of", "ENVI", "-co", "INTERLEAVE=BSQ", *bands, *arguments, source, target)
            return target.read_bytes()

    def served(self, name, tile, extension):
        """A tile as it is served."""
        level, column, row = tile
        address = f"{self.root}/{name}/{level}/{column}/{row}{extension}"
        path = self.folder / "tile"
        with urllib.request.urlopen(address, timeout=60) as answer:
            path.write_bytes(answer.read())
        if "ColorInterp=Palette" in self.gdal("gdalinfo", path):
            # GDAL's own readers of services do the same with palettes.
            rgb = self.folder / "tile.vrt"
            self.gdal("gdal_translate", "-q", "-of", "VRT", "-expand", "rgb", path, rgb)
            return self.pixels(rgb)
        return self.pixels(path)

    def assert_tiles_equal(self, source, name, extension):
        for tile in TILES:
            level, column, row = tile
            edge = EDGE << (LAST_LEVEL - level)
            seen = self.pixels(source, "-r", "nearest", "-outsize", EDGE, EDGE, "-srcwin",
                               column * edge, row * edge, edge, edge)
            self.assertEqual(len(seen), 3 * EDGE * EDGE)
            expected = self.served(name, tile, extension)
            different = sum(a != b for a, b in zip(seen, expected))
            self.assertEqual(different, 0, f"{source}: {tile} differs in {different} values")

    def natural(self, name):
        """The ending of a source's tiles in the list of sources."""
        with urllib.request.urlopen(f"{self.root}/{name}.json", timeout=60) as answer:
            template = answer.read().decode().split('"tiles"')[1].split("{y}")[1]
        return template.split('"')[0]

    def test_the_gdal_wms_description(self):
        for name in ("marble", "lines", "shifted"):
            with self.subTest(name):
                path = self.folder / f"{name}.xml"
                with urllib.request.urlopen(f"{self.root}/{name}.xml", timeout=60) as answer:
                    path.write_bytes(answer.read())
                self.assert_tiles_equal(path, name, self.natural(name))

    def test_the_address_of_the_description_alone(self):
        report = self.gdal("gdalinfo", f"{self.root}/marble.xml")
        self.assertIn(f"Size is {EDGE << LAST_LEVEL}, {EDGE << LAST_LEVEL}", report)

    def test_every_layer_of_the_wmts(self):
        capabilities = f"{self.root}/wmts/1.0.0/WMTSCapabilities.xml"
        for name in ("marble", "lines", "shifted"):
            with self.subTest(name):
                source = f"WMTS:{capabilities},layer={name}"
                self.assertIn(f"Size is {EDGE << LAST_LEVEL}, {EDGE << LAST_LEVEL}",
                              self.gdal("gdalinfo", source))
                self.assert_tiles_equal(source, name, self.natural(name))

    def test_deep_levels_of_the_wmts_have_no_row_too_many(self):
        report = self.gdal("gdalinfo", f"WMTS:{self.root}/wmts,layer=deep")
        self.assertIn(f"Size is {EDGE << DEEP_LEVEL}, {EDGE << DEEP_LEVEL}", report)

    def test_the_wmts_by_its_short_address(self):
        self.assertIn("layer=marble", self.gdal("gdalinfo", f"WMTS:{self.root}/wmts"))

    def test_addresses_of_the_xyz_form(self):
        path = self.folder / "xyz.xml"
        for name, extension in [("marble", ".png"), ("lines", ".png"), ("shifted", ".jpg")]:
            with self.subTest(name):
                address = f"{self.root}/{name}/${{z}}/${{x}}/${{y}}{extension}"
                path.write_text(XYZ.format(address=address, last=LAST_LEVEL))
                self.assert_tiles_equal(path, name, extension)

    def test_a_cut_of_the_world_lies_where_it_should(self):
        # Beijing's red and blue lines of the picture cross at round degrees.
        path = self.folder / "lines.xml"
        with urllib.request.urlopen(f"{self.root}/lines.xml", timeout=60) as answer:
            path.write_bytes(answer.read())
        values = self.gdal("gdallocationinfo", "-wgs84", "-valonly", path, "116.4", "39.9").split()
        self.assertEqual(values[:3], ["120", "0", "120"])


if __name__ == "__main__":
    os.environ["no_proxy"] = "127.0.0.1"
    unittest.main(argv=["kxtile_serve_gdal_test.py"], verbosity=2)
