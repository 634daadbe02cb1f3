#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
#
# install_test.sh BUILD_DIR CXX: installs the library in a temporary folder and uses it as an application does, with its
# CMake package and with pkg-config.
set -euo pipefail

build=$1
export CXX=$2
consumer=$(realpath "$(dirname "$0")/consumer")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
prefix=$work/prefix

cmake --install "$build" --prefix "$prefix" >"$work/install.log" || {
  cat "$work/install.log"
  exit 1
}

cmake -S "$consumer" -B "$work/consumer" -G Ninja -DCMAKE_PREFIX_PATH="$prefix" >"$work/configure.log" || {
  cat "$work/configure.log"
  exit 1
}
cmake --build "$work/consumer" -- --quiet
"$work/consumer/consumer"
# An application defines a topic type, with only the installed files.
[ "$(DDS_ALLOWED_INTERFACES=lo "$work/consumer/weather" 213)" = "roof: -1.5 degrees" ]

config=$(dirname "$(find "$prefix" -name tessivardds.pc)")
export PKG_CONFIG_PATH=$config
[ "$(pkg-config --modversion tessivardds)" = "$(sed -n 's/^Version: //p' "$config/tessivardds.pc")" ]
# shellcheck disable=SC2046  # flags are words
"$CXX" -std=c++20 -Wall -Wextra -Wpedantic -Werror "$consumer/main.cpp" $(pkg-config --cflags --libs tessivardds) -o "$work/with-pkg-config"
LD_LIBRARY_PATH=$(pkg-config --variable=libdir tessivardds) "$work/with-pkg-config"

# No internal header is installed.
! find "$prefix/include" -path '*/internal/*' -o -path '*/tessivar/platform/*/*' -not -path '*/detail/*' -type f | grep .
