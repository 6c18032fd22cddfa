#!/usr/bin/env bash
# kelpage as a person uses it: results, exit status, one line per failed file, the others still done.
# Usage: kelpage_test.sh KELPAGE SAMPLES PAGES (a TIFF file of five pages)
set -uo pipefail
kelpage=$1
samples=$2
pages=$3
# shellcheck source=expect.sh
source "$(dirname "$0")/expect.sh"

lines_on_stderr() { [ "$(wc -l < "$work/stderr")" -eq "$1" ] || fail "not $1 lines on stderr"; }
is_png() { [ "$(head -c 4 "$1" 2> /dev/null | tail -c 3)" = PNG ] || fail "$1 is not a PNG file"; }

expect 0 "$kelpage" --help
says binarize
expect 0 "$kelpage" --version
says '^kelpage [0-9]+\.[0-9]+\.[0-9]+$'
expect 0 "$kelpage" binarize --help
says '6: auto-clamped'
says 'otsu-mean: '
expect 0 "$kelpage" describe man
says '^\.SS despeckle$'
expect 0 "$kelpage" describe bash
# shellcheck disable=SC1091  # what was just printed
completed=$(source "$work/stdout" && COMP_WORDS=(kelpage des) COMP_CWORD=1 && _kelpage &&
            echo "${COMPREPLY[*]}" && COMP_WORDS=(kelpage rotate --an) COMP_CWORD=2 && _kelpage &&
            echo "${COMPREPLY[*]}" && COMP_WORDS=(kelpage rotate sam) && _kelpage && echo "${COMPREPLY[*]}")
[ "$completed" = $'deskew despeckle\n--angle' ] || fail "completion gives: $completed"
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

expect 0 "$kelpage" binarize "$samples/form-ruled.png" -o "$work/otsu.png" -m otsu-mean -b 21 -c 9 -r 0.8
cmp -s "$work/auto.png" "$work/otsu.png" && fail "another method, the same page"
expect 2 "$kelpage" binarize x.png -o y.png --method 100
for option in "-t 2147483647" "-r nan" "-c 1e9"; do
  # shellcheck disable=SC2086  # an option and its value
  expect 2 "$kelpage" binarize "$samples/form-ruled.png" -o "$work/y.png" $option
done
expect 2 "$kelpage" binarize x.png -o y.png --method grey-red --block-size 10
printf 'P5 40 30 255\n%1200s' '' > "$work/flat.pgm"
expect 1 "$kelpage" binarize "$work/flat.pgm" -o "$work/x.png" --method iterated
says 'flat.pgm: has no level that iteration finds$'
expect 0 "$kelpage" sheet "$work/flat.pgm" -o "$work/flat-sheet"
says '16 methods'

# A folder, a file that is missing, one that is no image, one that is cut off, one of them twice.
head -c 300 "$samples/form-ruled.png" > "$work/cut.png"
echo text > "$work/text.png"
expect 1 "$kelpage" binarize "$work/none.png" "$samples" "$work/text.png" "$work/cut.png" \
  "$samples/form-ruled.png" -o "$work/out" --method adaptive
says '^kelpage: .*/none.png: no such file$'
says '^kelpage: .*/text.png: not an image, or damaged$'
says '^kelpage: .*/cut.png: page 1 is damaged or not supported$'
says '3 of 7 pages failed'
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
says "1 page, 16 methods: $work/sheet/index.html"
grep -o 'src="[^"]*"' "$work/sheet/index.html" | cut -d'"' -f2 > "$work/pictures"
[ "$(wc -l < "$work/pictures")" -eq 18 ] || fail "not 18 pictures"
while read -r picture; do is_png "$work/sheet/$picture"; done < "$work/pictures"
expect 1 "$kelpage" sheet "$work/text.png" -o "$work/empty-sheet"
[ -e "$work/empty-sheet" ] && fail "an empty report was left"

# Enhancement: steps by themselves and together, and a report that shows each of them.
expect 0 "$kelpage" enhance "$samples/cheque-blank.jpg" -o "$work/lifted.png" --curve 100,150 -g 1.2
is_png "$work/lifted.png"
expect 0 "$kelpage" enhance "$samples/cheque-blank.jpg" "$samples/form-ruled.png" -o "$work/enhanced" \
  -b 10 -c 100,150 -g 1.1 -l 0.01,0.01 -s 0.1 --report "$work/steps"
says "^$work/steps/index.html$"
is_png "$work/enhanced/form-ruled.png"
grep -o 'src="[^"]*"' "$work/steps/index.html" | cut -d'"' -f2 > "$work/pictures"
[ "$(wc -l < "$work/pictures")" -eq 12 ] || fail "not 12 pictures"
while read -r picture; do is_png "$work/steps/$picture"; done < "$work/pictures"
expect 2 "$kelpage" enhance x.png -o y.png
says 'at least one step'
expect 2 "$kelpage" enhance x.png -o y.png --curve 150,100
for option in -g -s; do expect 2 "$kelpage" enhance x.png -o y.png "$option" nan; done
expect 2 "$kelpage" rotate x.png -o y.png -a nan
expect 1 "$kelpage" enhance "$samples/form-ruled.png" -o "$work/x.png" -b 5 --report "$work/text.png"
says 'text.png: cannot make this folder'

# A report tells what was timed alone, and what changed nothing; one without pages leaves no folder.
expect 0 "$kelpage" enhance "$samples/form-ruled.png" -o "$work/some.png" -l 0.9,0.9 --report "$work/same"
grep -q 'cut 90 % and 90 %: no change<' "$work/same/index.html" || fail "a copied page is said to be cut"
grep -q 'shortest of 3' "$work/same/index.html" || fail "a report with times does not say what they are"
expect 0 "$kelpage" despeckle "$samples/form-ruled.png" -o "$work/some.png" --report "$work/untimed"
grep -q 'shortest of' "$work/untimed/index.html" && fail "a report without times speaks of them"
expect 1 "$kelpage" enhance "$work/text.png" -o "$work/some.png" -b 5 --report "$work/no-report"
[ -e "$work/no-report" ] && fail "an empty report was left"

# Files of several pages: all of them, in one TIFF file or in numbered ones; whole or not at all.
expect 0 "$kelpage" deskew "$pages" -o "$work/all.tif" --report "$work/five"
says '^scan-five-pages.tif, page 5: 0\.00 degrees, sure'
[ "$(grep -c '<h2>scan-five-pages.tif, page' "$work/five/index.html")" -eq 5 ] || fail "not 5 pages in a report"
expect 0 "$kelpage" info "$work/all.tif"
says 'page 5: 2484 x 3515 pixels, .* 300 x 300 dpi$'
expect 0 "$kelpage" binarize "$pages" -o "$work/each.png"
is_png "$work/each-1.png"
is_png "$work/each-5.png"
head -c 7000 "$pages" > "$work/torn.tif"
expect 1 "$kelpage" skew "$work/torn.tif" --plots "$work/torn"
says '^torn.tif, page 2: '
says 'torn.tif, page 3: '
is_png "$work/torn/torn-2.png"
echo mine > "$work/kept.tif"
expect 1 "$kelpage" despeckle "$work/torn.tif" -o "$work/kept.tif"
says 'kept.tif: not written, as not all of its pages are there$'
expect 1 "$kelpage" convert "$work/torn.tif" "$work/kept.tif"
[ "$(cat "$work/kept.tif")" = mine ] || fail "a part of a file took its place"
expect 1 "$kelpage" hue "$pages"
says 'has 5 pages; the first one is taken$'

# A standard output that does not take the lines, and standard streams that are closed.
full() { "$kelpage" "$@" > /dev/full; }
expect 1 full info "$pages"
expect 1 full despeckle "$samples/form-ruled.png" -o "$work/some.png"
says '^kelpage: standard output: cannot be written$'

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
says 'page 1: 200 x 258 pixels, grey, DEFLATE, 24 x 23 dpi$'
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

# Areas of ink, and what is removed by them, with each page before and after.
expect 0 "$kelpage" areas "$samples/form-ruled.png" -o "$work/areas.png" --report "$work/areas"
says 'form-ruled.png: [0-9]+ areas; of 1: .*; the largest has [0-9]+ in'
is_png "$work/areas.png"
is_png "$work/areas/1-form-ruled-after.png"
expect 0 "$kelpage" despeckle "$samples/form-ruled.png" -o "$work/clean.png" --least 30
says ' -> [0-9]+ areas, 0 of them up to 29 pixels$'
expect 0 "$kelpage" despeckle "$work/clean.png" -o "$work/cleaner.png" --least 30
cmp -s "$work/clean.png" "$work/cleaner.png" || fail "a clean page was cleaned again"
expect 0 "$kelpage" edges "$samples/page-dark-margins.jpg" -o "$work/edges.png" -r "$work/edges"
says 'page-dark-margins.jpg: [1-9][0-9]+ of 333960 pixels painted over$'
grep -q '[1-9][0-9]* of 333960' "$work/edges/index.html" || fail "the report does not tell the figures"
expect 0 "$kelpage" edges "$samples/page-dark-margins.jpg" -o "$work/frame.png" --frame 40 --paint 200
expect 2 "$kelpage" edges "$samples/page-dark-margins.jpg" -o "$work/x.png" --frame 40 --thin
expect 0 "$kelpage" holes "$samples/page-dark-margins.jpg" -o "$work/holes.png"
says '1 hole of radius 7 filled'
expect 0 "$kelpage" holes "$samples/page-dark-margins.jpg" -o "$work/holes.png" --strip 300
says '0 holes .*: the page is too small'
expect 2 "$kelpage" holes "$samples/page-dark-margins.jpg" -o "$work/x.png" --colour 1,2
expect 1 "$kelpage" edges "$work/text.png" -o "$work/x.png" --report "$work/edges"
says '^kelpage: .*/text.png: not an image, or damaged$'
# Skew: told and taken away where it is sure; the corners then have the paper's colour.
awk 'BEGIN { print "P3 300 200 255"; for (y = 0; y < 200; y++) for (x = 0; x < 300; x++)
  print int(y - 0.0875 * x + 300) % 12 < 4 ? "20 20 20" : "250 240 200" }' > "$work/slanted.ppm"
awk 'BEGIN { print "P2 300 200 255"; for (i = 0; i < 60000; i++) print rand() < 0.01 ? 0 : 255 }' > "$work/specks.pgm"
awk 'BEGIN { print "P2 300 200 255"; for (i = 0; i < 60000; i++) print 255 }' > "$work/white.pgm"
expect 1 "$kelpage" skew "$work"/{slanted.ppm,specks.pgm,white.pgm,text.png} --plots "$work/plots"
says '^slanted.ppm: 5\.00 degrees, sure: [0-9.]+ times the median score$'
says '^specks.pgm: 0\.00 degrees, unsure: '
says '^white.pgm: 0\.00 degrees: a blank page$'
[ "$(wc -l < "$work/stdout")" -eq 3 ] || fail "not one line for each page"
is_png "$work/plots/slanted.png"
expect 0 "$kelpage" deskew "$work/slanted.ppm" -o "$work/upright.ppm" --report "$work/straight"
[ "$(tail -c 300 "$work/upright.ppm" | head -c 3 | od -An -tu1)" = " 250 240 200" ] || fail "a corner is not paper"
expect 0 "$kelpage" skew "$work/upright.ppm"
says ' 0\.[01]0 degrees, sure'
expect 0 "$kelpage" deskew "$work/specks.pgm" -o "$work/kept.png"
expect 0 "$kelpage" convert "$work/specks.pgm" "$work/specks.png"
cmp -s "$work/kept.png" "$work/specks.png" || fail "a page of unsure skew was turned"
expect 2 "$kelpage" skew "$work/white.pgm" --range 1 --accuracy 2
printf 'P2 1 2 255 0 255\n' > "$work/narrow.pgm"
expect 0 "$kelpage" skew "$work/narrow.pgm" --range 45

# Rules, projections and amount fields; the library's own pictures are not left behind.
awk 'BEGIN { print "P2 400 60 255"; for (i = 0; i < 24000; i++) { x = i % 400
  print x == 50 || x == 101 || x == 150 ? 20 : 230 } }' > "$work/field.pgm"
cd "$work" || exit 1
expect 0 "$kelpage" lines field.pgm -o lines.png --length 40
says '^field.pgm: 0 horizontal lines, 3 vertical lines$'
expect 0 "$kelpage" profile field.pgm -o profile.png
says '^field.pgm: 180 pixels of ink; row 0 has 3, column 50 has 60$'
expect 0 "$kelpage" amount field.pgm -o amount.png
says '^field.pgm: columns 40 60 91 125 160, rows 0 to 59$'
for picture in lines profile amount; do is_png "$picture.png"; done
expect 1 "$kelpage" amount white.pgm -o none.png
says 'white.pgm: has fewer than three marks'
lines_on_stderr 1
[ -z "$(find . -name 'proj_*')" ] || fail "the library's pictures were left behind"
cd - > /dev/null || exit 1

# Seals: the mask, the page without it, the report; settings from the page's own hue.
stamped=$samples/stamped
expect 0 "$kelpage" seal "$stamped/form-red-seal.png" -o "$work/seal.png" --config "$samples/seal.cfg" \
  --without "$work/rest.png" --report "$work/seals"
says 'form-red-seal.png: 1\.[23][0-9] % of the page is seal$'
for picture in seal rest seals/1-form-red-seal-{page,seal,rest}; do is_png "$work/$picture.png"; done
[ "$(grep -o '<img' "$work/seals/index.html" | wc -l)" -eq 3 ] || fail "not 3 pictures of a seal"
expect 0 "$kelpage" seal "$work/rest.png" -o "$work/x.png" --config "$samples/seal.cfg"
says ': 0\.[0-2][0-9] % of'
expect 0 "$kelpage" hue "$stamped/receipt-red-stamp.jpg"
says '^STAND_MIN = 3[23][0-9]$'
cp "$work/stdout" "$work/own.cfg"
expect 0 "$kelpage" seal "$stamped/receipt-red-stamp.jpg" -o "$work/x.png" --config "$work/own.cfg"
says ': 1\.[0-9]+ % of'
expect 0 "$kelpage" hue "$stamped/page-blue-stamp.png" --chroma 10 --region 1178,1454,40,40
says '^.SEGMENT_BLUE_PARAMETERS.$'
expect 1 "$kelpage" hue "$stamped/page-blue-stamp.png" --region 0,0,400,400
says 'no coloured pixels'
expect 1 "$kelpage" hue "$stamped/page-blue-stamp.png" --region 1400,0,400,400
expect 1 "$kelpage" seal "$stamped/form-red-seal.png" -o "$work/x.png" --config "$work/own.cfg" --colour blue
says '^kelpage: .*/own.cfg: not all keys for a blue seal$'
expect 1 "$kelpage" seal "$stamped/form-red-seal.png" -o "$work/x.png" --config "$work/none.cfg"
expect 1 "$kelpage" seal "$samples/page-dark-margins.jpg" -o "$work/x.png" --config "$samples/seal.cfg"
says 'is a grey page'
seal_of_form=("$kelpage" seal "$stamped/form-red-seal.png" --config "$samples/seal.cfg")
expect 1 "${seal_of_form[@]}" -o "$work/x.png" --without "$work/x.png"
says '^kelpage: .*/x.png: is the file of the seal$'
expect 1 "${seal_of_form[@]}" -o "$work/none/x.png"
says '^kelpage: .*/none/x.png: cannot be written$'
expect 2 "$kelpage" seal "$stamped/form-red-seal.png" -o "$work/x.png" --config "$samples/seal.cfg" --colour green

# Sizes and turns, by number and name, with what they report; four quarter turns lead back.
expect 0 "$kelpage" resize "$samples/cheque-blank.jpg" -o "$work/half.png" --scale 0.5 --report "$work/sizes"
says '^cheque-blank.jpg: 1269 x 524 pixels -> 635 x 262 pixels in [0-9.]+ ms$'
[ "$(grep -c '<img' "$work/sizes/index.html")" -eq 2 ] || fail "not before and after"
expect 0 "$kelpage" info "$work/half.png"
says 'page 1: 635 x 262 pixels, colour'
expect 0 "$kelpage" resize "$samples/cheque-blank.jpg" -o "$work/a.png" --size 400x300 --method 7
expect 0 "$kelpage" resize "$samples/cheque-blank.jpg" -o "$work/b.png" --size 400x300 -m fast-min
cmp -s "$work/a.png" "$work/b.png" || fail "number and name of a resize method differ"
expect 2 "$kelpage" resize "$samples/cheque-blank.jpg" -o "$work/x.png"
expect 2 "$kelpage" resize "$samples/cheque-blank.jpg" -o "$work/x.png" --size 0x9
expect 2 "$kelpage" resize "$samples/cheque-blank.jpg" -o "$work/x.png" --scale 2 --method best
expect 1 "$kelpage" resize "$samples/cheque-blank.jpg" -o "$work/x.png" --scale 100
says 'would be too large$'
expect 2 "$kelpage" resize "$samples/cheque-blank.jpg" -o "$work/x.png" --scale nan
expect 0 "$kelpage" rotate "$samples/cheque-blank.jpg" -o "$work/t0.png" --angle 360
for turn in "0 90 1" "1 -270 2" "2 180 3" "3 0 4"; do
  read -r from angle to <<< "$turn"
  expect 0 "$kelpage" rotate "$work/t$from.png" -o "$work/t$to.png" --angle "$angle"
done
cmp -s "$work/t0.png" "$work/t4.png" || fail "turns do not lead back"
expect 0 "$kelpage" rotate "$work/t0.png" -o "$work/little.png" --angle 2.5 --report "$work/turns"
says 'turned in'
expect 2 "$kelpage" rotate "$work/t0.png" -o "$work/x.png" --angle 400
expect 2 "$kelpage" rotate "$work/t0.png" -o "$work/x.png" --angle nan

[ $failures -eq 0 ] && echo "kelpage behaves"
exit $((failures > 0))
