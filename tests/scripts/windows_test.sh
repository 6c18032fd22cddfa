#!/usr/bin/env bash
# KelHistAver's two windows on a display of its own: both open, a key closes them and ends the call.
# Usage: windows_test.sh KEL_TESTS; 77 (skipped) without Xvfb and xdotool.
set -euo pipefail
command -v Xvfb xdotool >/dev/null || exit 77
folder=$(mktemp -d)
Xvfb -displayfd 3 -screen 0 640x480x24 -nolisten tcp 3>"$folder/display" 2>"$folder/log" &
server=$!
trap 'kill $server 2>/dev/null || true; rm -rf "$folder"' EXIT
for _ in {1..100}; do [ -s "$folder/display" ] && break; sleep 0.1; done
export DISPLAY=:$(cat "$folder/display")

"$1" --gtest_also_run_disabled_tests --gtest_filter='Levels.DISABLED_Windows*' &
host=$!
for title in source result; do
  timeout 60 xdotool search --sync --onlyvisible --name "^$title\$" >"$folder/$title"
done
kill -0 $host  # the call has not returned by itself
for _ in {1..100}; do
  xdotool key --window "$(head -1 "$folder/result")" space 2>/dev/null || true
  kill -0 $host 2>/dev/null || break
  sleep 0.1
done
kill -9 $host 2>/dev/null && { echo "A key did not end the call" >&2; exit 1; }
wait $host
