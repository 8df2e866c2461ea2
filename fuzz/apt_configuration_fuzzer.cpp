// APT's configuration, which administrators and other packages write: what is read of it means the same when
// it is written down, and a line that we would have an administrator take out takes its own settings along
// and no other.

#include <fuzz/fuzzer.hpp>
#include <fuzz/told_outlook.hpp>

#include <zant/velmora_host/families/apt/apt_configuration.hpp>
#include <zant/velmora_host/families/apt/apt_settings.hpp>
#include <zant/velmora_host/families/apt/apt_weaknesses.hpp>
#include <zant/velmora_host/families/apt/displaced_settings.hpp>
#include <zant/velmora_host/families/apt/outlook_tools.hpp>
#include <zant/velmora_host/families/apt/periodic_switches.hpp>
#include <zant/velmora_host/families/apt/upgrade_log.hpp>

#include <support/host_side/fake_host_filesystem.hpp>

#include <fmt/format.h>

#include <algorithm>
#include <vector>

using namespace zant::velmora_host;

namespace {

constexpr std::size_t MOST_PLACES = 8;
constexpr const char* FILE_NAME = "/etc/apt/apt.conf.d/50fuzzed";

using Items = std::vector<APT_Configuration_Item>;

bool are_same(const Items& first, const Items& second) {
  return std::equal(first.begin(), first.end(), second.begin(), second.end(),
                    [](const auto& a, const auto& b) { return a.name == b.name && a.value == b.value; });
}

std::string written(const Items& items) {
  std::string text;
  for (const auto& item : items) {
    text += fmt::format("\"{}\" \"{}\";\n", item.name, item.value);
  }
  return text;
}

std::string with_comment(const std::string& text, std::size_t number) {
  std::string result;
  std::size_t count = 0;
  for (const auto& line : apt_outlook::lines_of(text)) {
    result += (++count == number ? "//" + line : line) + "\n";
  }
  return result;
}

void try_place(const apt_outlook::APT_Settings& settings, const std::string& text, const Items& items,
               const APT_Configuration_Item& item) {
  const auto place = settings.place_of(item.name, item.value);
  require(place.has_value());
  const std::string remedy = settings.without(place, "");
  if (remedy.empty()) {
    return;
  }
  require(remedy == fmt::format("sed -i '{}s|^|//|' '{}'", place->line, FILE_NAME));
  Items others;
  std::copy_if(items.begin(), items.end(), std::back_inserter(others),
               [&place](const auto& other) { return other.line != place->line; });
  require(are_same(parse_apt_configuration(with_comment(text, place->line)), others));
}

void try_settings(const std::string& text, const Items& items) {
  test_support::Fake_Host_Filesystem files;
  files.fake().add_file(FILE_NAME, text);
  const apt_outlook::APT_Settings settings(written(items), files);
  for (std::size_t i = 0; i < std::min(items.size(), MOST_PLACES); ++i) {
    try_place(settings, text, items, items[i]);
    settings.place_of_clearing(items[i].name);
  }
  apt_outlook::upgrade_log_of(settings);
  require_tellable(apt_outlook::find_periodic_switches(settings));
}

}  // namespace

void try_input(const std::string& input) {
  const Items items = parse_apt_configuration(input);
  for (const auto& item : items) {
    require(!(is_apt_yes(item.value) && is_apt_no(item.value)));
  }
  require(are_same(parse_apt_configuration(written(items)), items));
  try_settings(input, items);
  require(find_displaced_apt_settings(input, input, {}, "Debian").empty());
  const std::size_t middle = input.find("\n\n");
  if (middle != std::string::npos) {
    find_displaced_apt_settings(input.substr(0, middle), input.substr(middle), {}, "Debian");
  }
  find_weak_apt_configuration(input, "https://repo.velmora.example/velmora-apt-repo/");
}
