#include <zant/velmora_host/families/apt/displaced_settings.hpp>

#include <zant/velmora_host/families/apt/apt_configuration.hpp>

#include <fmt/format.h>
#include <boost/algorithm/string/classification.hpp>
#include <boost/algorithm/string/predicate.hpp>
#include <boost/algorithm/string/replace.hpp>
#include <boost/algorithm/string/split.hpp>
#include <boost/algorithm/string/trim.hpp>

#include <algorithm>
#include <map>

namespace zant::velmora_host {
namespace {

using Items = std::vector<APT_Configuration_Item>;
using boost::algorithm::iequals;

constexpr const char* ORIGINS = "Unattended-Upgrade::Origins-Pattern::";
// "ORIGIN:ARCHIVE", which says the same in another way.
constexpr const char* ALLOWED_ORIGINS = "Unattended-Upgrade::Allowed-Origins::";

// One way of writing for all that mean the same: whole names of the fields, in their alphabetical order.
std::string normalized_pattern(const std::string& pattern) {
  static const std::map<std::string, std::string> names = {{"o", "origin"},    {"l", "label"},
                                                           {"a", "archive"},   {"suite", "archive"},
                                                           {"c", "component"}, {"n", "codename"}};
  std::vector<std::string> fields;
  boost::algorithm::split(fields, pattern, boost::algorithm::is_any_of(","));
  for (auto& field : fields) {
    boost::algorithm::trim(field);
    const std::size_t separator = field.find('=');
    if (const auto name = names.find(field.substr(0, separator)); name != names.end()) {
      field.replace(0, separator, name->second);
    }
  }
  std::sort(fields.begin(), fields.end());
  return fmt::format("{}", fmt::join(fields, ","));
}

APT_Configuration_Item normalized(APT_Configuration_Item item, const std::string& distribution) {
  if (iequals(item.name, ALLOWED_ORIGINS)) {
    item.name = ORIGINS;
    const std::size_t separator = item.value.find(':');
    if (separator != std::string::npos) {
      item.value =
          "origin=" + item.value.substr(0, separator) + ",archive=" + item.value.substr(separator + 1);
    }
  }
  if (iequals(item.name, ORIGINS)) {
    boost::algorithm::replace_all(item.value, "${distro_id}", distribution);
    item.value = normalized_pattern(item.value);
  }
  return item;
}

bool is_same(const APT_Configuration_Item& first, const APT_Configuration_Item& second) {
  return iequals(first.name, second.name) && first.value == second.value;
}

bool has(const Items& items, const APT_Configuration_Item& item, const std::string& distribution) {
  const auto wanted = normalized(item, distribution);
  return std::any_of(items.begin(), items.end(), [&](const APT_Configuration_Item& other) {
    return is_same(normalized(other, distribution), wanted);
  });
}

const APT_Configuration_Item* find_last(const Items& items, const std::string& name) {
  const auto found = std::find_if(items.rbegin(), items.rend(),
                                  [&name](const auto& item) { return iequals(item.name, name); });
  return found == items.rend() ? nullptr : &*found;
}

// Daily as the jobs' timers are.
bool is_daily(const std::string& value) {
  return value == "1" || value == "always";
}

bool has_same_effect(const APT_Configuration_Item& item, const APT_Configuration_Item& other) {
  return boost::algorithm::istarts_with(item.name, "APT::Periodic::") && is_daily(item.value) &&
         is_daily(other.value);
}

std::string shown_name(const APT_Configuration_Item& item) {
  return item.is_list_entry() ? item.name.substr(0, item.name.size() - 2) : item.name;
}

}  // namespace

std::vector<std::pair<std::string, std::string>> find_displaced_apt_settings(
    const std::string& before, const std::string& after, const std::vector<std::string>& later_files,
    const std::string& distribution) {
  const Items theirs = parse_apt_configuration(before);
  const Items ours = parse_apt_configuration(after);
  Items later;
  for (const auto& file : later_files) {
    const Items more = parse_apt_configuration(file);
    later.insert(later.end(), more.begin(), more.end());
  }
  std::vector<std::pair<std::string, std::string>> displaced;
  for (const auto& item : theirs) {
    if (has(ours, item, distribution) || has(later, item, distribution)) {
      continue;
    }
    const auto* const successor = item.is_list_entry() ? nullptr : find_last(ours, item.name);
    if (successor == nullptr) {
      displaced.emplace_back(shown_name(item),
                             fmt::format("{} \"{}\" goes out of force", shown_name(item), item.value));
    } else if (!has_same_effect(item, *successor)) {
      displaced.emplace_back(
          item.name, fmt::format("{} \"{}\" becomes \"{}\"", item.name, item.value, successor->value));
    }
  }
  for (const auto& item : ours) {
    const bool is_of_distribution =
        iequals(item.name, ORIGINS) && boost::algorithm::istarts_with(item.value, "origin=" + distribution);
    if (is_of_distribution && !has(theirs, item, distribution)) {
      displaced.emplace_back(shown_name(item),
                             fmt::format("{} gets \"{}\", from which nothing was upgraded unattended before",
                                         shown_name(item), item.value));
    }
  }
  return displaced;
}

}  // namespace zant::velmora_host
