#pragma once

#include <boost/filesystem/path.hpp>

#include <optional>
#include <string>

namespace zant::velmora_host {

/// A file that would be created, replaced or removed.
struct File_Change {
  boost::filesystem::path path;
  std::optional<std::string> before;  ///< empty when it is not there yet
  std::optional<std::string> after;   ///< empty when it goes
};

}  // namespace zant::velmora_host
