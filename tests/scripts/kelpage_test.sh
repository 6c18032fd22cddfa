#!/usr/bin/env bash
# kelpage as a person uses it: results, exit status, one line per failed file, the others still done.
# Usage: kelpage_test.sh KELPAGE SAMPLES
set -uo pipefail
kelpage=$1
samples=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
failures=0

# expect STATUS COMMAND...: runs a command, keeps its output, compares its exit status.
expect() {
  local status=$1
  shift
  "$@" > "$work/stdout" 2> "$work/stderr"
  local got=$?
  [ $got -eq "$status" ] || fail "'${*##*/}' gave status $got, not $status"
}
fail() {
  echo "FAILED: $*"
  cat "$work/stdout" "$work/stderr"
  failures=$((failures + 1))
}
says() { grep -qE -- "$1" "$work/stdout" "$work/stderr" || fail "no line like: $1"; }
lines_on_stderr() { [ "$(wc -l < "$work/stderr")" -eq "$1" ] || fail "not $1 lines on stderr"; }
is_png() { [ "$(head -c 4 "$1" 2> /dev/null | tail -c 3)" = PNG ] || fail "$1 is not a PNG file"; }

expect 0 "$kelpage" --help
says binarize
expect 0 "$kelpage" --version
says '^kelpage [0-9]+\.[0-9]+\.[0-9]+$'
expect 0 "$kelpage" binarize --help
says '6  auto-clamped'
expect 2 "$kelpage"
expect 2 "$kelpage" binarize "$samples/form-ruled.png"
expect 2 "$kelpage" binarize x.png -o y.png --method 9
expect 2 "$kelpage" binarize x.png -o y.png --method adaptive --block-size 10
says 'odd number'

# One page, by number and by name; nothing on a standard error stream that is no terminal.
expect 0 "$kelpage" binarize "$samples/form-ruled.png" -o "$work/two.png" --method 2
lines_on_stderr 0
is_png "$work/two.png"
expect 0 "$kelpage" binarize "$samples/form-ruled.png" -o "$work/auto.png" --method auto
cmp -s "$work/two.png" "$work/auto.png" || fail "number and name differ"
expect 0 "$kelpage" binarize "$samples/form-ruled.png" -o "$work/inverse.png" --invert
cmp -s "$work/two.png" "$work/inverse.png" && fail "--invert changes nothing"

# A folder, a file that is missing, one that is no image, one that is cut off, one of them twice.
head -c 300 "$samples/form-ruled.png" > "$work/cut.png"
echo text > "$work/text.png"
expect 1 "$kelpage" binarize "$work/none.png" "$samples" "$work/text.png" "$work/cut.png" \
  "$samples/form-ruled.png" -o "$work/out" --method adaptive
says '^kelpage: .*/none.png: no such file$'
says '^kelpage: .*/text.png: not an image, or damaged$'
says '^kelpage: .*/cut.png: not an image, or damaged$'
says '3 of 7 inputs failed'
is_png "$work/out/cheque-blank.png"
is_png "$work/out/form-ruled.png.png"
is_png "$work/out/form-ruled.png-2.png"

# Places that cannot be written: no half files, the reason in one line.
expect 1 "$kelpage" binarize "$samples/form-ruled.png" -o "$work/no/such/folder.png"
says '^kelpage: .*/folder.png: cannot be written'
lines_on_stderr 1
expect 1 "$kelpage" binarize "$samples/form-ruled.png" -o "$work/page.xyz"
says 'no image format'
expect 1 "$kelpage" binarize "$samples" -o "$work/text.png"
says 'cannot make this folder'
mkdir "$work/pages" "$work/empty"
cp "$samples/form-ruled.png" "$work/pages"
expect 1 "$kelpage" binarize "$work/pages" -o "$work/pages"
says 'form-ruled.png: would overwrite an input$'
cmp -s "$work/pages/form-ruled.png" "$samples/form-ruled.png" || fail "an input was overwritten"
expect 1 "$kelpage" binarize "$work/empty" "$work/pages" -o "$work/some"
says 'empty: no image files in this folder$'
is_png "$work/some/form-ruled.png"
[ -z "$(find "$work" -name '.kelpage-*')" ] || fail "a file written aside was left behind"

# The contact sheet names every picture that it made, and all of them exist.
expect 0 "$kelpage" sheet "$samples/page-dark-margins.jpg" -o "$work/sheet"
says "1 page, 7 methods: $work/sheet/index.html"
grep -o 'src="[^"]*"' "$work/sheet/index.html" | cut -d'"' -f2 > "$work/pictures"
[ "$(wc -l < "$work/pictures")" -eq 9 ] || fail "not 9 pictures"
while read -r picture; do is_png "$work/sheet/$picture"; done < "$work/pictures"
expect 1 "$kelpage" sheet "$work/text.png" -o "$work/empty-sheet"

[ $failures -eq 0 ] && echo "kelpage behaves"
exit $((failures > 0))
