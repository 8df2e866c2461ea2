#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <stdexcept>
#include <string_view>
#include <utility>

namespace zant::velmora_host {

/// The one table that turns the values of an enumeration into words and back.
template <typename Value, std::size_t Size>
using Enum_Names = std::array<std::pair<Value, const char*>, Size>;

/// @throws std::logic_error for a value that the table does not have.
template <typename Value, std::size_t Size>
const char* name_of(const Enum_Names<Value, Size>& names, Value value) {
  for (const auto& [candidate, name] : names) {
    if (candidate == value) {
      return name;
    }
  }
  throw std::logic_error("Invalid enumeration value");
}

/// The value of that name; nothing for any other text.
template <typename Value, std::size_t Size>
std::optional<Value> value_of(const Enum_Names<Value, Size>& names, std::string_view name) {
  for (const auto& [value, candidate] : names) {
    if (candidate == name) {
      return value;
    }
  }
  return std::nullopt;
}

}  // namespace zant::velmora_host
