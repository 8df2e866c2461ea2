#pragma once

#include <string>

namespace zant::velmora_host {

/// Whether a command line, anywhere in it, has a package manager install, upgrade or remove packages. Such a
/// command must not be ended half-way. Errs towards true: the price is a missing time limit.
bool changes_packages(const std::string& command);

}  // namespace zant::velmora_host
