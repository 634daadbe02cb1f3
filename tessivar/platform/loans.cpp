#include "tessivar/platform/loans.h"

#include <algorithm>
#include <new>

namespace tessivar::platform {

Loans::~Loans() {
  for (const auto& loan : out_) {
    for (void* sample : loan->samples) type_.destroy_sample(sample);
  }
  for (void* sample : idle_samples_) type_.destroy_sample(sample);
}

Loan* Loans::lend(std::size_t count) {
  const std::lock_guard lock(mutex_);
  std::unique_ptr<Loan> loan;
  try {
    if (idle_.empty()) {
      loan = std::make_unique<Loan>();
    } else {
      loan = std::move(idle_.back());
      idle_.pop_back();
    }
    loan->samples.reserve(count);
    loan->infos.resize(count);
    out_.reserve(out_.size() + 1);
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
  while (loan->samples.size() < count) {
    void* sample = nullptr;
    if (idle_samples_.empty()) {
      sample = type_.create_sample();
    } else {
      sample = idle_samples_.back();
      idle_samples_.pop_back();
    }
    if (!sample) {
      retire(std::move(loan));
      return nullptr;
    }
    loan->samples.push_back(sample);
  }
  out_.push_back(std::move(loan));
  return out_.back().get();
}

bool Loans::take_back(void* const* samples) {
  const std::lock_guard lock(mutex_);
  const auto loan = std::find_if(out_.begin(), out_.end(),
                                 [&](const std::unique_ptr<Loan>& one) { return one->samples.data() == samples; });
  if (loan == out_.end()) return false;
  std::unique_ptr<Loan> returned = std::move(*loan);
  out_.erase(loan);
  retire(std::move(returned));
  return true;
}

bool Loans::any_out() const {
  const std::lock_guard lock(mutex_);
  return !out_.empty();
}

void Loans::retire(std::unique_ptr<Loan> loan) {
  for (void* sample : loan->samples) {
    if (idle_samples_.size() < most_idle_samples) {
      idle_samples_.push_back(sample);
    } else {
      type_.destroy_sample(sample);
    }
  }
  loan->samples.clear();
  idle_.push_back(std::move(loan));
}

}  // namespace tessivar::platform
