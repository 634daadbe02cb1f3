// SPDX-License-Identifier: Apache-2.0

// Measures coders with Google Benchmark. The name of a measurement is "encode SAMPLE" or "decode SAMPLE". Counters:
// "octets" and "sum" describe the encoding, "allocations" is the number of allocations of one call.
#pragma once

#include "bench/coders/allocations.h"

#include <benchmark/benchmark.h>
#include <cstdint>
#include <string>
#include <vector>

namespace tessivar::bench {

/// Registers both measurements. A coder has one sample, and
///   unsigned encode(char* buffer, unsigned room)            encodes the sample and returns the length, or 0 on failure
///   bool decode(const char* encoding, unsigned length)      decodes into a sample that it reuses
///   unsigned encode_decoded(char* buffer, unsigned room)    encodes the decoded sample
template <class Coder>
void measure(const std::string& sample, Coder& coder) {
  const auto counted = [](benchmark::State& state, std::uint64_t first) {
    state.counters["allocations"] =
        benchmark::Counter(static_cast<double>(allocations() - first), benchmark::Counter::kAvgIterations);
  };
  benchmark::RegisterBenchmark(("encode " + sample).c_str(), [&coder, counted](benchmark::State& state) {
    std::vector<char> buffer(256 * 1024);
    const unsigned length = coder.encode(buffer.data(), static_cast<unsigned>(buffer.size()));
    std::uint64_t sum = 0;
    for (unsigned i = 0; i < length; ++i) sum += static_cast<unsigned char>(buffer[i]);
    const std::uint64_t first = allocations();
    for ([[maybe_unused]] auto _ : state) {
      if (coder.encode(buffer.data(), static_cast<unsigned>(buffer.size())) == 0) state.SkipWithError("not encoded");
      benchmark::ClobberMemory();
    }
    counted(state, first);
    state.counters["octets"] = length;
    state.counters["sum"] = static_cast<double>(sum);
  });
  benchmark::RegisterBenchmark(("decode " + sample).c_str(), [&coder, counted](benchmark::State& state) {
    std::vector<char> buffer(256 * 1024);
    const unsigned length = coder.encode(buffer.data(), static_cast<unsigned>(buffer.size()));
    if (!coder.decode(buffer.data(), length)) state.SkipWithError("not decoded");
    const std::uint64_t first = allocations();
    for ([[maybe_unused]] auto _ : state) {
      if (!coder.decode(buffer.data(), length)) state.SkipWithError("not decoded");
      benchmark::ClobberMemory();
    }
    counted(state, first);
    std::vector<char> again(256 * 1024);
    if (coder.encode_decoded(again.data(), static_cast<unsigned>(again.size())) != length || again != buffer)
      state.SkipWithError("the decoded sample differs");
  });
}

/// Runs the registered measurements with the options of Google Benchmark. Returns the exit code of the program.
inline int run_measurements(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}

}  // namespace tessivar::bench
