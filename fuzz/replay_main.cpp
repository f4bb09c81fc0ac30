/// Runs a target over files, or over all files of folders: the corpus as a test where there is no fuzzing engine.
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <vector>

#include "fuzz/target.h"

namespace {

void replay(const std::filesystem::path& file) {
  std::ifstream stream(file, std::ios::binary);
  const std::vector<char> read((std::istreambuf_iterator<char>(stream)), std::istreambuf_iterator<char>());
  // A block of exactly the input's size, so that reading past it is seen.
  const std::unique_ptr<uint8_t[]> exact(new uint8_t[read.size()]);
  for (size_t i = 0; i < read.size(); ++i) exact[i] = static_cast<uint8_t>(read[i]);
  LLVMFuzzerTestOneInput(exact.get(), read.size());
}

}  // namespace

int main(int argc, char** argv) {
  size_t files = 0;
  for (int i = 1; i < argc; ++i) {
    const std::filesystem::path path(argv[i]);
    if (!std::filesystem::is_directory(path)) {
      replay(path);
      ++files;
      continue;
    }
    for (const auto& entry : std::filesystem::directory_iterator(path)) {
      replay(entry.path());
      ++files;
    }
  }
  printf("replayed %zu inputs\n", files);
  return files > 0 ? 0 : 1;
}
