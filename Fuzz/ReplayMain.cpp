#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <vector>

#include "FuzzTarget.h"

/// Feeds every file of the given folder to the fuzz target, so that faults found once stay fixed.
int main(int argc, char** argv) {
  if (argc != 2) {
    std::cerr << "usage: " << argv[0] << " FOLDER\n";
    return 2;
  }
  int replayed = 0;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(argv[1])) {
    if (!entry.is_regular_file()) continue;
    std::ifstream file(entry.path(), std::ios::binary);
    const std::vector<char> bytes{std::istreambuf_iterator<char>(file), {}};
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
    ++replayed;
  }
  std::cout << replayed << " inputs replayed\n";
  return replayed > 0 ? 0 : 1;
}
