// SPDX-License-Identifier: Apache-2.0

// Strings of samples and QoS sets: plain `char*`, owned by the structure that holds them.
//
// Every string inside a sample comes from these functions (or from malloc, as strdup uses it) and is released by
// DDS_String_free alone: free() does not take what DDS_String_alloc and DDS_String_dup return. Thread-safe; a null
// result means that memory is short. Nothing throws.
#pragma once

#include "tessivar/platform/base.h"

#include <cstddef>

/// An empty string with room for `length` characters and the terminator.
TESSIVAR_API char* DDS_String_alloc(std::size_t length);
/// A copy of `text`; null for null.
TESSIVAR_API char* DDS_String_dup(const char* text);
/// Releases `text`; null is ignored.
TESSIVAR_API void DDS_String_free(char* text);
/// Makes `*destination` a copy of `text` (null for null), in place when the room of `*destination` suffices; the result
/// is `*destination`. Null with `*destination` unchanged when memory is short.
TESSIVAR_API char* DDS_String_replace(char** destination, const char* text);

/// Copies `text` into `*destination`, whose room is reused when it suffices and replaced by room for the whole bound
/// when not. `size` counts the terminator (65 for a string of at most 64 characters). 0 with `*destination` unchanged
/// for a null argument, a longer text or short memory.
TESSIVAR_API RTIBool DDS_String_copy_bounded(char** destination, const char* text, std::size_t size);
