#include "tests/types/support/memory.h"

#include <atomic>
#include <cstdlib>
#include <malloc.h>
#include <new>

namespace types_test {
namespace {

std::atomic<std::size_t> live{0};
thread_local std::size_t allocated = 0;
thread_local int until_failure = -1;

void* allocate(std::size_t size) {
  if (until_failure >= 0 && until_failure-- == 0) {
    until_failure = -2;
    return nullptr;
  }
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

FailingAllocation::FailingAllocation(int n) {
  until_failure = n;
}
FailingAllocation::~FailingAllocation() {
  until_failure = -1;
}
bool FailingAllocation::happened() const {
  return until_failure == -2;
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
