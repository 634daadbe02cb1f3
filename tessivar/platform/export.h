// SPDX-License-Identifier: Apache-2.0

// Macros for what differs between compilers in the installed headers. Every public header includes this file.
//
// TESSIVAR_API marks the classes and functions that the shared library exports; all others are hidden.
// TESSIVAR_INTERNAL hides a class or function that is nested in an exported class. TESSIVAR_COLD marks a function that
// rarely runs, so that it is not inlined. TESSIVAR_PRINTF names the parameters, counted from 1, that are a printf
// format and its first argument.
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

// The header <dds/dds.h> of Eclipse Cyclone defines macros with the same names, for example DDS_RETCODE_TIMEOUT, but
// with other values. A file that includes both headers would use wrong values without any message. The lines below make
// the compiler reject such a file. If <dds/dds.h> comes first, the #error is reported. If it comes later, the
// declaration of dds_notify_readers in <dds/dds.h> contradicts the declaration below.
#ifdef DDS_RETCODE_OK
#error "<dds/dds.h> and TessivarDDS define the same names: a file includes the one or the other, not both"
#include <stop: see the error above>
#endif
namespace tessivar {
struct a_file_includes_dds_dds_h_or_TessivarDDS_not_both;
}
extern "C" void dds_notify_readers(tessivar::a_file_includes_dds_dds_h_or_TessivarDDS_not_both*);
