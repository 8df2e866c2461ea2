// Tries the inputs that are in files, for builds without a fuzzing engine: to measure what a corpus reaches,
// and to see again what broke.

#include <boost/filesystem/directory.hpp>
#include <boost/filesystem/operations.hpp>

#include <cstddef>
#include <cstdint>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

namespace fs = boost::filesystem;

void try_file(const fs::path& file) {
  std::ifstream stream(file.string(), std::ios::binary);
  const std::string input{std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
  LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(input.data()), input.size());
}

}  // namespace

int main(int argc, char** argv) {
  std::size_t tried = 0;
  for (int i = 1; i < argc; ++i) {
    if (!fs::is_directory(argv[i])) {
      try_file(argv[i]);
      ++tried;
      continue;
    }
    for (const auto& entry : fs::directory_iterator(argv[i])) {
      try_file(entry.path());
      ++tried;
    }
  }
  std::cout << tried << " inputs tried\n";
  return tried == 0 ? 1 : 0;
}
