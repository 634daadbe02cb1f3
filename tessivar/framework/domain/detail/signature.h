// SPDX-License-Identifier: Apache-2.0

// Long parts of the function signatures that begin log messages.
#pragma once

#define TESSIVAR_SIGNATURE_STRING \
  "class std::basic_string<char,struct std::char_traits<char>,class std::allocator<char> >"
#define TESSIVAR_SIGNATURE_STRINGS \
  "class std::vector<" TESSIVAR_SIGNATURE_STRING ",class std::allocator<" TESSIVAR_SIGNATURE_STRING " > >"
#define TESSIVAR_SIGNATURE_ADDRESSES \
  "class std::vector<class TessivarDDS::AddressEx,class std::allocator<class TessivarDDS::AddressEx> >"
