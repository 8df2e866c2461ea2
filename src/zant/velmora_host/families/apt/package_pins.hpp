#pragma once

#include <cstddef>
#include <optional>
#include <string>

namespace zant::velmora_host::apt_outlook {

/// A record in a file of preferences.
struct Pin_Record {
  std::size_t first_line = 0;
  std::size_t last_line = 0;
  std::string text;  ///< its fields, on one line
};

/// The record that is about a package: the first that names it, else the first for all packages.
std::optional<Pin_Record> find_pin(const std::string& preferences, const std::string& package);

}  // namespace zant::velmora_host::apt_outlook
