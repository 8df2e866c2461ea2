#pragma once

#include <zant/velmora_host/export.hpp>

#include <chrono>
#include <string>

namespace zant::velmora_host {

/// "2026-01-31T03:00:00Z".
PACKAGE_MINDER_HOST_EXPORT std::string to_iso_time(std::chrono::system_clock::time_point time);

/// The time that such a text names.
///
/// @throws Poco::Exception when it names none, or one that the clock cannot hold.
std::chrono::system_clock::time_point parse_iso_time(const std::string& text);

}  // namespace zant::velmora_host
