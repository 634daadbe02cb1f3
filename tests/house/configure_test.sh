#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
#
# configure_test.sh SOURCE_DIR CXX: tests the configuration of the build in different environments.
set -euo pipefail

source=$1
export CXX=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
path=$PATH

fail() {
  printf 'configure_test: %s\n' "$@"
  exit 1
}
configure() { # configure BUILD ARGUMENT...
  env PATH="$path" cmake -G Ninja -B "$work/$1" "${@:2}" >"$work/log" 2>&1 || fail "cmake ${*:2}" "$(cat "$work/log")"
}

# If ccache is installed after the first configuration, no command changes.
mkdir "$work/with" "$work/without"
for tool in /usr/bin/* "$(command -v "$CXX")"; do
  [ "${tool##*/}" = ccache ] || ln -sf "$tool" "$work/without/"
done
path=$work/without
configure once -S "$source" -DTESSIVAR_BUILD_TESTS=ON -DTESSIVAR_BUILD_EXAMPLES=OFF
cp "$work/once/compile_commands.json" "$work/before"
ln -s "$(command -v true)" "$work/with/ccache"
path=$work/with:$PATH
configure once -S "$source"
cmp "$work/before" "$work/once/compile_commands.json" || fail "ccache that appeared later changes the commands"

# A file that includes the engine's header and our header does not compile. The first error says why, in both orders.
engine='#include <dds/dds.h>' ours='#include "tessivar/types/command/command.h"'
for order in "$engine"$'\n'"$ours" "$ours"$'\n'"$engine"; do
  # shellcheck disable=SC2046  # flags are words
  said=$("$CXX" -std=c++20 -fsyntax-only -I"$source" $(pkg-config --cflags CycloneDDS) -x c++ - <<<"$order" 2>&1) &&
    fail "both headers in one file compile"
  [ "$(grep -c ': error: ' <<<"$said")" = 1 ] || fail "not one error:" "$said"
  grep -q 'a.file.includes.*not.both' <<<"$said" || fail "not the reason:" "$said"
done

# With another engine, nothing of this tree's engine is compiled, neither its sources nor their tests.
mkdir "$work/engine"
echo 'add_library(tessivar_engine INTERFACE)' >"$work/engine/engine.cmake"
path=$PATH
configure other -S "$source" -DTESSIVAR_ENGINE="$(realpath --relative-to="$source/tessivar/platform" "$work/engine")"
! grep '"file".*/cyclone/' "$work/other/compile_commands.json" || fail "compiled with another engine"

# As a subproject, the library does not change the build type and the flags of the other project.
mkdir "$work/parent"
cat >"$work/parent/CMakeLists.txt" <<END
cmake_minimum_required(VERSION 3.22)
project(parent LANGUAGES C CXX)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
add_subdirectory($source tessivardds)
if(CMAKE_BUILD_TYPE)
  message(FATAL_ERROR "the build type became \${CMAKE_BUILD_TYPE}")
endif()
file(WRITE \${CMAKE_BINARY_DIR}/main.cpp "int main() {}")
add_executable(parent \${CMAKE_BINARY_DIR}/main.cpp)
END
configure part -S "$work/parent"
command=$(grep -F '"command"' "$work/part/compile_commands.json" | grep -F 'parent.dir/main.cpp')
[ "$(sed 's/ -o .*//; s/.*command": "[^ ]* *//' <<<"$command")" = "" ] || fail "the parent's own file gets: $command"
