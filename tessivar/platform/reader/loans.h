// SPDX-License-Identifier: Apache-2.0

// The samples that one data reader lends to the application.
#pragma once

#include "tessivar/platform/detail/mutex.h"
#include "tessivar/platform/sample_info.h"
#include "tessivar/platform/type_plugin.h"

#include <cstddef>
#include <memory>
#include <vector>

namespace tessivar::platform {

/// Decoded samples and their infos. The application uses them until it returns the loan.
struct Loan {
  std::vector<void*> samples;
  std::vector<std::size_t> octets;  // the memory that each sample uses
  std::vector<DDS_SampleInfo> infos;
  /// Memory for one pointer to each sample. The typed reader fills it with the pointers that it lends.
  std::unique_ptr<std::byte[]> pointers;
  std::size_t pointers_room = 0;
};

/// Thread-safe. Public functions do not throw. Returned samples and loans are reused, so that in steady state nothing
/// is allocated. Idle samples and loans use at most `max_idle_octets` octets; what exceeds this limit is freed.
class Loans {
 public:
  static constexpr std::size_t max_idle_octets = std::size_t{1} << 20;

  explicit Loans(const PRESTypePlugin& type) : type_(type) {}
  /// Also destroys the samples of loans that were not returned.
  ~Loans();
  Loans(const Loans&) = delete;
  Loans& operator=(const Loans&) = delete;

  /// Returns a loan of `count` samples. They may still have the content of an earlier use. Returns null if memory is
  /// short.
  Loan* lend(std::size_t count) noexcept;
  /// Ends a loan. `lent` is the address of its samples or of its pointers. Returns null if this reader did not lend it.
  /// The caller passes the result to keep().
  std::unique_ptr<Loan> take_back(const void* lent) noexcept;
  /// Keeps the samples and the memory of `loan` for later loans, up to `max_idle_octets`.
  void keep(std::unique_ptr<Loan> loan) noexcept;
  bool any_out() const;

 private:
  struct Sample {
    void* sample;
    std::size_t octets;
  };

  std::unique_ptr<Loan> idle_loan(std::size_t count) TESSIVAR_REQUIRES(mutex_);
  Sample idle_sample() TESSIVAR_REQUIRES(mutex_);
  void retire(std::unique_ptr<Loan> loan) TESSIVAR_REQUIRES(mutex_);
  template <class T>
  void keep_idle(std::vector<T>& idle, T& one, std::size_t octets) TESSIVAR_REQUIRES(mutex_);

  const PRESTypePlugin& type_;
  mutable Mutex mutex_;
  std::size_t idle_octets_ TESSIVAR_GUARDED_BY(mutex_) = 0;
  std::vector<Sample> idle_samples_ TESSIVAR_GUARDED_BY(mutex_);
  std::vector<std::unique_ptr<Loan>> idle_ TESSIVAR_GUARDED_BY(mutex_);
  std::vector<std::unique_ptr<Loan>> out_ TESSIVAR_GUARDED_BY(mutex_);
};

}  // namespace tessivar::platform
