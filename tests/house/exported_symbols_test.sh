#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
#
# exported_symbols_test.sh SOURCE_DIR LIBRARY: the shared library exports what exported_symbols.txt lists, neither more
# nor less. A difference is a change of the binary interface: if it is intended, write the list again, and add 1 to
# TESSIVAR_ABI_NUMBER if something was removed or changed.
set -euo pipefail

list=$1/tests/house/exported_symbols.txt
diff -U0 "$list" <("$1/scripts/exported-symbols" "$2") || {
  echo "The exported symbols differ (- only in the list, + only in the library). After an intended change:"
  echo "  scripts/exported-symbols $2 >tests/house/exported_symbols.txt"
  exit 1
}

# The list itself holds nothing of the engine, of XML and of nested implementation classes.
! grep -nE 'cyclone|[( *<,]dds_|ddsi_|nn_|pugi|::(Impl|Private)::' "$list" | grep -v 'ImplDelete::operator'
