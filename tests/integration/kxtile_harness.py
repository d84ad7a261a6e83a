# SPDX-License-Identifier: MIT
"""What the tests of kxtile's command line share: the program, and a kxorigin to fetch from.

Test programs are called with KXTILE KXORIGIN and arguments of their own.
"""
import json
import os
import pathlib
import struct
import subprocess
import sys
import tempfile
import unittest

KXTILE, KXORIGIN = sys.argv[1:3]
# The folder of public rasters; None where the environment names none.
TEST_DATA = os.environ.get("KXTILE_TEST_DATA") or None
needs_test_data = unittest.skipUnless(
    TEST_DATA, "KXTILE_TEST_DATA is not set: no public rasters to read")


def test_data(name):
    """The path of a public raster, for tests that need it."""
    return pathlib.Path(TEST_DATA, name)


def png_size(path):
    data = pathlib.Path(path).read_bytes()
    assert data[:8] == b"\x89PNG\r\n\x1a\n", data[:16]
    return struct.unpack(">II", data[16:24])


class KxtileTestCase(unittest.TestCase):
    """One kxorigin for all tests of a class; a folder and a cache of its own for each test."""

    @classmethod
    def setUpClass(cls):
        cls.origin_folder = tempfile.TemporaryDirectory()
        cls.log = pathlib.Path(cls.origin_folder.name, "log.jsonl")
        cls.origin = subprocess.Popen([KXORIGIN, "--port", "0", "--log", str(cls.log)],
                                      stdout=subprocess.PIPE, text=True)
        cls.address = cls.origin.stdout.readline().split()[-1]

    @classmethod
    def tearDownClass(cls):
        cls.origin.terminate()
        assert cls.origin.wait() == 0
        cls.origin.stdout.close()
        cls.origin_folder.cleanup()

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        self.environment = {**os.environ, "KXORIGIN": self.address, "no_proxy": "127.0.0.1",
                            "KXTILE_CACHE_DIR": str(self.folder / "cache")}

    def kxtile(self, *arguments, status=0):
        done = subprocess.run([KXTILE, *map(str, arguments)], env=self.environment,
                              cwd=self.folder, capture_output=True, check=False)
        self.assertEqual(done.returncode, status, (arguments, done.stdout[:500], done.stderr))
        return done

    def answer(self, *arguments, status=0):
        return json.loads(self.kxtile("--json", *arguments, status=status).stdout)

    def requests(self):
        return [json.loads(line) for line in self.log.read_text().splitlines()]

    def url(self, path):
        return self.address + path
