// SPDX-License-Identifier: Apache-2.0

#include "bench/coders/allocations.h"

#include <atomic>
#include <cstddef>

// The C library's own functions, which these functions replace.
extern "C" {
void* __libc_malloc(std::size_t size);                     // NOLINT(bugprone-reserved-identifier): the C library's name
void* __libc_calloc(std::size_t count, std::size_t size);  // NOLINT(bugprone-reserved-identifier): the C library's name
void* __libc_realloc(void* memory, std::size_t size);      // NOLINT(bugprone-reserved-identifier): the C library's name
}

namespace {

std::atomic<std::uint64_t> calls{0};

}  // namespace

extern "C" {

__attribute__((visibility("default"))) void* malloc(std::size_t size) {
  calls.fetch_add(1, std::memory_order_relaxed);
  return __libc_malloc(size);
}

__attribute__((visibility("default"))) void* calloc(std::size_t count, std::size_t size) {
  calls.fetch_add(1, std::memory_order_relaxed);
  return __libc_calloc(count, size);
}

__attribute__((visibility("default"))) void* realloc(void* memory, std::size_t size) {
  calls.fetch_add(1, std::memory_order_relaxed);
  return __libc_realloc(memory, size);
}
}

std::uint64_t tessivar::bench::allocations() {
  return calls.load(std::memory_order_relaxed);
}
