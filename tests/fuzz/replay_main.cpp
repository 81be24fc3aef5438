// SPDX-License-Identifier: Apache-2.0
// Runs a fuzzer's entry point on each file of the directories given, without a fuzzer.

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

int main(int argc, char** argv) {
  std::size_t count = 0;
  for (int i = 1; i < argc; ++i) {
    for (const auto& entry : std::filesystem::recursive_directory_iterator(argv[i])) {
      if (!entry.is_regular_file()) continue;
      std::ifstream file(entry.path(), std::ios::binary);
      const std::vector<char> bytes{std::istreambuf_iterator<char>(file), {}};
      // Printed before, so that the file is known if it ends the program.
      std::printf("%s\n", entry.path().c_str());
      std::fflush(stdout);
      const std::vector<std::uint8_t> input(bytes.begin(), bytes.end());
      LLVMFuzzerTestOneInput(input.data(), input.size());
      ++count;
    }
  }
  std::printf("%zu inputs\n", count);
  return count == 0 ? 1 : 0;
}
