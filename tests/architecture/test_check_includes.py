#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Plants includes in a copy of the tree and sees that check_includes.py finds the bad ones.

usage: test_check_includes.py <source folder>
"""
import pathlib
import shutil
import sys
import tempfile
import unittest

import check_includes

SOURCE = pathlib.Path(sys.argv.pop(1))


class CheckIncludes(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.tree = pathlib.Path(folder.name)
        for root in check_includes.ROOTS:
            if (SOURCE / root).is_dir():
                shutil.copytree(SOURCE / root, self.tree / root)
        self.plant("src/sources/PlantedSource.h", "")
        self.plant("src/frame/PlantedFrame.h", "")
        self.plant("platform/src/net/PlantedNet.h", "")
        self.plant("apps/one/PlantedApp.h", "")

    def plant(self, path, *includes):
        file = self.tree / path
        file.parent.mkdir(parents=True, exist_ok=True)
        file.write_text("".join(f"#include {include}\n" for include in includes if include))

    def faults_of(self, path, include):
        self.plant(path, include)
        return [fault for fault in check_includes.check(self.tree)[0] if fault.startswith(path)]

    def expect_fault(self, path, include):
        self.assertEqual(len(self.faults_of(path, include)), 1, f"{path} {include}")

    def expect_none(self, path, include):
        self.assertEqual(self.faults_of(path, include), [], f"{path} {include}")

    def test_finds_nothing_in_the_tree_as_it_is(self):
        self.assertEqual(check_includes.check(SOURCE)[0], [])

    def test_arrows_upwards_are_found(self):
        self.expect_fault("platform/common/Planted.h", '"KxTileFetcher.h"')
        self.expect_fault("platform/src/net/Planted.cpp", '"KxTileFetcher.h"')
        self.expect_fault("platform/src/net/Planted.cpp", '"PlantedSource.h"')
        self.expect_fault("src/sources/Planted.cpp", '"PlantedFrame.h"')
        self.expect_fault("src/output/Planted.cpp", '"PlantedFrame.h"')
        self.expect_fault("include/Planted.h", '"PlantedSource.h"')

    def test_the_insides_of_the_platform_are_found(self):
        self.expect_fault("src/retrieval/Planted.cpp", '"PlantedNet.h"')
        self.expect_fault("src/retrieval/Planted.cpp", '"../../platform/src/net/PlantedNet.h"')
        self.expect_fault("apps/one/Planted.cpp", '"PlantedNet.h"')
        self.expect_fault("platform/src/image/Planted.cpp", '"PlantedNet.h"')
        self.expect_fault("plugins/one/Planted.cpp", '"PlantedNet.h"')

    def test_the_insides_of_the_library_and_of_other_programs_are_found(self):
        self.expect_fault("apps/one/Planted.cpp", '"PlantedSource.h"')
        self.expect_fault("apps/two/Planted.cpp", '"PlantedApp.h"')
        self.expect_fault("examples/Planted.cpp", '"PlantedSource.h"')
        self.expect_fault("plugins/one/Planted.cpp", "<KxTileFetcher.h>")

    def test_third_party_headers_are_found(self):
        for folder in ("src/sources", "include", "platform/common", "platform/raster"):
            self.expect_fault(folder + "/Planted.h", "<curl/curl.h>")
        self.expect_fault("src/frame/Planted.cpp", "<png.h>")

    def test_files_that_nobody_knows_are_found(self):
        self.expect_fault("src/sources/Planted.cpp", '"NowhereToBeFound.h"')
        self.expect_fault("src/elsewhere/Planted.cpp", "<vector>")
        self.expect_fault("src/Planted.cpp", "<vector>")

    def test_arrows_downwards_are_free(self):
        self.expect_none("src/retrieval/Planted.cpp", '"PlantedSource.h"')
        self.expect_none("src/frame/Planted.cpp", '"KxTileFetcher.h"')
        self.expect_none("src/output/Planted.cpp", '"KxRasterDataAccessor.h"')
        self.expect_none("platform/common/Planted.h", '"KxContainers.h"')
        self.expect_none("platform/src/net/deep/Planted.cpp", '"PlantedNet.h"')
        self.expect_none("apps/one/deep/Planted.cpp", '"PlantedApp.h"')
        self.expect_none("examples/Planted.cpp", "<KxTileFetcher.h>")

    def test_system_headers_are_free(self):
        self.expect_none("src/sources/Planted.cpp", "<string_view>")
        self.expect_none("src/sources/Planted.cpp", "<sys/stat.h>")
        self.expect_none("platform/src/net/Planted.cpp", "<curl/curl.h>")
        self.expect_none("apps/one/Planted.cpp", "<fmt/format.h>")


if __name__ == "__main__":
    unittest.main()
