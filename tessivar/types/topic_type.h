// SPDX-License-Identifier: Apache-2.0

// For topic types of an application's own: a structure, its table of members, and a line that makes everything else of
// the table, as for the library's types. examples/weather.cpp is a whole program.
//
//     namespace weather {
//     struct Report {                          // an aggregate; strings and optional members are null at first
//       char* station = nullptr;
//       DDS_Float celsius = 0;
//       TESSIVAR_TOPIC_CLASSES(Report)
//     };
//     TESSIVAR_TOPIC_TYPE(Report)              // TESSIVAR_KEYLESS_TOPIC_TYPE if no member is a key
//     }
//
//     template <>                              // a row for each member, in the order of the structure and of the IDL
//     struct tessivar::types::Table<weather::Report>
//         : Final<"weather::Report",
//                 Key<"station", &weather::Report::station, String<32>>,
//                 Member<"celsius", &weather::Report::celsius, Float>> {};
//
//     TESSIVAR_IMPLEMENT_TOPIC_TYPE(weather, Report)      // in one .cpp file
//
// The kinds of members (Short … Float, Boolean, Octet, String, Sequence, Optional, Enumeration, Structure, Union, and
// GuidKind for addresses of units) are in family/kinds.h and core/detail/core_tables.h. A member without a row does not
// compile. Structures that are only members of others, enumerations and sequences: types/command/command.h and its
// table show them.
#pragma once

#include "tessivar/types/core/detail/core_tables.h"
#include "tessivar/types/family/define.h"

/// All functions and classes of the topic type T of NAMESPACE. Outside all namespaces, after the table, in one .cpp
/// file.
#define TESSIVAR_IMPLEMENT_TOPIC_TYPE(NAMESPACE, T) \
  namespace NAMESPACE {                             \
  TESSIVAR_DEFINE_TOPIC_TYPE(T)                     \
  }                                                 \
  TESSIVAR_INSTANTIATE_TOPIC_TYPE(NAMESPACE::T)

/// The same for a type without key.
#define TESSIVAR_IMPLEMENT_KEYLESS_TOPIC_TYPE(NAMESPACE, T) \
  namespace NAMESPACE {                                     \
  TESSIVAR_DEFINE_KEYLESS_TOPIC_TYPE(T)                     \
  }                                                         \
  TESSIVAR_INSTANTIATE_TOPIC_TYPE(NAMESPACE::T)
