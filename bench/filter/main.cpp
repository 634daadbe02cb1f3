// SPDX-License-Identifier: Apache-2.0

// bench_filter: "filter/N" evaluates the address filter with N addresses, "set/N" looks the same addresses up in a hash
// set. Every second sample is wanted.
#include "bench/common/program.h"
#include "tessivar/tessivar.h"

#include <benchmark/benchmark.h>
#include <cstdlib>
#include <string>
#include <unordered_set>
#include <vector>

namespace {

using namespace TessivarDDS;

const bool slower = std::getenv("TESSIVAR_BENCH_SLOW_DOWN") != nullptr;

std::string address(unsigned number) {
  return AddressEx(static_cast<int>(number / 50000) + 1, static_cast<int>(number / 250 % 200) + 1,
                   static_cast<int>(number % 250) + 1)
      .guid();
}

/// Samples of which every second one has an address in `wanted`, in an order without a pattern.
class Samples {
 public:
  explicit Samples(unsigned wanted) {
    for (unsigned i = 0; i < count; ++i) {
      const unsigned number = i * 7919 % wanted;
      samples_.emplace_back(
          TessivarMessageHelper::createCommand(AddressEx(address(i % 2 ? number : number + 50000).c_str()), 0, 1));
    }
  }
  const Tessivar::Command& next() { return *samples_[next_++ % count].get(); }

 private:
  static constexpr unsigned count = 1024;
  std::vector<DDSPtr<Tessivar::Command>> samples_;
  unsigned next_ = 0;
};

void filter(benchmark::State& state) {
  const auto wanted = static_cast<unsigned>(state.range(0));
  std::vector<std::string> texts;
  for (unsigned i = 0; i < wanted; ++i) texts.push_back(address(i));
  std::vector<char*> pointers;
  pointers.reserve(texts.size());
  for (std::string& text : texts) pointers.push_back(text.data());
  DDS_StringSeq parameters;
  parameters.from_array(pointers.data(), static_cast<DDS_Long>(wanted));
  AddressContentFilter& filter = AddressContentFilter::instance();
  void* compiled = nullptr;
  const std::string expression = AddressContentFilter::expression("Tessivar::Command");
  if (filter.compile(&compiled, expression.c_str(), parameters, nullptr, "Tessivar::Command", nullptr) !=
      DDS_RETCODE_OK) {
    state.SkipWithError("the filter cannot be compiled");
    return;
  }
  Samples samples(wanted);
  unsigned long passed = 0;
  for ([[maybe_unused]] auto _ : state) {
    if (slower) tessivar::bench::slow_down();
    passed += filter.evaluate(compiled, &samples.next(), nullptr) != 0;
  }
  filter.finalize(compiled);
  state.counters["passed"] = benchmark::Counter(static_cast<double>(passed), benchmark::Counter::kAvgIterations);
}

void set(benchmark::State& state) {
  const auto wanted = static_cast<unsigned>(state.range(0));
  std::unordered_set<std::string> addresses;
  for (unsigned i = 0; i < wanted; ++i) addresses.insert(address(i));
  Samples samples(wanted);
  unsigned long passed = 0;
  for ([[maybe_unused]] auto _ : state) passed += addresses.contains(samples.next().unitId);
  state.counters["passed"] = benchmark::Counter(static_cast<double>(passed), benchmark::Counter::kAvgIterations);
}

}  // namespace

int main(int argc, char** argv) {
  TessivarDDS::ReadableLogger::install();  // the default logger writes to standard output, where the results are
  benchmark::Initialize(&argc, argv);
  benchmark::RegisterBenchmark("filter", filter)->RangeMultiplier(10)->Range(1, 10000);
  benchmark::RegisterBenchmark("set", set)->RangeMultiplier(10)->Range(1, 10000);
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
