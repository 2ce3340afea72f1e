#!/usr/bin/env bash
# Runs one fuzz target for a while from its committed corpus; a crash, a leak, a hang or a failed
# check ends it with an error and leaves the input that did it in the work folder.
#   run-fuzzer.sh FUZZER CORPUS WORK-FOLDER SECONDS
set -euo pipefail

fuzzer=$1 corpus=$2 work=$3 seconds=$4

# Inputs found in this run go to the work folder; the committed corpus is only read.
rm -rf "$work"
mkdir -p "$work/new"
# The targets write small files for every input: on tmpfs their fsyncs cost nothing. A folder of
# this run's own, removed afterwards even when the target crashed.
shm=/tmp
if [ -d /dev/shm ] && [ -w /dev/shm ]; then
    shm=/dev/shm
fi
TMPDIR=$(mktemp -d "$shm/tessarine-fuzz.XXXXXX")
export TMPDIR
trap 'rm -rf "$TMPDIR"' EXIT
# No display: the targets draw offscreen, and the bus target brings its own session bus.
unset DISPLAY DBUS_SESSION_BUS_ADDRESS
export QT_QPA_PLATFORM=offscreen
export LSAN_OPTIONS=${LSAN_OPTIONS:-suppressions=$(dirname "$0")/../lsan.supp}
export ASAN_OPTIONS=${ASAN_OPTIONS:-detect_leaks=1}
export UBSAN_OPTIONS=${UBSAN_OPTIONS:-print_stacktrace=1:halt_on_error=1}

status=0
"$fuzzer" -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 -print_final_stats=1 \
    -artifact_prefix="$work/" "$work/new" "$corpus" >"$work/log" 2>&1 || status=$?
if [ "$status" -ne 0 ]; then
    tail -n 60 "$work/log"
    echo "$(basename "$fuzzer") failed (status $status); the input:" "$work"/crash-* \
        "$work"/leak-* "$work"/timeout-* "$work"/oom-* 2>/dev/null || true
    echo "reproduce with: $fuzzer <that file>"
    exit 1
fi
grep -E '^(stat::number_of_executed_units|stat::peak_rss_mb|#[0-9]+ +DONE)' "$work/log" || true
echo "new inputs this run: $(find "$work/new" -type f | wc -l) (in $work/new)"
