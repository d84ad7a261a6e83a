#!/bin/sh
# SPDX-License-Identifier: MIT
# Runs one fuzz target for a while:
#   fuzz/run.sh TARGET SECONDS
# Build first: cmake --preset fuzz && cmake --build --preset fuzz
# New inputs go to build/fuzz/corpus/TARGET, finds to build/fuzz/finds/TARGET, the log to
# build/fuzz/logs/TARGET.log. Fails when something was found.
set -eu
target=${1:?usage: fuzz/run.sh TARGET SECONDS}
seconds=${2:?usage: fuzz/run.sh TARGET SECONDS}
here=$(cd "$(dirname "$0")" && pwd)
build=$here/../build/fuzz
program=$build/fuzz/fuzz_$target
[ -x "$program" ] || { echo "$program is not there; see fuzz/README.md" >&2; exit 2; }

mkdir -p "$build/logs" "$build/corpus/$target" "$build/finds/$target"
# Files are written a thousand times a second: to memory, where there is a file system of that kind.
[ -w /dev/shm ] && TMPDIR=$(mktemp -d /dev/shm/kxfuzz-XXXXXX) || TMPDIR=$(mktemp -d)
export TMPDIR
trap 'rm -rf "$TMPDIR"' EXIT INT TERM

set -- -max_total_time="$seconds" -rss_limit_mb=2048 -timeout=10 -max_len=65536 \
    -print_final_stats=1 -artifact_prefix="$build/finds/$target/"
[ -f "$here/dict/$target.dict" ] && set -- "$@" -dict="$here/dict/$target.dict"
ASAN_OPTIONS=strict_string_checks=1:detect_stack_use_after_return=1 \
UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
    nice -n 10 "$program" "$@" "$build/corpus/$target" "$here/corpus/$target" \
    > "$build/logs/$target.log" 2>&1 || status=$?
tail -n 12 "$build/logs/$target.log"
exit "${status:-0}"
