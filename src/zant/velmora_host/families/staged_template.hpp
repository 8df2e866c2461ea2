#pragma once

#include <zant/velmora_host/staging/staging_layout.hpp>

#include <fmt/format.h>
#include <boost/filesystem/path.hpp>

#include <string>

namespace zant::velmora_host {

/// Requires that no value is written wider than 999 characters, which no file of the host needs and which
/// could take all of its memory.
///
/// @throws fmt::format_error otherwise.
void require_narrow_placeholders(const std::string& text);

/// A template in "config-files/FAMILY/templates", which the library fills with values of these types.
template <typename... Values>
Staged_Template staged_template(const char* family, const std::string& name, Values... values) {
  return {boost::filesystem::path("config-files") / family / "templates" / (name + ".template"),
          [=](const std::string& text) {
            require_narrow_placeholders(text);
            static_cast<void>(fmt::format(fmt::runtime(text), values...));
          }};
}

}  // namespace zant::velmora_host
