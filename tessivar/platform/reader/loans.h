// The samples that one reader lends out.
#pragma once

#include "tessivar/platform/detail/mutex.h"
#include "tessivar/platform/sample_info.h"
#include "tessivar/platform/type_plugin.h"

#include <cstddef>
#include <memory>
#include <mutex>
#include <vector>

namespace tessivar::platform {

/// Decoded samples and their infos, in the application's hands until it returns them.
struct Loan {
  std::vector<void*> samples;
  std::vector<std::size_t> octets;  // the memory that each sample takes
  std::vector<DDS_SampleInfo> infos;
  /// Room for as many pointers, in which the typed reader puts those that it lends.
  std::unique_ptr<std::byte[]> pointers;
  std::size_t pointers_room = 0;
};

/// Thread-safe; nothing throws. Samples and loans are used again: in steady state nothing is allocated. What is idle
/// takes at most `most_idle_octets`; more is freed as it is returned.
class Loans {
 public:
  static constexpr std::size_t most_idle_octets = std::size_t{1} << 20;

  explicit Loans(const PRESTypePlugin& type) : type_(type) {}
  /// Loans that are still out go with it.
  ~Loans();
  Loans(const Loans&) = delete;
  Loans& operator=(const Loans&) = delete;

  /// A loan of `count` samples, whose content is left over from before; null when memory is short.
  Loan* lend(std::size_t count) noexcept;
  /// Takes a loan out of the application's hands, by its samples or its pointers; null if it is not of this reader. To
  /// be given to keep().
  std::unique_ptr<Loan> take_back(const void* lent) noexcept;
  /// Keeps what there is room for, for later loans.
  void keep(std::unique_ptr<Loan> loan) noexcept;
  bool any_out() const;

 private:
  struct Sample {
    void* sample;
    std::size_t octets;
  };

  std::unique_ptr<Loan> idle_loan(std::size_t count);
  Sample idle_sample();
  void retire(std::unique_ptr<Loan> loan);
  template <class T>
  void keep_idle(std::vector<T>& idle, T& one, std::size_t octets);

  const PRESTypePlugin& type_;
  mutable Mutex mutex_;
  std::size_t idle_octets_ = 0;
  std::vector<Sample> idle_samples_;
  std::vector<std::unique_ptr<Loan>> idle_;
  std::vector<std::unique_ptr<Loan>> out_;
};

}  // namespace tessivar::platform
