#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
#
# exported_symbols_test.sh SOURCE_DIR LIBRARY: tests that the shared library exports exactly the symbols in
# exported_symbols.txt. A difference is a change of the binary interface. If it is intended, write the list again, and
# add 1 to TESSIVAR_ABI_NUMBER if a symbol was removed or changed.
set -euo pipefail

list=$1/tests/house/exported_symbols.txt
diff -U0 "$list" <("$1/scripts/exported-symbols" "$2") || {
  echo "The exported symbols differ (- only in the list, + only in the library). After an intended change:"
  echo "  scripts/exported-symbols $2 >tests/house/exported_symbols.txt"
  exit 1
}

# The list contains no symbol of the engine, of the XML library and of nested implementation classes.
! grep -nE 'cyclone|[( *<,]dds_|ddsi_|nn_|pugi|::(Impl|Private)::' "$list" | grep -v 'ImplDelete::operator'
