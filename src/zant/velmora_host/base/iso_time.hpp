#pragma once

#include <zant/velmora_host/export.hpp>

#include <chrono>
#include <optional>
#include <string>

namespace zant::velmora_host {

/// "2026-01-31T03:00:00Z".
PACKAGE_MINDER_HOST_EXPORT std::string to_iso_time(std::chrono::system_clock::time_point time);

/// "2026-01-31".
std::string to_iso_day(std::chrono::system_clock::time_point time);

/// The time so many seconds after the beginning of 1970. Nothing when it is before that, or so late that the
/// clock could not hold what is reckoned from it.
std::optional<std::chrono::system_clock::time_point> time_since_epoch(long long seconds);

/// The time that such a text names.
///
/// @throws Poco::Exception when it names none, one before 1900, or one that is too late for
/// `time_since_epoch`.
std::chrono::system_clock::time_point parse_iso_time(const std::string& text);

}  // namespace zant::velmora_host
