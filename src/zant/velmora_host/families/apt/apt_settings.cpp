#include <zant/velmora_host/families/apt/apt_settings.hpp>

#include <zant/velmora_host/families/apt/outlook_tools.hpp>
#include <zant/velmora_host/families/apt/repository_pin.hpp>

#include <zant/velmora/apt/apt_constants.hpp>

#include <fmt/format.h>
#include <boost/algorithm/string/predicate.hpp>
#include <boost/algorithm/string/trim.hpp>

#include <algorithm>

namespace zant::velmora_host::apt_outlook {
namespace {

using boost::algorithm::iequals;
using boost::filesystem::path;
namespace APT_Constants = velmora::APT_Constants;

constexpr const char* MAIN_FILE = "/etc/apt/apt.conf";

// The names that a statement would have after the text, in the block that is open there and in those around
// it; empty when it would be no statement of its own.
std::vector<std::string> names_after(const std::string& text, std::size_t blocks) {
  std::string probes;
  for (std::size_t i = 0; i < blocks; ++i) {
    probes += "\nprobe \"1\";}";
  }
  const auto items = parse_apt_configuration(text + probes);
  std::vector<std::string> names;
  for (auto item = items.rbegin(); item != items.rend() && names.size() < blocks; ++item) {
    if (!boost::algorithm::ends_with(item->name, "probe") || item->value != "1") {
      return {};
    }
    names.push_back(item->name);
  }
  return names.size() < blocks ? std::vector<std::string>() : names;
}

// Whether the line can be taken out and leaves a file that APT can read: a directive, or whole statements.
bool is_of_its_own(const std::string& text, std::size_t number) {
  const auto blocks = static_cast<std::size_t>(std::count(text.begin(), text.end(), '{')) + 1;
  std::string before;
  std::size_t count = 0;
  for (const auto& line : lines_of(text)) {
    if (++count < number) {
      before += line + "\n";
      continue;
    }
    const auto names = names_after(before, blocks);
    const bool is_directive = boost::algorithm::trim_copy(line).starts_with('#');
    return !names.empty() && (is_directive || names_after(before + line, blocks) == names);
  }
  return false;
}

std::string line_of(const std::string& text, std::size_t number) {
  const auto lines = lines_of(text);
  return number >= 1 && number <= lines.size() ? boost::algorithm::trim_copy(lines[number - 1]) : "";
}

}  // namespace

std::string Place::evidence() const {
  return fmt::format("{}:{}: {}", file.string(), line, text);
}

APT_Settings::APT_Settings(const std::string& dump, Host_Filesystem& filesystem)
    : items_(parse_apt_configuration(dump)) {
  std::vector<path> paths;
  for (const char* const extension : {"", ".conf"}) {
    for (const auto& file : filesystem.list_files(APT_Constants::APT_GLOBAL_CONFIG_DIR, extension)) {
      if (!boost::algorithm::starts_with(file.filename().string(), ".")) {
        paths.push_back(file);
      }
    }
  }
  std::sort(paths.begin(), paths.end(),
            [](const path& a, const path& b) { return a.filename().string() < b.filename().string(); });
  paths.emplace_back(MAIN_FILE);
  for (const auto& file : paths) {
    files_.push_back({file, filesystem.read_file(file, velmora::Read_Flag::WHOLE_TEXT)});
  }
}

std::optional<std::string> APT_Settings::value(const std::string& name) const {
  const auto found =
      std::find_if(items_.rbegin(), items_.rend(),
                   [&name](const APT_Configuration_Item& item) { return iequals(item.name, name); });
  return found == items_.rend() ? std::nullopt : std::optional(found->value);
}

std::vector<std::string> APT_Settings::values(const std::string& name) const {
  std::vector<std::string> values;
  for (const auto& item : items_) {
    if (iequals(item.name, name)) {
      values.push_back(item.value);
    }
  }
  return values;
}

std::optional<Place> APT_Settings::place_of(const std::string& name, const std::string& value) const {
  for (auto file = files_.rbegin(); file != files_.rend(); ++file) {
    const auto items = parse_apt_configuration(file->text);
    const auto found = std::find_if(items.rbegin(), items.rend(), [&](const APT_Configuration_Item& item) {
      return item.value == value && (iequals(item.name, name) || iequals(item.name, name + "::"));
    });
    if (found != items.rend()) {
      return Place{file->path, found->line, line_of(file->text, found->line)};
    }
  }
  return std::nullopt;
}

std::optional<Place> APT_Settings::place_of_clearing(const std::string& name) const {
  for (auto file = files_.rbegin(); file != files_.rend(); ++file) {
    const auto lines = lines_of(file->text);
    for (std::size_t number = lines.size(); number >= 1; --number) {
      const std::string line = boost::algorithm::trim_copy(lines[number - 1]);
      if (!boost::algorithm::starts_with(line, "#clear")) {
        continue;
      }
      const std::string cleared = boost::algorithm::trim_copy_if(
          line.substr(6), [](char c) { return c == ' ' || c == '\t' || c == ';'; });
      if (!cleared.empty() && boost::algorithm::istarts_with(name, cleared)) {
        return Place{file->path, number, line};
      }
    }
  }
  return std::nullopt;
}

std::string APT_Settings::evidence(const std::string& name, const std::string& value) const {
  const auto place = place_of(name, value);
  return place ? place->evidence() : fmt::format("apt-config dump: {} \"{}\";", name, value);
}

std::string APT_Settings::without(const std::optional<Place>& place, const std::string& otherwise) const {
  if (!place) {
    return otherwise;
  }
  if (is_kept_by_library(place->file)) {
    return "package-minder once";
  }
  const auto file = std::find_if(files_.begin(), files_.end(),
                                 [&place](const auto& candidate) { return candidate.path == place->file; });
  return file != files_.end() && is_of_its_own(file->text, place->line)
             ? fmt::format("sed -i '{}s|^|//|' {}", place->line, quoted(place->file.string()))
             : otherwise;
}

path directory_named(const std::string& value) {
  path directory = value;
  if (!directory.is_absolute()) {
    directory = path("/") / directory;
  }
  return directory.filename() == "." ? directory.parent_path() : directory;
}

bool is_kept_by_library(const path& file) {
  const auto& names = APT_Constants::UNATTENDED_UPGRADE_SERVICE_FILENAMES;
  return file == Repository_Pin::FILE || file == APT_Constants::SOURCE_LIST_PATH ||
         (file.parent_path() == APT_Constants::APT_GLOBAL_CONFIG_DIR &&
          std::find(names.begin(), names.end(), file.filename().string()) != names.end());
}

}  // namespace zant::velmora_host::apt_outlook
