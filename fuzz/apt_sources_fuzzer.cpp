// A source list or a file of preferences, which anybody's tool may have written: addresses are words, and a
// record that we would have an administrator delete has lines.

#include <fuzz/fuzzer.hpp>

#include <zant/velmora_host/families/apt/apt_weaknesses.hpp>
#include <zant/velmora_host/families/apt/outlook_tools.hpp>
#include <zant/velmora_host/families/apt/package_pins.hpp>
#include <zant/velmora_host/families/apt/repository_pin.hpp>
#include <zant/velmora_host/families/apt/source_lists.hpp>

#include <support/fake_filesystem.hpp>

using namespace zant::velmora_host;
using namespace zant::velmora::test_support;

namespace {

constexpr const char* URL = "https://repo.velmora.example/velmora-apt-repo/";

void try_source_list(const std::string& input) {
  Fake_Filesystem files;
  for (const char* const name : {"/etc/apt/sources.list", "/etc/apt/sources.list.d/a.list",
                                 "/etc/apt/sources.list.d/b.sources", "/etc/apt/sources.list.d/c.other"}) {
    files.add_file(name, input);
  }
  for (const auto& [file, url] : find_other_urls(files)) {
    require(file.extension() != ".other");
    require(!url.empty() && url.find_first_of(" \t\n") == std::string::npos);
  }
  find_other_source_lists(files, URL, "systemd-production");
  for (const auto& url : urls_of_source_list(input)) {
    require(!url.empty() && url.find_first_of(" \t\n") == std::string::npos);
    site_of(url);
  }
  find_weak_list_options("/etc/apt/sources.list.d/a.list", input);
}

void try_preferences(const std::string& input) {
  const auto pin = apt_outlook::find_pin(input, "zant-velmora");
  if (pin) {
    require(pin->first_line >= 1 && pin->first_line <= pin->last_line);
    require(pin->last_line <= apt_outlook::lines_of(input).size());
    require(!pin->text.empty() && pin->text.find('\n') == std::string::npos);
  }
}

}  // namespace

void try_input(const std::string& input) {
  try_source_list(input);
  try_preferences(input);
}
