#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
#
# Runs one fuzz target, with its seeds and the inputs of earlier findings.
#
#   fuzz/run.sh BUILD TARGET SECONDS [CORPUS]    BUILD: the build folder of the target; CORPUS: a folder of interesting
#                                                inputs, which the run reads and extends; none by default
set -euo pipefail
[ $# -ge 3 ] || {
  sed -n '4,7s/^# \?//p' "$0" >&2
  exit 2
}
here=$(cd "$(dirname "$0")" && pwd)
build=$(realpath "$1")/fuzz
target=$2
corpus=${4:-}
[ -n "$corpus" ] || {
  corpus=$(mktemp -d)
  trap 'rm -rf "$corpus"' EXIT
}
mkdir -p "$corpus" "$build/found"

options=(-max_total_time="$3" -timeout=10 -rss_limit_mb=1024 -malloc_limit_mb=1 -print_final_stats=1
  -artifact_prefix="$build/found/$target-")
[ ! -f "$here/$target.dict" ] || options+=(-dict="$here/$target.dict")

# Long texts take time and find no more than short texts.
[ "$target" = types ] || options+=(-max_len=1024)

log=$build/$target.log
if "$build/fuzz_$target" "${options[@]}" "$corpus" "$here/regressions/$target" "$build/seeds/$target" >"$log" 2>&1; then
  echo "fuzz $target: nothing found"
  grep -E '^(Done|stat::)' "$log"
else
  tail -n 60 "$log" >&2
  echo "fuzz $target: found something; see above for the input, $log for the rest" >&2
  exit 1
fi
