#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Drives 'kxtile source ...' and what takes ready definitions, against a kxorigin of its own.

Usage: source_commands_test.py KXTILE KXORIGIN READY_SOURCES EXAMPLE_SOURCES
"""
import json
import os
import pathlib
import sys
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "integration"))
from kxtile_harness import KxtileTestCase, png_size  # noqa: E402

READY, EXAMPLES = map(pathlib.Path, sys.argv[3:5])
XYZ = "/xyz/marble/{$z}/{$x}/{$y}.png"


class SourceTestCommandTest(KxtileTestCase):
    def steps(self, answer):
        return {step["step"]: (step["verdict"], step["text"]) for step in answer["steps"]}

    def test_tells_what_came_back(self):
        answer = self.answer("source", "test", self.url(XYZ), "--tile", "4/3/3", "-o", "t.png")
        request = self.requests()[-1]
        self.assertEqual(answer["url"], self.url("/xyz/marble/3/4/3.png"))
        self.assertEqual(
            {key: answer[key] for key in ("result", "http_status", "attempts", "bytes", "gzip",
                                          "content_type", "image", "whole", "decoded", "width",
                                          "height", "alpha", "tile_size", "cause", "file")},
            {"result": "ok", "http_status": 200, "attempts": 1, "bytes": request["bytes"],
             "gzip": False, "content_type": "image/png", "image": "png", "whole": True,
             "decoded": True, "width": 256, "height": 256, "alpha": False, "tile_size": 256,
             "cause": "", "file": "t.png"})
        self.assertEqual((self.folder / "t.png").stat().st_size, request["bytes"])
        self.assertEqual(png_size(self.folder / "t.png"), (256, 256))

    def test_asks_the_service_even_when_the_tile_is_on_disk(self):
        self.kxtile("tile", self.url(XYZ), "4/3/3", "-o", "a.png")
        before = len(self.requests())
        self.kxtile("source", "test", self.url(XYZ), "--tile", "4/3/3")
        self.assertEqual(len(self.requests()), before + 1)

    def test_chooses_a_tile_inside_the_bounds(self):
        definition = self.folder / "s.toml"
        # Berlin alone: (13.4 + 180) / 360 x 2^10 = 550.1; ln tan(45 + 52.5 / 2) = 1.08042, so row
        # (1 - 1.08042 / pi) / 2 x 2^10 = 335.9.
        definition.write_text(f'url = "{self.url(XYZ)}"\nscheme = 10\n[bounds]\nwest = 13.3\n'
                              'south = 52.4\neast = 13.5\nnorth = 52.6\nmin_level = 10\n'
                              'max_level = 12\n')
        answer = self.answer("source", "test", definition)
        self.assertEqual((answer["x"], answer["y"], answer["z"]), (550, 335, 10))
        answer = self.answer("source", "test", definition, "--at", "-71.5,42", "--level", "5")
        # (108.5 / 360) x 32 = 9.6; (1 - 0.80917 / pi) / 2 x 32 = 11.9.
        self.assertEqual((answer["x"], answer["y"], answer["z"]), (9, 11, 5))

    def test_without_bounds_the_level_is_one_to_three(self):
        for path in (XYZ, "/quadkey/marble/{$quadkey}.png"):
            self.assertIn(self.answer("source", "test", self.url(path))["z"], (1, 2, 3))

    def test_inflates_as_the_definition_says(self):
        answer = self.answer("source", "test", EXAMPLES / "gzip.toml")
        self.assertEqual((answer["gzip"], answer["image"]), (True, "jpeg"))
        self.assertEqual(self.steps(answer)["inflate"][0], "ok")

    def test_says_how_to_mend_what_failed(self):
        cases = [("/gzip/marble/{$z}/{$x}/{$y}.png", [], "picture", "png gzip"),
                 (XYZ, ["--format", "gzip"], "inflate", "Take gzip out"),
                 (XYZ, ["--tile-size", "512"], "size", "tile_size = 256"),
                 ("/gzip-bomb/marble/{$z}/{$x}/{$y}.png", ["--format", "gzip"], "inflate",
                  "twice its size"),
                 ("/html/marble/{$z}/{$x}/{$y}.png", [], "picture", "<!DOCTYPE html>"),
                 ("/truncated/marble/{$z}/{$x}/{$y}.png", [], "picture", "not whole"),
                 ("/status/403/{$z}/{$x}/{$y}", [], "request", "key, headers and user agent")]
        for path, options, step, words in cases:
            answer = self.answer("source", "test", self.url(path), *options, status=1)
            self.assertEqual(answer["result"], "failed")
            last = answer["steps"][-1]
            self.assertEqual((last["step"], last["verdict"]), (step, "failed"), path)
            self.assertIn(words, last["text"] + last["hint"])
            plain = self.kxtile("source", "test", self.url(path), *options, status=1)
            self.assertIn(words.encode(), plain.stdout)

    def test_no_tile_is_an_answer(self):
        for path, words in [("/status/404/{$z}/{$x}/{$y}", "404"),
                            ("/status/204/{$z}/{$x}/{$y}", "204"),
                            ("/empty/marble/{$z}/{$x}/{$y}.png", "empty answer")]:
            answer = self.answer("source", "test", self.url(path), "-o", "t.png", status=3)
            self.assertEqual(answer["result"], "no tile")
            self.assertIn(words, answer["steps"][-1]["text"])
            self.assertFalse((self.folder / "t.png").exists())

    def test_a_format_of_another_picture_is_doubtful(self):
        answer = self.answer("source", "test", self.url("/xyz/marble/{$z}/{$x}/{$y}.jpg"),
                             "--format", "png")
        self.assertEqual(answer["result"], "doubtful")
        self.assertEqual(self.steps(answer)["format"][0], "doubtful")

    def test_a_script_is_told_by_line(self):
        definition = self.folder / "s.toml"
        definition.write_text('script = """\nfunction GetTileURL(level, row, col)\n'
                              '  return nothing.at_all\nend\n"""\n')
        # TOML drops the line break behind the opening quotes: the fault is in the second line.
        for command in (["source", "test", definition], ["url", definition, "1/1/1"]):
            done = self.kxtile(*command, status=1)
            self.assertIn(b"script:2: ", done.stdout + done.stderr)
            self.assertIn(b"'nothing'", done.stdout + done.stderr)
        definition.write_text('script = "function GetTileURL("\n')
        self.assertIn(b"script:1: ",
                      self.kxtile("source", "test", definition, status=1).stdout)
        self.assertIn(b"script:1: ", self.kxtile("url", definition, "1/1/1", status=1).stderr)
        for result, words in [("12", b"returned a number"), ("nil", b"returned a nil"),
                              ("('x'):rep(1 << 13) .. 'y'", b"more than 8192 bytes"),
                              ("error('my own words')", b"script:1: my own words")]:
            definition.write_text(f'script = "function GetTileURL() return {result} end"\n')
            self.assertIn(words, self.kxtile("url", definition, "1/1/1", status=1).stderr)

    def test_scheme_3_has_the_user_agent_of_every_fetch(self):
        template = self.url("/agent-is/kh_lt%2FLT3.0.0762/marble/{$z}/{$x}/{$y}.png")
        self.kxtile("tile", template, "--scheme", "3", "1/1/1", "-o", "t.png")
        self.kxtile("source", "test", template, "--scheme", "3")

    def test_secrets_stay_secret(self):
        self.environment["TEST_KEY"] = "tell-nobody"
        definition = self.folder / "s.toml"
        definition.write_text('url = "${KXORIGIN}/status/403/{$z}/{$x}/{$y}?k=${TEST_KEY}"\n')
        for options in ([], ["--json"]):
            done = self.kxtile(*options, "source", "test", definition, status=1)
            self.assertNotIn(b"tell-nobody", done.stdout + done.stderr)
            self.assertIn(b"k=${TEST_KEY}", done.stdout)
        self.assertIn("k=tell-nobody", self.requests()[-1]["path"])

    def test_wrong_usage(self):
        for options in (["--tile", "1/2"], ["--tile", "2/0/1"], ["--at", "1"], ["--level", "31"],
                        ["--tile", "0/0/0", "--at", "1,2"], ["-o", "t.doc"]):
            self.kxtile("source", "test", self.url(XYZ), *options, status=2)


class SourceNamesTest(KxtileTestCase):
    def test_wrong_commands_are_named(self):
        self.assertIn(b"'frob'", self.kxtile("frob", status=2).stderr)
        self.assertIn(b"'frob'", self.kxtile("source", "frob", status=2).stderr)

    def test_templates_that_are_none_say_why(self):
        for template, words in [("h/{$z}/{$x}/{$y}.png", b"Begin a URL template with http://"),
                                ("ftp://h/{$z}/{$x}/{$y}.png", b"http:// and https:// only"),
                                ("http://h/{$z}/{$x}.png", b"has no {$y}"),
                                ("http://h/{$x}.png", b"has no {$y} and {$z}"),
                                ("http://h/{$serverpart}", b"no tile placeholder")]:
            self.assertIn(words, self.kxtile("url", template, "1/1/1", status=2).stderr)
        self.assertEqual(self.kxtile("url", "http://{$serverpart}/%d/%d/%d", "3/2/5", "--servers",
                                     "a").stdout, b"http://a/3/2/5\n")

    def test_template_options_do_not_go_with_a_definition(self):
        for options in (["--rows", "south"], ["--datum", "gcj02"], ["--tile-size", "512"]):
            done = self.kxtile("url", EXAMPLES / "xyz.toml", "1/1/1", *options, status=2)
            self.assertIn(options[0].encode(), done.stderr)
        self.kxtile("url", EXAMPLES / "xyz.toml", "1/1/1", "--user-agent", "me")


def main():
    unittest.main(argv=sys.argv[:1], verbosity=1)


if __name__ == "__main__":
    main()
