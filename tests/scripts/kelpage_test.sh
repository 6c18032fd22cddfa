#!/usr/bin/env bash
# kelpage as a person uses it: results, exit status, one line per failed file, the others still done.
# Usage: kelpage_test.sh KELPAGE SAMPLES PAGES (a TIFF file of five pages)
set -uo pipefail
kelpage=$1
samples=$2
pages=$3
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
says '^kelpage: .*/cut.png: page 1 is damaged or not supported$'
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
[ -z "$(find "$work" -name '.*.part')" ] || fail "a file written aside was left behind"

# The contact sheet names every picture that it made, and all of them exist.
expect 0 "$kelpage" sheet "$samples/page-dark-margins.jpg" -o "$work/sheet"
says "1 page, 7 methods: $work/sheet/index.html"
grep -o 'src="[^"]*"' "$work/sheet/index.html" | cut -d'"' -f2 > "$work/pictures"
[ "$(wc -l < "$work/pictures")" -eq 9 ] || fail "not 9 pictures"
while read -r picture; do is_png "$work/sheet/$picture"; done < "$work/pictures"
expect 1 "$kelpage" sheet "$work/text.png" -o "$work/empty-sheet"

# Pages into other files: all of them, some, smaller, by compression; and what the files then hold.
expect 0 "$kelpage" convert "$pages" "$work/two-pages.tif" --pages 2-3
expect 0 "$kelpage" info "$work/two-pages.tif"
says 'TIFF, 2 pages'
says 'page 2: .* pixels, binary, CCITTFAX4, 300 x 300 dpi$'
expect 0 "$kelpage" convert "$pages" "$work/apart.png" --pages 4-5
is_png "$work/apart-4.png"
is_png "$work/apart-5.png"
expect 0 "$kelpage" binarize "$samples/form-ruled.png" -o "$work/p1.tif"
expect 0 "$kelpage" convert "$work/p1.tif" "$work/small.png" --limit 200x300
expect 0 "$kelpage" info "$work/small.png"
says 'PNG, 1 page, [0-9]+ bytes$'
says 'page 1: 200 x 258 pixels, grey, DEFLATE, no resolution$'
expect 0 "$kelpage" convert "$work/p1.tif" "$work/fax.tif" -c g4
expect 0 "$kelpage" info "$work/fax.tif" "$samples/cheque-blank.jpg"
says 'page 1: 1700 x 2200 pixels, binary, CCITTFAX4'
says 'page 1: 1269 x 524 pixels, colour, JPEG, quality [0-9]+, 96 x 96 dpi$'
expect 0 "$kelpage" info --xml "$work/fax.tif"
says '^<.xml version=.1.0. .*<image_count>1</image_count><imageOne><sn>0</sn>.*</ImgInfo>$'
expect 0 "$kelpage" convert "$samples/cheque-blank.jpg" "$work/dots.png"
expect 0 "$kelpage" info "$work/dots.png"
says '96 x 96 dpi'
expect 1 "$kelpage" convert "$work/fax.tif" "$work/x.png" --pages 1-2
says 'fax.tif: has 1 page$'
expect 1 "$kelpage" convert "$work/fax.tif" "$work/x.png" -c g4
says 'x.png: its format does not have this compression$'
lines_on_stderr 1
expect 1 "$kelpage" convert "$work/text.png" "$work/x.png"
expect 1 "$kelpage" convert "$work/fax.tif" "$work/fax.tif"
expect 2 "$kelpage" convert "$work/fax.tif" "$work/x.png" --pages 3-2
expect 2 "$kelpage" convert "$work/fax.tif" "$work/x.png" --limit 0x9
[ -e "$work/x.png" ] && fail "a refused page was written"
expect 1 "$kelpage" info "$work/text.png"

expect 0 "$kelpage" road "$samples/cheque-blank.jpg" -o "$work/road"
says 'TIFF G4 .* bytes .*road/cheque-blank.tif$'
says 'JPEG block .* bytes'

[ $failures -eq 0 ] && echo "kelpage behaves"
exit $((failures > 0))
