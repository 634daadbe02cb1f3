// SPDX-License-Identifier: Apache-2.0

#include "tessivar/platform/reader/loans.h"

#include <algorithm>
#include <new>

namespace tessivar::platform {

namespace {

std::size_t octets_of(const Loan& loan) {
  return sizeof loan + loan.samples.capacity() * sizeof(void*) + loan.octets.capacity() * sizeof(std::size_t) +
         loan.infos.capacity() * sizeof(DDS_SampleInfo) + loan.pointers_room * sizeof(void*);
}

}  // namespace

Loans::~Loans() {
  for (const auto& loan : out_) {
    for (void* sample : loan->samples) type_.destroy_sample(sample);
  }
  for (const Sample& idle : idle_samples_) type_.destroy_sample(idle.sample);
}

Loan* Loans::lend(std::size_t count) noexcept {
  const MutexLock lock(mutex_);
  std::unique_ptr<Loan> loan;
  try {
    out_.reserve(out_.size() + 1);
    loan = idle_loan(count);
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
  while (loan->samples.size() < count) {
    const Sample one = idle_sample();
    if (!one.sample) {
      retire(std::move(loan));
      return nullptr;
    }
    loan->samples.push_back(one.sample);
    loan->octets.push_back(one.octets);
  }
  out_.push_back(std::move(loan));
  return out_.back().get();
}

/// Returns a loan with capacity for `count` samples. Throws std::bad_alloc.
std::unique_ptr<Loan> Loans::idle_loan(std::size_t count) {
  std::unique_ptr<Loan> loan;
  if (idle_.empty()) {
    loan = std::make_unique<Loan>();
  } else {
    loan = std::move(idle_.back());
    idle_.pop_back();
    idle_octets_ -= octets_of(*loan);
  }
  loan->samples.reserve(count);
  loan->octets.reserve(count);
  loan->infos.resize(count);
  if (loan->pointers_room < count) {
    loan->pointers.reset(new std::byte[count * sizeof(void*)]);
    loan->pointers_room = count;
  }
  return loan;
}

/// Returns an idle sample, or a new sample if none is idle. Its pointer is null if memory is short.
Loans::Sample Loans::idle_sample() {
  Sample one = {nullptr, 0};
  if (idle_samples_.empty()) {
    one.sample = type_.create_lean(&one.octets);
  } else {
    one = idle_samples_.back();
    idle_samples_.pop_back();
    idle_octets_ -= one.octets;
  }
  return one;
}

std::unique_ptr<Loan> Loans::take_back(const void* lent) noexcept {
  const MutexLock lock(mutex_);
  const auto loan = std::find_if(out_.begin(), out_.end(), [&](const std::unique_ptr<Loan>& one) {
    return one->samples.data() == lent || one->pointers.get() == lent;
  });
  if (loan == out_.end()) return nullptr;
  std::unique_ptr<Loan> returned = std::move(*loan);
  out_.erase(loan);
  return returned;
}

void Loans::keep(std::unique_ptr<Loan> loan) noexcept {
  const MutexLock lock(mutex_);
  retire(std::move(loan));
}

bool Loans::any_out() const {
  const MutexLock lock(mutex_);
  return !out_.empty();
}

void Loans::retire(std::unique_ptr<Loan> loan) {
  for (std::size_t i = 0; i < loan->samples.size(); ++i) {
    Sample one = {loan->samples[i], loan->octets[i]};
    keep_idle(idle_samples_, one, one.octets);
    if (one.sample) type_.destroy_sample(one.sample);
  }
  loan->samples.clear();
  loan->octets.clear();
  const std::size_t octets = octets_of(*loan);
  keep_idle(idle_, loan, octets);
}

/// Moves `one` to the list `idle` and clears `one`. Changes nothing if the idle memory would exceed its limit or the
/// list cannot grow.
template <class T>
void Loans::keep_idle(std::vector<T>& idle, T& one, std::size_t octets) {
  if (idle_octets_ + octets > max_idle_octets) return;
  try {
    idle.push_back(std::move(one));
  } catch (const std::bad_alloc&) {
    return;
  }
  one = T();
  idle_octets_ += octets;
}

}  // namespace tessivar::platform
