#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Mosaics of 4000 x 2000 pixels by kxtile beside `gdalwarp -r near -te -tr`, in one run.

Usage: mosaic.py BUILD_FOLDER [BLUE_MARBLE_JPG]

BUILD_FOLDER is a release build (build/release). The raster is the Blue Marble as a tiled GeoTIFF of
21600 x 10800 pixels with overviews. Each command runs five times, in turns; the quickest counts.
gdalwarp writes its TIFF without compression unless told otherwise, kxtile's is deflated: gdalwarp is
measured both ways. Memory is the largest resident set. GDAL_CACHEMAX is left to each program.
"""
import os
import pathlib
import subprocess
import sys
import tempfile
import time

ROUNDS = 5
SIZE = (4000, 2000)


def measure(command, environment):
    """Seconds of wall clock, seconds of processor, MiB."""
    begin = time.monotonic()
    child = subprocess.Popen([str(word) for word in command], env=environment,
                             stdout=subprocess.DEVNULL)
    _, status, usage = os.wait4(child.pid, 0)
    took = time.monotonic() - begin
    child.returncode = os.waitstatus_to_exitcode(status)
    if child.returncode != 0:
        sys.exit(f"{command[0]} failed")
    return took, usage.ru_utime + usage.ru_stime, usage.ru_maxrss / 1024


def make_raster(marble, folder):
    plain, raster = folder / "plain.tif", folder / "marble.tif"
    tiled = ["-co", "TILED=YES", "-co", "COMPRESS=JPEG", "-co", "PHOTOMETRIC=YCBCR"]
    subprocess.run(["gdal_translate", "-q", "-a_srs", "EPSG:4326", "-a_ullr", "-180", "90", "180",
                    "-90", "-outsize", "21600", "10800", "-r", "cubic", *tiled, marble, plain],
                   check=True)
    plain.rename(raster)
    subprocess.run(["gdaladdo", "-q", raster, "2", "4", "8", "16", "32"], check=True)
    return raster


def main():
    build = pathlib.Path(sys.argv[1]).resolve()
    marble = sys.argv[2] if len(sys.argv) > 2 else (
        pathlib.Path(__file__).parents[2] / "build/assets/earth-blue-marble.jpg")
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        # A release build's plug-ins lie where the program looks.
        environment = {**os.environ, "KXTILE_CACHE_DIR": str(folder / "cache")}
        raster = make_raster(marble, folder)
        out = folder / "out.tif"
        for crs, west, south, step in [("EPSG:4326", -20.0, 30.0, 1 / 64),
                                       ("EPSG:32633", -3500000, 3500000, 2000)]:
            east, north = west + SIZE[0] * step, south + SIZE[1] * step
            warp = ["gdalwarp", "-q", "-r", "near", "-t_srs", crs, "-te", west, south, east, north,
                    "-tr", step, step]
            commands = {
                "kxtile mosaic": [build / "apps/kxtile/kxtile", "mosaic", raster, "--bounds",
                                  f"{west},{south},{east},{north}", "--crs", crs, "--resolution",
                                  step, "-o", out],
                "gdalwarp": [*warp, raster, out],
                "gdalwarp, deflated": [*warp, "-co", "COMPRESS=DEFLATE", "-co", "PREDICTOR=2",
                                       raster, out]}
            best = dict.fromkeys(commands, (1e9, 1e9, 1e9))
            for _ in range(ROUNDS):
                for label, command in commands.items():
                    out.unlink(missing_ok=True)
                    now = measure(command, environment)
                    best[label] = tuple(map(min, best[label], now))
            own = best["kxtile mosaic"]
            print(f"{crs}, {SIZE[0]} x {SIZE[1]}:")
            for label, (wall, processor, memory) in best.items():
                print(f"  {label:20} {wall:6.2f} s wall  {processor:6.2f} s processor "
                      f"{memory:6.0f} MiB   kxtile takes {own[0] / wall:.2f} of the wall clock, "
                      f"{own[1] / processor:.2f} of the processor, {own[2] / memory:.2f} of the memory")


if __name__ == "__main__":
    main()
