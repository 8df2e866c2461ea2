#pragma once

#include <nlohmann/json_fwd.hpp>

#include <string>

/// The JSON documents: objects that name their format and version.
namespace zant::velmora_host::json_document {

/// Keeps its members in the order in which they were added.
using Json = nlohmann::ordered_json;

/// A document of this kind ("status", "plan", "check"), with "format" and "version" only.
Json make(const std::string& kind);

/// The text as a member of a document; null when it is empty.
Json text_or_null(const std::string& text);

/// The text to print. Bytes that are not UTF-8 are replaced: the text is valid JSON whatever a command line
/// printed.
std::string text_of(const Json& document);

}  // namespace zant::velmora_host::json_document
