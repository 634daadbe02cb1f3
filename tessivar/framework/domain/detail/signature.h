// SPDX-License-Identifier: Apache-2.0

// Parts of the signatures that begin log messages: spellings that are too long to write out at each message.
#pragma once

#define TESSIVAR_SIGNATURE_STRING \
  "class std::basic_string<char,struct std::char_traits<char>,class std::allocator<char> >"
#define TESSIVAR_SIGNATURE_STRINGS \
  "class std::vector<" TESSIVAR_SIGNATURE_STRING ",class std::allocator<" TESSIVAR_SIGNATURE_STRING " > >"
#define TESSIVAR_SIGNATURE_ADDRESSES \
  "class std::vector<class TessivarDDS::AddressEx,class std::allocator<class TessivarDDS::AddressEx> >"
