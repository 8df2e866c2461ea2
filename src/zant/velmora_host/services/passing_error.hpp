#pragma once

#include <boost/filesystem/path.hpp>

#include <algorithm>
#include <array>
#include <string>
#include <system_error>

namespace zant::velmora_host {

/// Whether an error of the operating system may be gone at the next try, without anybody having corrected a
/// setting, a file or a permission: what a service must not end for good over.
inline bool is_passing(const std::error_code& error) {
  static constexpr std::array PASSING = {
      std::errc::device_or_resource_busy,
      std::errc::file_too_large,
      std::errc::interrupted,
      std::errc::io_error,
      std::errc::no_space_on_device,
      std::errc::not_enough_memory,
      std::errc::read_only_file_system,
      std::errc::resource_unavailable_try_again,
      std::errc::too_many_files_open,
      std::errc::too_many_files_open_in_system,
  };
  return std::any_of(PASSING.begin(), PASSING.end(),
                     [&error](std::errc passing) { return error == passing; });
}

/// @param what could not be done to the path, for the message: "look for" and the like.
/// @throws std::system_error when the error is a passing one.
inline void throw_if_passing(const std::error_code& error, const std::string& what,
                             const boost::filesystem::path& path) {
  if (is_passing(error)) {
    throw std::system_error(error, "cannot " + what + " " + path.string());
  }
}

}  // namespace zant::velmora_host
