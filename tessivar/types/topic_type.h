// SPDX-License-Identifier: Apache-2.0

// Macros with which an application defines its own topic types. The application writes a structure and a table of its
// members; one line generates everything else, as for the types of the library. examples/weather.cpp is a complete
// program.
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
// family/kinds.h and core/detail/core_tables.h hold the kinds of members: Short … Float, Boolean, Octet, String,
// Sequence, Optional, Enumeration, Structure, Union, and GuidKind for addresses of units. A member without a row in the
// table is a compile error. types/command/command.h and its table show enumerations, sequences and structures that are
// only members of others.
#pragma once

#include "tessivar/types/core/detail/core_tables.h"
#include "tessivar/types/family/type_support_impl.h"

/// Defines all functions and classes of the topic type T of NAMESPACE. Place it outside all namespaces, after the
/// table, in one .cpp file.
#define TESSIVAR_IMPLEMENT_TOPIC_TYPE(NAMESPACE, T) \
  namespace NAMESPACE {                             \
  TESSIVAR_DEFINE_TOPIC_TYPE(T)                     \
  }                                                 \
  TESSIVAR_INSTANTIATE_TOPIC_TYPE(NAMESPACE::T)

/// The same for a topic type without key.
#define TESSIVAR_IMPLEMENT_KEYLESS_TOPIC_TYPE(NAMESPACE, T) \
  namespace NAMESPACE {                                     \
  TESSIVAR_DEFINE_KEYLESS_TOPIC_TYPE(T)                     \
  }                                                         \
  TESSIVAR_INSTANTIATE_TOPIC_TYPE(NAMESPACE::T)
