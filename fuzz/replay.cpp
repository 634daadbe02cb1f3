// Gives a target the files of the folders that are named, where the compiler brings no fuzzer.
#include "fuzz/demand.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>

int main(int argc, char** argv) {
  int files = 0;
  for (int i = 1; i < argc; ++i) {
    for (const auto& entry : std::filesystem::directory_iterator(argv[i])) {
      std::ifstream file(entry.path(), std::ios::binary);
      const std::string text{std::istreambuf_iterator<char>(file), {}};
      std::printf("%s\n", entry.path().c_str());
      const std::unique_ptr<unsigned char[]> exact(new unsigned char[text.size()]);  // where an overrun is noticed
      std::copy(text.begin(), text.end(), exact.get());
      LLVMFuzzerTestOneInput(exact.get(), text.size());
      ++files;
    }
  }
  return files > 0 ? 0 : 1;
}
