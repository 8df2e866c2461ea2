#pragma once

#include <zant/velmora_host/settings/setting_defaults.hpp>
#include <zant/velmora_host/settings/setting_rules.hpp>

#include <optional>
#include <string>
#include <vector>

namespace zant::velmora_host {

/// What a setting is about.
enum class Setting_Group { PROGRAM, APT, DNF, CHOCOLATEY };

/// All that is known of one setting. The texts are Markdown; those that documents print are sentences.
struct Setting {
  std::string key;
  Setting_Group group;
  Setting_System system;  ///< where it has an effect; it is accepted everywhere
  Setting_Rule rule;
  std::string unit = {};  ///< "seconds"; empty where there is none

  /// What holds where nothing is set; empty where that is nothing, or is no value.
  std::string default_value = {};
  std::string default_without_systemd = {};  ///< where it differs from the above; else empty
  std::string default_note = {};             ///< the default in words, where the value does not tell all
  bool replaces_library_default = false;     ///< the library alone would take another value

  std::string meaning;      ///< for every document
  std::string detail = {};  ///< more, for the manual: what else must be true, and what a wrong value leads to

  /// An empty value means "not set", because no one value could say that: the default is nothing, or depends
  /// on the host.
  bool is_unset_when_empty() const { return default_value.empty() || !default_without_systemd.empty(); }
};

/// The settings, in the order of the documents. The parser's judgement, the defaults, the example file, the
/// manual and the completion are made from it.
class Setting_Table {
 public:
  explicit Setting_Table(const Setting_Defaults& defaults);

  const std::vector<Setting>& settings() const noexcept { return settings_; }

  /// Whether a setting has an effect on the kind of system that the table was made for.
  bool applies(const Setting& setting) const;

  /// Null when there is no such key.
  const Setting* find(const std::string& key) const;

  /// The known key that an unknown one was most likely meant to be; nothing when none is near.
  std::optional<std::string> nearest_key(const std::string& unknown_key) const;

 private:
  Setting_System system_;
  std::vector<Setting> settings_;
};

/// The table of this build.
const Setting_Table& setting_table();

}  // namespace zant::velmora_host
