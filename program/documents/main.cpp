// settings_documents: prints what is shipped about the settings. A tool of the build; it is not installed.

#include <program/documents/setting_documents.hpp>

#include <zant/velmora_host/settings/setting_defaults.hpp>

#include <exception>
#include <fstream>
#include <iostream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace zant::program::setting_documents {
namespace {

constexpr const char* USAGE =
    "Usage: settings_documents [--packaged] example | uncommented | fill FILE\n\n"
    "  example      the example of a settings file\n"
    "  uncommented  the same with every setting in force\n"
    "  fill FILE    the file with its generated parts made anew\n\n"
    "With --packaged the paths are those of the packages, else those of this build.";

std::string read_document(const std::string& file) {
  std::ifstream stream(file, std::ios::binary);
  std::ostringstream text;
  text << stream.rdbuf();
  if (!stream) {
    throw std::invalid_argument("cannot read " + file);
  }
  return text.str();
}

std::string make_document(std::vector<std::string> words) {
  const bool is_packaged = !words.empty() && words.front() == "--packaged";
  if (is_packaged) {
    words.erase(words.begin());
  }
  const auto table = is_packaged ? packaged_table() : velmora_host::setting_table();
  const std::string settings_file = is_packaged ? "/etc/package-minder/package-minder.properties"
                                                : velmora_host::setting_defaults().settings_file;
  if (words == std::vector<std::string>{"example"}) {
    return example(table, settings_file, Example::COMMENTED);
  }
  if (words == std::vector<std::string>{"uncommented"}) {
    return example(table, settings_file, Example::IN_FORCE);
  }
  if (words.size() == 2 && words.front() == "fill") {
    return fill(read_document(words.back()), table);
  }
  throw std::invalid_argument(USAGE);
}

}  // namespace
}  // namespace zant::program::setting_documents

int main(int argc, char** argv) {
  try {
    std::cout << zant::program::setting_documents::make_document({argv + 1, argv + argc}) << std::flush;
    return std::cout ? 0 : 1;
  } catch (const std::exception& error) {
    std::cerr << error.what() << "\n";
    return 1;
  }
}
