// SPDX-License-Identifier: Apache-2.0

// What differs between compilers in the installed headers. Every public header includes this.
//
// TESSIVAR_API marks what the shared library exports; everything else stays hidden. TESSIVAR_INTERNAL hides a class
// that is nested in an exported one. TESSIVAR_COLD keeps a function that rarely runs out of line. TESSIVAR_PRINTF says
// which parameters, from 1, are a printf format and its first argument.
#pragma once

#if defined(_WIN32)
#if defined(TESSIVAR_BUILDING)
#define TESSIVAR_API __declspec(dllexport)
#else
#define TESSIVAR_API __declspec(dllimport)
#endif
#define TESSIVAR_INTERNAL
#else
#define TESSIVAR_API __attribute__((visibility("default")))
#define TESSIVAR_INTERNAL __attribute__((visibility("hidden")))
#endif

#if defined(__GNUC__)
#define TESSIVAR_COLD __attribute__((cold, noinline))
#define TESSIVAR_PRINTF(text, values) __attribute__((format(printf, text, values)))
#else
#define TESSIVAR_COLD
#define TESSIVAR_PRINTF(text, values)
#endif

// Eclipse Cyclone's <dds/dds.h> gives names as DDS_RETCODE_TIMEOUT to macros of other values, so that a file that
// includes both would go wrong in silence. It does not compile: with <dds/dds.h> first it stops here, otherwise at the
// declaration below, which contradicts that of <dds/dds.h>.
#ifdef DDS_RETCODE_OK
#error "<dds/dds.h> and TessivarDDS define the same names: a file includes the one or the other, not both"
#include <stop: see the error above>
#endif
namespace tessivar {
struct a_file_includes_dds_dds_h_or_TessivarDDS_not_both;
}
extern "C" void dds_notify_readers(tessivar::a_file_includes_dds_dds_h_or_TessivarDDS_not_both*);
