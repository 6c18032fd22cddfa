#!/usr/bin/env bash
# kelpage run: whole files only, whatever happens; the same ones however many pages go at once.
# Usage: kelpage_run_test.sh KELPAGE SAMPLES PAGES (a TIFF file of five pages)
set -uo pipefail
kelpage=$1 samples=$2 pages=$3
# shellcheck source=expect.sh
source "$(dirname "$0")/expect.sh"

count_json() { [ "$(grep -c "$1" "$work/stdout")" -eq "$2" ] || fail "not $2 lines with $1"; }
same() { diff -rq -x .kelpage "$1" "$2" || fail "$1 and $2 differ"; }
# Each file is whole: a reader of its own kind takes it to the end.
whole() {
  local file
  for file in "$1"/*.tif; do tifftopnm "$file" > "$work/pnm" 2> "$work/stderr" || fail "$file is no TIFF"; done
  for file in "$1"/*.jpg; do djpeg "$file" > "$work/pnm" 2> "$work/stderr" || fail "$file is no JPEG"; done
}

# A good mix: colour, grey, black and white, several pages, two of one name, a broken one, a blank one
# with grain, holes and a dark margin.
mkdir "$work/in" "$work/in/other"
cp "$samples/cheque-blank.jpg" "$samples/page-dark-margins.jpg" "$samples/stamped/form-red-seal.png" "$work/in"
cp "$pages" "$work/in/scan.tif"
cp "$samples/cheque-blank.jpg" "$work/in/other"
head -c 3000 "$samples/form-ruled.png" > "$work/in/broken.png"
awk 'BEGIN { srand(5); print "P2 620 877 255"
  for (y = 0; y < 877; y++) for (x = 0; x < 620; x++) {
    hole = (x - 35) ^ 2 < 82 - (y - 200) ^ 2 || (x - 35) ^ 2 < 82 - (y - 700) ^ 2
    print (x > 612 || hole ? 10 : 236 + int(8 * rand())) } }' > "$work/in/empty.pgm"
inputs=("$work/in" "$work/in/other" "$work/none.png")

expect 1 "$kelpage" run "${inputs[@]}" -o "$work/one" --jobs 1 --holes --seal "$samples/seal.cfg" --json
cp "$work/stdout" "$work/one.json"
count_json '^{"file":.*}$' 12
count_json '"fate":"done"' 9
count_json '"fate":"blank"' 1
count_json 'none.png".*"fate":"failed".*"step":"load","code":1,"reason":"no such file"}$' 1
count_json 'broken.png".*"fate":"failed".*"step":"load","code":5,' 1
count_json '"name":"page-dark-margins".*"skew":0\.[0-9]*,.*"turned":true' 1
[ "$(wc -l < "$work/stdout")" -eq 12 ] || fail "more than the lines of the pages"
for name in cheque-blank.jpg.tif cheque-blank.jpg-2.tif cheque-blank.jpg-2.jpg scan-{1..5}.tif \
  scan-5.jpg form-red-seal-seal.tif empty.tif; do
  [ -s "$work/one/$name" ] || fail "no $name"
done
[ -e "$work/one/broken.tif" ] && fail "a broken page was written"
whole "$work/one"
expect 0 "$kelpage" info "$work/one/form-red-seal.tif" "$work/one/scan-1.jpg"
says 'form-red-seal.tif|binary, CCITTFAX4'
says '300 x 300 dpi'

# Several at once: the same bytes, the same lines but for the times.
expect 1 "$kelpage" run "${inputs[@]}" -o "$work/two" --jobs 2 --holes --seal "$samples/seal.cfg" --json
same "$work/one" "$work/two"
diff <(sed 's/"ms":.*//' "$work/one.json") <(sed 's/"ms":.*//' "$work/stdout") || fail "the lines differ"

# The lines are JSON: what is left without strings, numbers and flat objects is nothing.
sed -E -e 's/"([^"\\]|\\["\\bfnrtu])*"/s/g' -e 's/(true|false|-?[0-9]+(\.[0-9]+)?)/s/g' \
  -e ':again' -e 's/\{s:s(,s:s)*\}/s/g; s/\[(s(,s)*)?\]/s/g; t again' "$work/one.json" | grep -vx s &&
  fail "a line is no JSON"

# What is done is not done again, unless it changed, its files did, or the options.
good=("$work/in/page-dark-margins.jpg" "$work/in/empty.pgm" "$work/in/other")
resume() { expect 0 "$kelpage" run "${good[@]}" -o "$work/again" --resume --json "$@"; }
resume; count_json '"resumed":false' 3
stat -c '%n %y' "$work"/again/* > "$work/before"
resume; count_json '"resumed":true' 3
stat -c '%n %y' "$work"/again/* | cmp -s - "$work/before" || fail "files were written again"
touch "$work/in/page-dark-margins.jpg"; rm "$work/again/empty.tif"
resume; count_json '"resumed":true' 1
resume --colour-format png; count_json '"resumed":false' 3
[ -z "$(find "$work/again" -name '*.jpg')" ] || fail "files of other options were left"
resume --colour-format png --drop-blank; count_json '"name":"empty","fate":"dropped"' 1
[ -e "$work/again/empty.tif" ] && fail "a blank page was not dropped"

# Killed at any moment, and again on the way on: whole files alone, and in the end the same as ever.
long=(run "${inputs[@]}" -o "$work/killed" --jobs 2 --holes --seal "$samples/seal.cfg"
  --report "$work/killed-report" --resume)
for round in 1 2 3 4; do
  rm -rf "$work/killed"
  for signal in KILL KILL TERM; do
    { timeout -s $signal "0.$((RANDOM % 50 + 10))" "$kelpage" "${long[@]}"; } > /dev/null 2>&1
    shopt -s nullglob
    whole "$work/killed"
    for file in "$work"/killed/*.*; do
      cmp -s "$file" "$work/one/${file##*/}" || fail "$file is not as it should be"
    done
    shopt -u nullglob
  done
  expect 1 "$kelpage" "${long[@]}"
  same "$work/one" "$work/killed"
done
[ -z "$(find "$work/killed" "$work/killed-report" -path '*aside/*')" ] || fail "a killed run's files were left"

# The report names pictures and files that are there, and what failed.
says "^$work/killed-report/index.html$"
grep -q '<td>broken.png</td><td>load</td><td>5</td>' "$work/killed-report/index.html" || fail "no failure in the report"
grep -oE '(src|href)="[^"]*"' "$work/killed-report/index.html" | cut -d'"' -f2 | sort -u > "$work/links"
[ "$(wc -l < "$work/links")" -ge 40 ] || fail "few links in the report"
while read -r link; do [ -s "$work/killed-report/$link" ] || fail "no $link"; done < "$work/links"

expect 2 "$kelpage" run "$work/in"
expect 2 "$kelpage" run "$work/in" -o "$work/in"
expect 2 "$kelpage" run "$work/in" -o "$work/x" --report "$work/x"
expect 2 "$kelpage" run "$work/in" -o "$work/x" --seal "$work/none.cfg"
expect 2 "$kelpage" run "$work/in" -o "$work/x" --report "$work/x/.kelpage/aside"
expect 2 "$kelpage" run "$work/in" -o ""
expect 2 "$kelpage" run "$work/in" -o "$work/x" --jobs 0
expect 2 "$kelpage" run "$work/in" -o "$work/x" --blank-ink nan
expect 1 flock "$work/again/.kelpage/lock" "$kelpage" run "$work/in" -o "$work/again"
says 'again: another run works in this folder$'
printf 'P5 40 30 255\n%1200s' '' > "$work/flat.pgm"
printf 'P5 1 1 255\n ' > "$work/dot.pgm"
expect 0 "$kelpage" run "$work/flat.pgm" "$work/dot.pgm" -o "$work/x" --method iterated --holes --edges clear
says '^dot.pgm: blank; .*-> dot.tif, dot.jpg$'
full() { "$kelpage" "$@" > /dev/full; }
expect 1 full run "$work/flat.pgm" -o "$work/x" --method iterated --json
says '^kelpage: standard output: cannot be written$'
silent() { "$kelpage" "$@" <&- >&- 2>&-; }
expect 0 silent run "$work/in/page-dark-margins.jpg" -o "$work/silent"
cmp -s "$work/silent/page-dark-margins.tif" "$work/again/page-dark-margins.tif" || fail "lines went into a file"
# A file that is cut off has lost a page, and that is said.
expect 0 "$kelpage" convert "$pages" "$work/cut-off.tif"
truncate -s -1000 "$work/cut-off.tif"
expect 1 "$kelpage" run "$work/cut-off.tif" -o "$work/x" --json
count_json '"fate":"done"' 4
count_json '"page":5,.*"fate":"failed"' 1
mkdir "$work/tight"; cp "$work/in/page-dark-margins.jpg" "$work/tight/page.jpg"
expect 1 "$kelpage" run "$work/tight/page.jpg" -o "$work/tight"
says 'would overwrite the input page.jpg \(save, code 0\)'
cmp -s "$work/tight/page.jpg" "$work/in/page-dark-margins.jpg" || fail "an input was overwritten"

[ $failures -eq 0 ] || exit 1
echo "kelpage run: all as expected"
