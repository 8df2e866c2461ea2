#pragma once

#include <boost/algorithm/string/trim.hpp>

#include <string>

namespace zant::velmora_host {

/// Whether two addresses are one repository's: package managers take an address with and without slashes at
/// its end for the same.
inline bool is_same_address(const std::string& first, const std::string& second) {
  const auto without_slashes = [](const std::string& address) {
    return boost::algorithm::trim_right_copy_if(address, [](char character) { return character == '/'; });
  };
  return without_slashes(first) == without_slashes(second);
}

}  // namespace zant::velmora_host
