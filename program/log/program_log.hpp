#pragma once

#include <zant/logging/severity_level.hpp>

#include <string>

namespace zant::program {

/// Logs under the program's own channel, "package-minder".
void log_message(zant::logging::severity_level severity, const std::string& message);

}  // namespace zant::program
