// SPDX-License-Identifier: Apache-2.0

// Functions for the strings of samples and QoS sets. Such a string is a plain `char*`, which the structure that
// contains it owns.
//
// A string inside a sample must come from these functions or from malloc (for example from strdup). Only
// DDS_String_free may release it: free() cannot release a string from DDS_String_alloc or DDS_String_dup. The functions
// are thread-safe and throw nothing. They return null if memory is short.
#pragma once

#include "tessivar/platform/base.h"

#include <cstddef>

/// Returns an empty string with space for `length` characters and the terminator.
TESSIVAR_API char* DDS_String_alloc(std::size_t length);
/// Returns a copy of `text`; null if `text` is null.
TESSIVAR_API char* DDS_String_dup(const char* text);
/// Releases `text`; null is ignored.
TESSIVAR_API void DDS_String_free(char* text);
/// Makes `*destination` a copy of `text`, or null if `text` is null. Uses the memory of `*destination` again if it is
/// large enough. Returns `*destination`. If memory is short, returns null and leaves `*destination` unchanged.
TESSIVAR_API char* DDS_String_replace(char** destination, const char* text);

/// Copies `text` into `*destination`. Uses the memory of `*destination` again if it is large enough; otherwise replaces
/// it by `size` octets. `size` includes the terminator (65 for a string of at most 64 characters). Returns 0 and leaves
/// `*destination` unchanged if an argument is null, the text is longer, or memory is short.
TESSIVAR_API RTIBool DDS_String_copy_bounded(char** destination, const char* text, std::size_t size);
