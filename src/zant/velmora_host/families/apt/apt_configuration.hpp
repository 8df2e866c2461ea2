#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace zant::velmora_host {

/// An item of an APT configuration file, with its whole name; that of a list's entry ends in "::".
struct APT_Configuration_Item {
  std::string name;
  std::string value;
  std::size_t line = 0;  ///< where it ends, counted from 1

  bool is_list_entry() const { return name.ends_with("::"); }
};

/// The items of a configuration file, or of what "apt-config dump" prints, in their order. Directives
/// ("#include", "#clear") are skipped as comments; text that APT would refuse yields what can be read of it.
std::vector<APT_Configuration_Item> parse_apt_configuration(const std::string& text);

/// What APT takes for "yes" and for "no"; any other text is neither.
bool is_apt_yes(const std::string& value);
bool is_apt_no(const std::string& value);

}  // namespace zant::velmora_host
