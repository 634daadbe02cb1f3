// SPDX-License-Identifier: Apache-2.0

// Writes seeds for the fuzz target `types`: known encodings, and random samples and keys of every type.
//
//   fuzz_seeds WIRE_JSON FOLDER
#include "tests/types/support/encoding.h"

#include <cstdio>
#include <filesystem>
#include <fstream>

int main(int argc, char** argv) try {
  using namespace types_test;
  if (argc != 3) throw std::invalid_argument("two arguments: the wire vectors and a folder");
  const json document = json::parse(std::ifstream(argv[1]));
  const std::filesystem::path folder = argv[2];
  std::filesystem::create_directories(folder);
  int count = 0;
  const auto add = [&](const AnyType& type, const Octets& octets) {
    std::ofstream file(folder / std::to_string(count++), std::ios::binary);
    file.put(static_cast<char>(&type - all_types().data()));
    file.write(reinterpret_cast<const char*>(octets.data()), static_cast<std::streamsize>(octets.size()));
  };

  for (const char* list : {"vectors", "malformed"}) {
    for (const json& entry : document.at(list)) {
      const json values = entry.flatten();
      for (const auto& [where, text] : values.items()) {
        const bool encoding = where.starts_with("/write/") || where.starts_with("/read_too/") || where == "/hex";
        if (encoding) add(type_named(entry.at("type").get<std::string>()), from_hex(text));
      }
    }
  }

  constexpr std::size_t most = 4096;  // octets; longer seeds take longer and find no more
  Random random(1);
  for (const AnyType& type : all_types()) {
    AnySample sample(type);
    for (int i = 0; i < 8; ++i) {
      sample.randomize(random);
      const Octets octets = encoding_of(sample, i % 2 == 0).value();
      if (octets.size() < most) add(type, octets);
      Octets key(type.plugin->encode_key(sample.get(), nullptr, 0));
      if (type.keyed && type.plugin->encode_key(sample.get(), key.data(), key.size())) add(type, key);
    }
  }
  return 0;
} catch (const std::exception& exception) {
  std::fprintf(stderr, "fuzz_seeds: %s\n", exception.what());
  return 1;
}
