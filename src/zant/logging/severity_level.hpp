#pragma once

#include <zant/logging/export.hpp>

#include <cstdint>
#include <iosfwd>
#include <optional>
#include <string_view>

namespace zant::logging {

/// How grave a record is, in increasing order. The numbers are stable: they are what filters and sinks of a
/// program compare, and they cross library boundaries.
///
/// Exported because Boost.Log matches attribute values by type across shared libraries.
enum class ZANT_LOGGING_EXPORT_ENUM severity_level : std::uint32_t {
  trace = 0,    ///< fine progress of a background worker
  debug = 1,    ///< lifecycle, and the success of a routine step
  info = 2,     ///< what a program tells its operator about itself
  notice = 3,   ///< an action taken on the host, or a notable finding
  warning = 4,  ///< a condition that keeps a feature from working
  error = 5,    ///< a failure
  fatal = 6,    ///< the program cannot go on
};

/// The level's name as above, or an empty text for a value outside the scale.
ZANT_LOGGING_EXPORT std::string_view to_string(severity_level level) noexcept;

/// The level of that name (lower case, as above), or nothing.
ZANT_LOGGING_EXPORT std::optional<severity_level> severity_level_from_string(std::string_view name) noexcept;

/// Writes the name, or the number of a value outside the scale; what Boost.Log's formatters use.
ZANT_LOGGING_EXPORT std::ostream& operator<<(std::ostream& stream, severity_level level);

}  // namespace zant::logging
