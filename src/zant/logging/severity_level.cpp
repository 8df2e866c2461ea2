#include <zant/logging/severity_level.hpp>

#include <array>
#include <cstddef>
#include <ostream>

namespace zant::logging {
namespace {

constexpr std::array<std::string_view, 7> NAMES = {"trace",   "debug", "info", "notice",
                                                   "warning", "error", "fatal"};

}  // namespace

std::string_view to_string(severity_level level) noexcept {
  const auto index = static_cast<std::size_t>(level);
  return index < NAMES.size() ? NAMES[index] : std::string_view();
}

std::optional<severity_level> severity_level_from_string(std::string_view name) noexcept {
  for (std::size_t index = 0; index < NAMES.size(); ++index) {
    if (NAMES[index] == name) {
      return static_cast<severity_level>(index);
    }
  }
  return std::nullopt;
}

std::ostream& operator<<(std::ostream& stream, severity_level level) {
  const std::string_view name = to_string(level);
  if (name.empty()) {
    return stream << static_cast<std::uint32_t>(level);
  }
  return stream << name;
}

}  // namespace zant::logging
