#pragma once

#include <zant/velmora_host/export.hpp>

#include <string>
#include <vector>

namespace zant::velmora_host {

/// The document that stands in a report's place when there is none, as JSON text.
///
/// @param kind        of the report: "status", "plan", "check" or "settings".
/// @param code        the reason for programs, such as "bad_settings".
/// @param exit_status what the program exits with.
/// @param messages    the reason for a person; one for each thing that is wrong.
PACKAGE_MINDER_HOST_EXPORT std::string failure_document(const std::string& kind, const std::string& code,
                                                        int exit_status,
                                                        const std::vector<std::string>& messages);

}  // namespace zant::velmora_host
