#pragma once

#include <functional>
#include <string>

namespace zant::velmora_host {

/// What a setting may be.
struct Setting_Rule {
  std::string key;

  /// What would be right, for a value that is not; empty for a value that is.
  std::function<std::string(const std::string&)> find_fault;
};

/// The rule for a key; null when nobody knows the key.
const Setting_Rule* find_setting_rule(const std::string& key);

/// The keys, for a message about one that nobody knows: those of its group if it has one, else all.
std::string known_setting_keys(const std::string& unknown_key);

/// What is wrong with a text of package origins, entries separated by ";", in the eyes of
/// unattended-upgrades, which one bad entry keeps from upgrading anything; empty when nothing is.
std::string find_origins_fault(const std::string& origins);

}  // namespace zant::velmora_host
