// SPDX-License-Identifier: Apache-2.0

#include "tests/types/support/memory.h"

#include <atomic>
#include <cstdlib>
#include <malloc.h>
#include <new>

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

// The default operators for arrays call these. Those of the address sanitizer do not: its arrays are not counted and
// do not fail.
void* operator new(std::size_t size) {
  if (void* memory = allocate(size)) return memory;
  throw std::bad_alloc();
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return allocate(size);
}
void operator delete(void* memory) noexcept {
  live -= malloc_usable_size(memory);
  std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
  operator delete(memory);
}
void operator delete(void* memory, const std::nothrow_t&) noexcept {
  operator delete(memory);
}
