#!/usr/bin/env bash
# Installs the build into a clean prefix and builds a small host against it, by find_package and by
# pkg-config, in C++11 and in C++17.
# Usage: consumer_test.sh BUILD_DIR CONSUMER_SOURCE
set -euo pipefail
build=$1
source=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

DESTDIR='' cmake --install "$build" --prefix "$work/prefix" > "$work/install.log"
for standard in 11 17; do
  cmake -S "$source" -B "$work/build$standard" -G Ninja -DCMAKE_PREFIX_PATH="$work/prefix" \
        -DCMAKE_CXX_STANDARD=$standard > "$work/configure.log"
  cmake --build "$work/build$standard" > "$work/build.log" || { cat "$work/build.log"; exit 1; }
  "$work/build$standard/consumer" "$work/page.png"
done

if command -v pkg-config > /dev/null; then
  pc=$(dirname "$(find "$work/prefix" -name KelImageLib.pc)")
  flags=$(PKG_CONFIG_PATH=$pc pkg-config --cflags --libs KelImageLib)
  for standard in 11 17; do
    # shellcheck disable=SC2086  # the flags are a list
    g++ -std=c++$standard "$source/consumer.cpp" -o "$work/consumer" $flags
    LD_LIBRARY_PATH=$(dirname "$pc") "$work/consumer" "$work/page.png"
  done
fi
