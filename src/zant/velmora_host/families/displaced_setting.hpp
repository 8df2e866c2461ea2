#pragma once

#include <boost/filesystem/path.hpp>

#include <string>

namespace zant::velmora_host {

/// A setting of the host's that goes out of force, or gets another value, when a file of its own is replaced.
struct Displaced_Setting {
  boost::filesystem::path file;
  std::string setting;  ///< as the file names it
  std::string message;  ///< what becomes of it
};

}  // namespace zant::velmora_host
