// SPDX-License-Identifier: Apache-2.0

#include "tests/types/support/memory.h"

#include <atomic>
#include <cstdlib>
#include <new>

#ifndef __has_feature
#define __has_feature(feature) 0
#endif

#if __has_feature(thread_sanitizer)

// The operators of this sanitizer cannot be replaced. It counts allocations and calls our functions.
#include <sanitizer/allocator_interface.h>

namespace types_test {
namespace {

thread_local std::size_t allocated = 0;

void count(const volatile void*, std::size_t) {
  ++allocated;
}
void ignore(const volatile void*) {}

[[maybe_unused]] const int installed = __sanitizer_install_malloc_and_free_hooks(count, ignore);

}  // namespace

std::size_t live_octets() {
  return __sanitizer_get_current_allocated_bytes();
}
std::size_t allocations() {
  return allocated;
}

}  // namespace types_test

#else

#include <malloc.h>

namespace types_test {
namespace {

std::atomic<std::size_t> live{0};
thread_local std::size_t allocated = 0;
thread_local FailingAllocations* failing = nullptr;
std::atomic<FailingAllocations*> failing_everywhere = nullptr;

bool fails() {
  FailingAllocations* const chosen = failing ? failing : failing_everywhere.load();
  return chosen && chosen->next_fails();
}

void* allocate(std::size_t size) {
  if (fails()) return nullptr;
  void* memory = std::malloc(size > 0 ? size : 1);
  ++allocated;
  live += malloc_usable_size(memory);
  return memory;
}

void* allocate_or_throw(std::size_t size) {
  if (void* memory = allocate(size)) return memory;
  throw std::bad_alloc();
}

void release(void* memory) {
  live -= malloc_usable_size(memory);
  std::free(memory);
}

}  // namespace

std::size_t live_octets() {
  return live;
}
std::size_t allocations() {
  return allocated;
}

FailingAllocations::FailingAllocations(int first, Which which, Where where) : first_(first), which_(which) {
  if (where == Where::this_thread)
    failing = this;
  else
    failing_everywhere = this;
}
FailingAllocations::~FailingAllocations() {
  failing = nullptr;
  failing_everywhere = nullptr;
}
bool FailingAllocations::next_fails() {
  const int number = count_++;
  return number == first_ || (which_ == Which::all_later && number > first_);
}

}  // namespace types_test

using namespace types_test;

void* operator new(std::size_t size) {
  return allocate_or_throw(size);
}
void* operator new[](std::size_t size) {
  return allocate_or_throw(size);
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return allocate(size);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
  return allocate(size);
}
void operator delete(void* memory) noexcept {
  release(memory);
}
void operator delete[](void* memory) noexcept {
  release(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
  release(memory);
}
void operator delete[](void* memory, std::size_t) noexcept {
  release(memory);
}
void operator delete(void* memory, const std::nothrow_t&) noexcept {
  release(memory);
}
void operator delete[](void* memory, const std::nothrow_t&) noexcept {
  release(memory);
}

#endif
