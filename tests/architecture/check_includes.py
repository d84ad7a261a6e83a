#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Fails when a folder includes one that it must not know about.

Every include is resolved to the file of the tree that it names, and that file's folder is compared
with the table below: the table is the architecture. Third-party headers stay out of the public
headers and of src/.
"""
import pathlib
import re
import sys

INTERFACES = {"platform/common", "platform/feature", "platform/raster"}
# The two public headers that the platform is built on.
BASIS = {"include/KxContainers.h", "include/KxTileExport.h"}
PUBLIC = {"include"} | INTERFACES

# Folder: folders, and single files, that it may include from besides itself.
# A folder ending in "/*" stands for each folder below it: these do not see each other.
ALLOWED = {
    "include": INTERFACES,
    "platform/common": INTERFACES | BASIS,
    "platform/feature": INTERFACES | BASIS,
    "platform/raster": INTERFACES | BASIS,
    "platform/src/*": INTERFACES | BASIS,
    "src/sources": PUBLIC,
    "src/addressing": PUBLIC | {"src/sources"},
    "src/retrieval": PUBLIC | {"src/sources", "src/addressing"},
    "src/raster": PUBLIC | {"src/sources", "src/addressing", "src/retrieval"},
    "src/output": PUBLIC | {"src/sources", "src/addressing", "src/retrieval", "src/raster"},
    # On top, included by nobody: no other row names it.
    "src/frame": PUBLIC | {"src/sources", "src/addressing", "src/retrieval", "src/raster",
                           "src/output"},
    "plugins/*": INTERFACES | BASIS,
    # Both wrap GDAL: how it is kept quiet and how coordinate systems are read stands in one place.
    "plugins/gdalwriter": INTERFACES | BASIS | {"plugins/gdal"},
    "apps/*": PUBLIC | {"apps/drawing"},
    "examples": PUBLIC,
    # What a host sees, and the readers of packets and packs, which nothing else hands bytes.
    "fuzz": PUBLIC | {"platform/src/earth", "plugins/tilepack"},
}
ROOTS = sorted({folder.split("/")[0] for folder in ALLOWED})
NO_THIRD_PARTY = {"include", *INTERFACES, *(f for f in ALLOWED if f.startswith("src/"))}

SOURCE_ENDINGS = {".h", ".hpp", ".c", ".cc", ".cpp"}
INCLUDE = re.compile(r'^[ \t]*#[ \t]*include[ \t]*(["<])([^">]+)[">]', re.MULTILINE)

C_LIBRARY = """assert complex ctype errno fenv float inttypes iso646 limits locale math setjmp signal
stdalign stdarg stdatomic stdbool stddef stdint stdio stdlib stdnoreturn string tgmath threads time
uchar wchar wctype""".split()
POSIX = """dirent dlfcn fcntl fnmatch glob grp iconv langinfo link netdb poll pthread pwd sched
semaphore spawn strings termios unistd arpa/inet net/if netinet/in netinet/tcp sys/file sys/mman
sys/resource sys/select sys/socket sys/stat sys/statvfs sys/time sys/types sys/uio sys/un
sys/wait""".split()
SYSTEM_HEADERS = {name + ".h" for name in C_LIBRARY + POSIX}


def is_system_header(name):
    """True for the C++ and C libraries and POSIX; the C++ library's names have no ending."""
    return name in SYSTEM_HEADERS or re.fullmatch(r"[a-z_0-9]+", name) is not None


def folder_of(path):
    """The row of the table that a file belongs to, with its "*" filled in; None without one."""
    parts = pathlib.PurePosixPath(path).parts[:-1]
    for length in range(len(parts), 0, -1):
        folder = "/".join(parts[:length])
        if folder in ALLOWED or "/".join(parts[:length - 1]) + "/*" in ALLOWED:
            return folder
    return None


def rule_of(folder):
    return ALLOWED[folder] if folder in ALLOWED else ALLOWED[folder.rsplit("/", 1)[0] + "/*"]


def named_files(includer, name, files):
    """The files of the tree that an include may mean; the includer's own folder comes first."""
    beside = str(pathlib.PurePosixPath(includer).parent / name)
    if beside in files:
        return [beside]
    return [file for file in files if file.endswith("/" + name)]


def is_allowed(includer, target):
    folder = folder_of(includer)
    return target in rule_of(folder) or folder_of(target) in rule_of(folder) | {folder}


def fault_of(includer, quote, name, files):
    """What is wrong with one include; None when nothing is."""
    targets = named_files(includer, name, files)
    if targets:
        if any(is_allowed(includer, target) for target in targets):
            return None
        return f"must not know {targets[0]}"
    if quote == '"':
        return "names no file of the tree"
    if folder_of(includer) in NO_THIRD_PARTY and not is_system_header(name):
        return "no third-party header here"
    return None


def check(tree):
    """The faults of a source tree, one line each, and the number of includes looked at."""
    files = {path.relative_to(tree).as_posix()
             for root in ROOTS for path in (tree / root).rglob("*")
             if path.suffix in SOURCE_ENDINGS}
    faults, count = [], 0
    for file in sorted(files):
        if folder_of(file) is None:
            faults.append(f"{file}: in a folder that the table does not know")
            continue
        text = (tree / file).read_text(encoding="utf-8", errors="replace")
        for quote, name in INCLUDE.findall(text):
            count += 1
            fault = fault_of(file, quote, name, files)
            if fault:
                faults.append(f"{file}: {name}: {fault}")
    return faults, count


def main():
    faults, count = check(pathlib.Path(sys.argv[1]))
    print("\n".join(faults) or f"{count} includes follow the table")
    # A tree without includes is a wrong argument.
    return 1 if faults or count == 0 else 0


if __name__ == "__main__":
    sys.exit(main())
