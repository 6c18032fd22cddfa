# What the scripts that test kelpage share; to be sourced. Sets up $work, a folder that goes with the
# script, and counts failures.
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
