#pragma once

#include <zant/velmora_host/settings/setting_table.hpp>

#include <stdexcept>
#include <string>

/// What is shipped in words about the settings, made from their table.
namespace zant::program::setting_documents {

/// The table of what the packages contain: paths below /usr, /etc and /var, whatever this build's are.
velmora_host::Setting_Table packaged_table();

enum class Example {
  COMMENTED,  ///< each setting behind a "#", as it is shipped
  IN_FORCE,   ///< the same without these "#"
};

/// The example of a settings file for POSIX systems.
///
/// @param settings_file where the file is looked for.
std::string example(const velmora_host::Setting_Table& table, const std::string& settings_file, Example kind);

/// Puts the parts that are made from the table into a document, between the lines that say "generated:
/// settings PART" and "end of generated". The parts are "table GROUP" and "list GROUP" in Markdown, with the
/// groups program, apt, dnf and choco, and "completion" for bash.
///
/// @throws std::invalid_argument for an unknown part, or one without an end.
std::string fill(const std::string& document, const velmora_host::Setting_Table& table);

}  // namespace zant::program::setting_documents
