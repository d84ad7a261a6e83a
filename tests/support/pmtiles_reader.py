#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Reads PMTiles archives, version 3, by the format's description and nothing else.

pmtiles_reader.py FILE FOLDER    writes every tile as FOLDER/Z-X-Y (Y counted from the north) and
                                 what the archive says of itself as FOLDER/header.json
pmtiles_reader.py --check FILE   fails unless the archive is clustered, holds nothing twice and
                                 nothing between its sections, and its header tells the truth;
                                 prints what it says of itself
"""
import gzip
import json
import pathlib
import struct
import sys

HEADER = struct.Struct("<7sB 8Q 3Q 6B 4i B 2i")
FIELDS = """magic version root_offset root_length metadata_offset metadata_length leaves_offset
leaves_length tiles_offset tiles_length addressed entries contents clustered internal tile type
min_zoom max_zoom west south east north center_zoom center_lon center_lat""".split()


def unpack(data, compression):
    return {1: lambda: data, 2: lambda: gzip.decompress(data)}[compression]()


def numbers(data):
    position = 0

    def take():
        nonlocal position
        value = shift = 0
        while True:
            byte = data[position]
            position += 1
            value |= (byte & 127) << shift
            shift += 7
            if byte < 128:
                return value
    return take


def directory(data):
    """(id, run, length, offset) of each entry."""
    take = numbers(data)
    count = take()
    ids, last = [], 0
    for _ in range(count):
        last += take()
        ids.append(last)
    runs = [take() for _ in range(count)]
    lengths = [take() for _ in range(count)]
    offsets = []
    for index in range(count):
        value = take()
        offsets.append(value - 1 if value else offsets[-1] + lengths[index - 1])
    return list(zip(ids, runs, lengths, offsets))


def place(tile_id):
    """(level, column, row from the north) of an id, following the curve quarter by quarter."""
    level, first = 0, 0
    while tile_id >= first + 4 ** level:
        first += 4 ** level
        level += 1
    digits = [((tile_id - first) >> 2 * bit) & 3 for bit in range(level)]
    x = y = 0
    for bit, digit in enumerate(digits):
        side = 1 << bit
        if digit == 0:
            x, y = y, x
        elif digit == 1:
            y += side
        elif digit == 2:
            x, y = x + side, y + side
        else:
            x, y = 2 * side - 1 - y, side - 1 - x
    return level, x, y


class Archive:
    def __init__(self, path):
        self.data = pathlib.Path(path).read_bytes()
        self.header = dict(zip(FIELDS, HEADER.unpack_from(self.data)))
        self.header["magic"] = self.header["magic"].decode()
        self.depth = 0

    def section(self, offset, length, compression):
        assert offset + length <= len(self.data)
        return unpack(self.data[offset:offset + length], compression)

    def metadata(self):
        head = self.header
        return json.loads(self.section(head["metadata_offset"], head["metadata_length"],
                                       head["internal"]))

    def entries(self):
        """Every tile entry, in the directories' order."""
        head = self.header
        yield from self._walk(head["root_offset"], head["root_length"], 1)

    def _walk(self, offset, length, depth):
        self.depth = max(self.depth, depth)
        for tile_id, run, size, place_ in directory(
                self.section(offset, length, self.header["internal"])):
            if run == 0:
                yield from self._walk(self.header["leaves_offset"] + place_, size, depth + 1)
            else:
                yield tile_id, run, size, place_

    def tiles(self):
        """((level, column, row from the north), bytes) of every tile."""
        for tile_id, run, size, offset in self.entries():
            start = self.header["tiles_offset"] + offset
            for step in range(run):
                yield place(tile_id + step), self.data[start:start + size]


def check(archive):
    """The header, the metadata, and what is wrong with either."""
    head = archive.header
    entries = list(archive.entries())
    assert head["magic"] == "PMTiles" and head["version"] == 3
    assert head["root_offset"] == 127 and 127 + head["root_length"] <= 16384
    end = 127
    for name in ("root", "metadata", "leaves", "tiles"):
        assert head[name + "_offset"] == end, f"{name} does not follow what goes before it"
        end += head[name + "_length"]
    assert end == len(archive.data), "there are bytes behind the last section"
    assert all(one[0] + one[1] <= other[0] for one, other in zip(entries, entries[1:]))
    assert not any(one[0] + one[1] == other[0] and one[2:] == other[2:]
                   for one, other in zip(entries, entries[1:])), "a run is in two entries"
    placed = 0
    for tile_id, _, size, offset in entries:
        assert offset <= placed, f"the tile {tile_id} is not in its place"
        placed = max(placed, offset + size)
    assert head["clustered"] == 1 and placed == head["tiles_length"]
    contents = {(offset, size) for _, _, size, offset in entries}
    start = head["tiles_offset"]
    pictures = {archive.data[start + offset:start + offset + size] for offset, size in contents}
    assert len(contents) == len(pictures) == head["contents"], "a picture is there twice"
    assert head["addressed"] == sum(run for _, run, _, _ in entries)
    assert head["entries"] == len(entries)
    assert head["min_zoom"] == place(entries[0][0])[0]
    assert head["max_zoom"] == place(entries[-1][0] + entries[-1][1] - 1)[0]
    return {"header": head, "metadata": archive.metadata(), "depth": archive.depth}


def main():
    if sys.argv[1] == "--check":
        print(json.dumps(check(Archive(sys.argv[2])), indent=1))
        return
    archive = Archive(sys.argv[1])
    folder = pathlib.Path(sys.argv[2])
    for (level, x, y), data in archive.tiles():
        (folder / f"{level}-{x}-{y}").write_bytes(data)
    (folder / "header.json").write_text(json.dumps(archive.header))


if __name__ == "__main__":
    main()
