#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
#
# scripts_test.sh SCRIPTS: tests the output of scripts/progress during a long command, scripts/bootstrap for a user
# without rights, and which files and commands scripts/tidy takes.
set -euo pipefail

scripts=$1
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

fail() {
  printf 'scripts_test: %s\n' "$@"
  exit 1
}

# With a pipe as output: a line from time to time, the full output only if the command fails, and its exit code.
mkfifo "$work/go"
shown=$("$scripts/progress" sh -c "echo hidden; echo '[3/9] step'; cat '$work/go'" | {
  read -r line
  echo >"$work/go"
  echo "$line"
  cat
})
[[ $shown == *'  [3/9] step' && $shown != *hidden* ]] || fail "progress showed: $shown"
code=0
said=$("$scripts/progress" sh -c 'echo reason; exit 3' 2>&1) || code=$?
[[ $code == 3 && $said == reason ]] || fail "progress of a failure: $code, $said"

# A user without root rights and without sudo, and no package is installed.
mkdir "$work/bin"
for tool in bash dirname; do ln -s "$(command -v "$tool")" "$work/bin"; done
printf '#!/bin/sh\necho 1000\n' >"$work/bin/id"
chmod +x "$work/bin/id"
code=0
said=$(PATH=$work/bin "$scripts/bootstrap" build 2>&1) || code=$?
[[ $code == 1 && $said == *'apt-get install --yes --no-install-recommends g++ cmake '* ]] || fail "bootstrap: $code, $said"

# tidy takes the newest compile command of a file, without the precompiled header of GCC, and skips files that no longer
# exist.
mkdir -p "$work/tree"/{scripts,tessivar,tests,build/dev,build/asan}
cp "$scripts/tidy" "$work/tree/scripts"
touch "$work/tree"/{.clang-tidy,tests/.clang-tidy,tessivar/here.cpp}
command_of() { # command_of FILE [OPTION]
  printf '{"directory": "%s", "file": "tessivar/%s", "command": "c++ %s %s"}' "$work/tree" "$1" "${2:-}" "$1"
}
echo '#include <the_header>' >"$work/tree/build/dev/cmake_pch.hxx"
echo "[$(command_of here.cpp), $(command_of gone.cpp)]" >"$work/tree/build/asan/compile_commands.json"
echo "[$(command_of here.cpp "-include $work/tree/build/dev/cmake_pch.hxx")]" >"$work/tree/build/dev/compile_commands.json"
touch -d yesterday "$work/tree/build/asan/compile_commands.json"
mkdir "$work/checker"
cat >"$work/checker/clang-tidy-14" <<EOF
#!/bin/sh
echo "\$@" >>"$work/checked"
for argument; do
  case \$argument in -p=*) cat "\${argument#-p=}"/* >>"$work/checked" ;; esac
done
EOF
chmod +x "$work/checker/clang-tidy-14"
said=$(PATH=$work/checker:$PATH XDG_CACHE_HOME=$work/cache "$work/tree/scripts/tidy" 2>&1) || fail "tidy: $said"
[[ $said == *'tessivar/gone.cpp is skipped'*'1 files checked'* ]] || fail "tidy said: $said"
for part in ' tessivar/here.cpp$' 'c++ -include /[^ ]*\.h here.cpp' '^#include <the_header>$'; do
  grep -q -- "$part" "$work/checked" || fail "tidy took: $(<"$work/checked")"
done
! grep -q cmake_pch "$work/checked" || fail "tidy took the precompiled header: $(<"$work/checked")"
