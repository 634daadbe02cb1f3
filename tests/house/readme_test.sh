#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
#
# readme_test.sh SOURCE_DIR CXX: runs the blocks of README.md in a clean copy of the tree. It runs the sh blocks in a
# shell, and writes the cpp and cmake blocks to the files that the text names. It does not run scripts/demo, which
# checks itself, and scripts/test, which runs this test.
set -euo pipefail

source=$1
export CXX=$2
work=$(mktemp -d)
pasted=$work/pasted
# The blocks start programs in the background. They are in the process group of the shell, and are killed at the end.
trap '[ -z "${shell:-}" ] || kill -- "-$shell" 2>/dev/null || true; rm -rf "$work"' EXIT

mkdir "$work/tree" "$work/home"
tar -C "$source" --exclude=./build --exclude=./.git -cf - . | tar -C "$work/tree" -xf -
command -v ccache >/dev/null && CCACHE_DIR=$(ccache --get-config cache_dir) && export CCACHE_DIR
export HOME=$work/home DDS_ALLOWED_INTERFACES=lo
unset NDDS_QOS_PROFILES TESSIVAR_LOG PKG_CONFIG_PATH LD_LIBRARY_PATH

awk -v taste="$HOME/taste" '
  /^```/ {
    if (kind != "") {
      kind = ""
    } else {
      kind = substr($0, 4)
      file = taste (kind == "cpp" ? "/main.cpp" : "/CMakeLists.txt")
      if (kind == "cpp" || kind == "cmake") files++
      else if (kind == "sh") shells++
    }
    next
  }
  kind == "sh" && !/^scripts\/(demo|test)( |$)/ { print }
  kind == "cpp" || kind == "cmake" { printf "cat >>%s <<\"END\"\n%s\nEND\n", file, $0 }
  /^    / && kind == "" { print "README.md:" FNR ": a block without a kind is not tested" >"/dev/stderr"; exit 1 }
  END { if (files != 2 || shells < 5) exit 1 }' "$work/tree/README.md" >"$pasted" || {
  echo "readme_test: README.md does not have the blocks that this test knows"
  exit 1
}

cd "$work/tree"
set -m # the shell gets its own process group
bash -e -o pipefail "$pasted" >"$work/log" 2>&1 </dev/null &
shell=$!
wait "$shell" || {
  tail -n 60 "$work/log"
  echo "readme_test: a line of README.md fails"
  exit 1
}
[ "$(grep -c '^the camera has set its gain$' "$work/log")" = 2 ] || {
  tail -n 60 "$work/log"
  echo "readme_test: the program of README.md does not do what it says, twice"
  exit 1
}
