#pragma once

#include <nlohmann/json_fwd.hpp>

#include <string>
#include <vector>

/// What the reports look like to programs: JSON objects that say what they are.
namespace zant::velmora_host::json_document {

/// Keeps its members in the order in which they were added.
using Json = nlohmann::ordered_json;

/// A report of this kind ("status", "plan", "check") with nothing in it yet but "format" and "version".
Json make(const std::string& kind);

/// The report in whose place nothing but the reason can be given.
///
/// @param code        for programs, such as "bad_settings".
/// @param exit_status what the program exits with.
Json make_failure(const std::string& kind, const std::string& code, int exit_status,
                  const std::vector<std::string>& messages);

/// As it is printed. Bytes that are no UTF-8 are replaced: the text is valid JSON whatever a command printed.
std::string text_of(const Json& document);

}  // namespace zant::velmora_host::json_document
