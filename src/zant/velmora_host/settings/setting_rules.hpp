#pragma once

#include <functional>
#include <string>
#include <vector>

namespace zant::velmora_host {

/// What values a setting may have.
struct Setting_Rule {
  std::string type;                  ///< in words, for documents
  std::vector<std::string> choices;  ///< all values, where the list is closed; else empty

  /// What would be right, for a value that is not; empty for a value that is.
  std::function<std::string(const std::string&)> find_fault;
};

/// The rules that settings are judged by.
namespace setting_rules {

Setting_Rule whole_number(int smallest, int largest, const std::string& unit);
Setting_Rule truth_value();
Setting_Rule one_of(const std::vector<std::string>& choices);
Setting_Rule log_level();
Setting_Rule directory();
Setting_Rule metrics_file();

/// Addresses hold no credentials: they end up where everybody can read them.
Setting_Rule apt_url();
Setting_Rule dnf_url();

/// Of a key that a shell command fetches.
Setting_Rule key_url();

Setting_Rule channel();

/// May hold DNF's variables.
Setting_Rule dnf_channel();

/// Entries separated by ";". One bad entry keeps unattended-upgrades from upgrading anything.
Setting_Rule origins();

Setting_Rule throttle();
Setting_Rule calendar();
Setting_Rule time_span();

/// Patterns of package names, one of which allows the product's own package.
Setting_Rule package_name_patterns();

/// A part of a command line that cmd.exe reads, of this type.
Setting_Rule shell_words(const std::string& type);
Setting_Rule chocolatey_source();

}  // namespace setting_rules
}  // namespace zant::velmora_host
