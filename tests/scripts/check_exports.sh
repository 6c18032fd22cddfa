#!/usr/bin/env bash
# Compares the names that the library exports with the list beside it, and looks that starting a host
# does not load OpenCV's codecs or windows.
# Usage: check_exports.sh LIBRARY LIST
set -euo pipefail
library=$1
list=$2
# Names with a leading underscore are the linker's and the sanitizers'.
exported=$(nm -DC --defined-only "$library" | awk '{ $1 = $2 = ""; print substr($0, 3) }' |
           grep -v '^_' | LC_ALL=C sort -u)
if ldd "$library" | grep -E 'imgcodecs|highgui'; then
  echo "The library pulls in what only its private module may" >&2
  exit 1
fi
if diff <(LC_ALL=C sort -u "$list") <(printf '%s\n' "$exported"); then
  echo "$(printf '%s\n' "$exported" | wc -l) exported names, as listed"
else
  echo "The exported names differ from $list (< listed, > exported)" >&2
  exit 1
fi
