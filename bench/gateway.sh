#!/bin/sh
# SPDX-License-Identifier: MIT
# Measures kxtile serve with wrk on loopback, beside nginx serving the same tiles as files:
#   hits      output-cache hits at 1, 16 and 256 connections: requests/s, p50, p99, memory
#   walk      a realistic zoom walk, hits and misses mixed
#   cold      re-gridding of tiles that nothing is kept of
# Usage: bench/gateway.sh BUILD_FOLDER [SECONDS]      a release build; needs wrk, nginx, python3
# Both have one worker: nginx one process, kxtile one event loop and one worker thread.
set -eu
build=$(cd "$1" && pwd)
seconds=${2:-10}
here=$(cd "$(dirname "$0")" && pwd)
folder=$(mktemp -d)
pids=
trap 'kill $pids 2>/dev/null || true; wait 2>/dev/null || true; rm -rf "$folder"' EXIT INT TERM

PATH=$PATH:/usr/sbin
for tool in wrk nginx curl python3; do
    command -v $tool >/dev/null || { echo "gateway.sh: $tool is missing" >&2; exit 1; }
done

# Waits until a file holds an address, and prints it.
address_in() {
    until grep -qo 'http://[0-9.]*:[0-9]*' "$1" 2>/dev/null; do sleep 0.05; done
    grep -o 'http://[0-9.]*:[0-9]*' "$1" | head -n 1
}

rss() { awk '/VmRSS/ {printf "%.1f MiB", $2 / 1024}' "/proc/$1/status"; }

start_gateway() {
    : >"$folder/gateway.out"
    KXTILE_CACHE_DIR="$folder/cache" KXORIGIN="$origin" no_proxy=127.0.0.1 \
        "$build/apps/kxtile/kxtile" serve --port 0 --workers 1 "$@" >"$folder/gateway.out" &
    gateway_pid=$!
    pids="$pids $gateway_pid"
    gateway=$(address_in "$folder/gateway.out")
}

stop_gateway() { kill "$gateway_pid"; wait "$gateway_pid" || true; }

# wrk's report as one line: requests/s, p50, p99.
run_wrk() {
    wrk --latency -t 1 -d "${seconds}s" "$@" >"$folder/wrk.out" 2>&1 || cat "$folder/wrk.out"
    awk '/50%/ {p50 = $2} /99%/ {p99 = $2} /Requests\/sec/ {rate = $2}
         /Non-2xx|Socket errors/ {errors = " (" $0 ")"}
         END {printf "%10.0f requests/s   p50 %9s   p99 %9s%s", rate, p50, p99, errors}' \
        "$folder/wrk.out"
}

"$build/apps/kxorigin/kxorigin" --port 0 --log /dev/null >"$folder/origin.out" &
pids="$pids $!"
origin=$(address_in "$folder/origin.out")
cp "$here/../examples/sources/grids/gcj02.toml" "$folder/gcj02.toml"

# The same tiles as files, level 5, 1024 of them, and a Lua script that asks for them in turn.
start_gateway "$folder/gcj02.toml"
mkdir -p "$folder/www/gcj02"
python3 - "$gateway" "$folder/www" <<'PY'
import concurrent.futures, pathlib, sys, urllib.request
base, root = sys.argv[1], pathlib.Path(sys.argv[2])

def fetch(tile):
    x, y = tile
    path = f"gcj02/5/{x}/{y}.jpg"
    target = root / path
    target.parent.mkdir(parents=True, exist_ok=True)
    target.write_bytes(urllib.request.urlopen(f"{base}/{path}").read())

with concurrent.futures.ThreadPoolExecutor(8) as pool:
    list(pool.map(fetch, [(x, y) for x in range(32) for y in range(32)]))
PY

cat >"$folder/nginx.conf" <<CONF
worker_processes 1;
daemon off;
pid $folder/nginx.pid;
error_log $folder/nginx.err;
events { worker_connections 1024; }
http {
    access_log off;
    sendfile on;
    tcp_nopush on;
    keepalive_requests 1000000000;
    open_file_cache max=2000;
    types { image/jpeg jpg; }
    client_body_temp_path $folder/b; proxy_temp_path $folder/p; fastcgi_temp_path $folder/f;
    uwsgi_temp_path $folder/u; scgi_temp_path $folder/s;
    server {
        listen 127.0.0.1:NGINX_PORT;
        root $folder/www;
        add_header Cache-Control "public, max-age=3600";
    }
}
CONF
port=$(python3 -c 'import socket; s = socket.socket(); s.bind(("127.0.0.1", 0)); print(s.getsockname()[1])')
sed -i "s/NGINX_PORT/$port/; 1i user $(id -un);" "$folder/nginx.conf"
nginx -p "$folder" -c "$folder/nginx.conf" 2>/dev/null &
nginx_pid=$!
pids="$pids $nginx_pid"
nginx=http://127.0.0.1:$port
until curl -sf -o /dev/null "$nginx/gcj02/5/0/0.jpg"; do sleep 0.05; done
nginx_worker=$(pgrep -P "$nginx_pid")

for connections in 1 16 256; do
    echo "hits, $connections connections"
    echo "  nginx  $(run_wrk -c $connections -s "$here/gateway_hits.lua" "$nginx")   $(rss "$nginx_worker")"
    echo "  kxtile $(run_wrk -c $connections -s "$here/gateway_hits.lua" "$gateway")   $(rss "$gateway_pid")"
done

echo "zoom walk, hits and misses, 16 connections"
echo "  kxtile $(run_wrk -c 16 -s "$here/gateway_walk.lua" "$gateway")   $(rss "$gateway_pid")"
curl -s "$gateway/metrics" | sed -n 's/^kxtile_tiles_total{cache="\([a-z]*\)"} /  tiles from \1: /p'
stop_gateway

# Cold: the service's tiles are in memory, decoded or not, and nothing of the output is kept.
rm -rf "$folder/cache/output"
start_gateway "$folder/gcj02.toml" --no-disk-cache --output-memory 0 --source-memory 1024
curl -s -o /dev/null "$gateway/gcj02/5/0/0.jpg"
seconds_before=$seconds
seconds=5 run_wrk -c 4 -s "$here/gateway_hits.lua" "$gateway" >/dev/null
seconds=$seconds_before
echo "re-gridding of tiles in memory, 4 connections, one worker"
echo "  kxtile $(run_wrk -c 4 -s "$here/gateway_hits.lua" "$gateway")   $(rss "$gateway_pid")"
stop_gateway
