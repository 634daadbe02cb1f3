// The samples that one reader lends out.
#pragma once

#include "tessivar/platform/mutex.h"
#include "tessivar/platform/sample_info.h"
#include "tessivar/platform/type_plugin.h"

#include <memory>
#include <mutex>
#include <vector>

namespace tessivar::platform {

/// Decoded samples and their infos, in the application's hands until it returns them.
struct Loan {
  std::vector<void*> samples;
  std::vector<DDS_SampleInfo> infos;
};

/// Thread-safe. Samples and loans are used again: in steady state nothing is allocated.
class Loans {
 public:
  explicit Loans(const PRESTypePlugin& type) : type_(type) {}
  /// Loans that are still out go with it.
  ~Loans();
  Loans(const Loans&) = delete;
  Loans& operator=(const Loans&) = delete;

  /// A loan of `count` samples, whose content is left over from before; null when memory is short.
  Loan* lend(std::size_t count);
  /// By its array of samples; false when it is none of ours.
  bool take_back(void* const* samples);
  bool any_out() const;

 private:
  static constexpr std::size_t most_idle_samples = 1024;

  void retire(std::unique_ptr<Loan> loan);

  const PRESTypePlugin& type_;
  mutable Mutex mutex_;
  std::vector<void*> idle_samples_;
  std::vector<std::unique_ptr<Loan>> idle_;
  std::vector<std::unique_ptr<Loan>> out_;
};

}  // namespace tessivar::platform
