#!/bin/sh
# SPDX-License-Identifier: MIT
# Measures kxtile serve with wrk on loopback, beside nginx serving the same tiles as files:
#   hits      output-cache hits at 1, 16 and 256 connections: requests/s, p50, p99, memory
#   walk      a realistic zoom walk, hits and misses mixed
#   cold      re-gridding of tiles whose source tiles lie on disk and nothing else is kept of,
#             beside the same tiles made by the library without a server
# Usage: bench/gateway.sh BUILD_FOLDER [SECONDS]      a release build; needs wrk, nginx, python3
# Both have one worker: nginx one process, kxtile one event loop and one worker thread.
# Exit status 0 when every aim is met: hits at least at half of nginx's rate with a p99 of less than
# three times its; cold re-gridding with at most a third more processor time than the library's own.
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

# User and system time of a process, to a hundredth.
processor_seconds() { awk -v hz="$(getconf CLK_TCK)" '{print ($14 + $15) / hz}' "/proc/$1/stat"; }

start_gateway() {
    : >"$folder/gateway.out"
    KXTILE_CACHE_DIR="$folder/cache" KXORIGIN="$origin" no_proxy=127.0.0.1 \
        "$build/apps/kxtile/kxtile" serve --port 0 --workers 1 "$@" >"$folder/gateway.out" &
    gateway_pid=$!
    pids="$pids $gateway_pid"
    gateway=$(address_in "$folder/gateway.out")
}

stop_gateway() { kill "$gateway_pid"; wait "$gateway_pid" || true; }

# wrk's report as one line: requests/s, p50, p99. What an aim compares is left in rate and p99, the
# latter in microseconds.
run_wrk() {
    wrk --latency -t 1 -d "${seconds}s" "$@" >"$folder/wrk.out" 2>&1 || cat "$folder/wrk.out"
    report=$(awk '/50%/ {p50 = $2} /99%/ {p99 = $2} /Requests\/sec/ {rate = $2}
         /Non-2xx|Socket errors/ {errors = " (" $0 ")"}
         END {printf "%10.0f requests/s   p50 %9s   p99 %9s%s", rate, p50, p99, errors}' \
        "$folder/wrk.out")
    rate=$(awk '/Requests\/sec/ {print $2}' "$folder/wrk.out")
    p99=$(awk '/99%/ {unit = $2 ~ /us$/ ? 1 : $2 ~ /ms$/ ? 1000 : 1000000; print $2 * unit}' \
        "$folder/wrk.out")
}

# Asks for each tile of level 5 once, from four connections, and prints how many came a second.
# fetch_level ADDRESS FOLDER|/dev/null
fetch_level() {
    python3 - "$1" "$2" <<'PY'
import concurrent.futures, http.client, pathlib, sys, threading, time, urllib.parse
address, root = urllib.parse.urlsplit(sys.argv[1]), sys.argv[2]
own = threading.local()

def fetch(tile):
    if not hasattr(own, "connection"):
        own.connection = http.client.HTTPConnection(address.hostname, address.port)
    path = f"gcj02/5/{tile % 32}/{tile // 32}.jpg"
    own.connection.request("GET", "/" + path)
    response = own.connection.getresponse()
    body = response.read()
    if response.status != 200:
        raise SystemExit(f"gateway.sh: {path} answers {response.status}")
    if root != "/dev/null":
        target = pathlib.Path(root, path)
        target.parent.mkdir(parents=True, exist_ok=True)
        target.write_bytes(body)

begin = time.perf_counter()
with concurrent.futures.ThreadPoolExecutor(4) as pool:
    list(pool.map(fetch, range(1024)))
print(1024 / (time.perf_counter() - begin))
PY
}

# aim WORDS VALUE OPERATOR LIMIT
missed=0
aim() {
    if awk "BEGIN {exit !($2 $3 $4)}"; then
        echo "  aim met: $1"
    else
        echo "  AIM MISSED: $1"
        missed=1
    fi
}

"$build/apps/kxorigin/kxorigin" --port 0 --log /dev/null >"$folder/origin.out" &
pids="$pids $!"
origin=$(address_in "$folder/origin.out")
cp "$here/../examples/sources/grids/gcj02.toml" "$folder/gcj02.toml"

# The same tiles as files, level 5, 1024 of them, and a Lua script that asks for them in turn.
start_gateway "$folder/gcj02.toml"
fetch_level "$gateway" "$folder/www" >/dev/null

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
    run_wrk -c $connections -s "$here/gateway_hits.lua" "$nginx"
    echo "  nginx  $report   $(rss "$nginx_worker")"
    nginx_rate=$rate nginx_p99=$p99
    run_wrk -c $connections -s "$here/gateway_hits.lua" "$gateway"
    echo "  kxtile $report   $(rss "$gateway_pid")"
    aim "at least half of nginx's rate" "$rate" ">=" "$nginx_rate / 2"
    aim "p99 under three times nginx's" "$p99" "<" "$nginx_p99 * 3"
done

echo "zoom walk, hits and misses, 16 connections"
run_wrk -c 16 -s "$here/gateway_walk.lua" "$gateway"
echo "  kxtile $report   $(rss "$gateway_pid")"
curl -s "$gateway/metrics" | sed -n 's/^kxtile_tiles_total{cache="\([a-z]*\)"} /  tiles from \1: /p'
stop_gateway

# Cold: each tile is made once, of source tiles that lie on disk, by a process that knows nothing.
# Beside it the same tiles without a server, by one thread: read, decoded, re-gridded, encoded and
# written to disk like the gateway's.
echo "cold re-gridding of level 5, source tiles on disk, one worker"
rm -rf "$folder/cache/output"
start_gateway "$folder/gcj02.toml"
before=$(processor_seconds "$gateway_pid")
rate=$(fetch_level "$gateway" /dev/null)
spent=$(awk "BEGIN {print ($(processor_seconds "$gateway_pid") - $before) / 1.024}")
printf '  kxtile  %9.0f tiles/s   %.2f ms of processor each   %s\n' "$rate" "$spent" \
    "$(rss "$gateway_pid")"
curl -s "$gateway/metrics" | sed -n 's/^kxtile_tiles_total{cache="\([a-z]*\)"} /  tiles from \1: /p'
stop_gateway
library=$(KXTILE_CACHE_DIR="$folder/cache" KXORIGIN="$origin" no_proxy=127.0.0.1 \
    python3 - "$build/apps/kxtile/kxtile" "$folder" <<'PY'
import resource, subprocess, sys, time
kxtile, folder = sys.argv[1:]
begin = time.perf_counter()
subprocess.run([kxtile, "export", f"{folder}/gcj02.toml", "--bounds=-180,-85.05,180,85.05",
                "--levels", "5", "--jobs", "1", "-o", f"{folder}/library.mbtiles"],
               check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
seconds = time.perf_counter() - begin
used = resource.getrusage(resource.RUSAGE_CHILDREN)
print(1024 / seconds, (used.ru_utime + used.ru_stime) / 1.024)
PY
)
printf '  library %9.0f tiles/s   %.2f ms of processor each\n' $library
# Processor time, for the rates depend on what else the machine does.
aim "at most a third more processor time than the library" "$spent" "<=" "${library#* } * 4 / 3"
exit $missed
