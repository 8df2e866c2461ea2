#pragma once

#include <map>
#include <string>

namespace zant::velmora_host {

/// The environment that every command gets, as CreateProcessW takes it: that of this process, with
/// `additional` winning over it.
///
/// @throws std::system_error when the environment of this process cannot be read.
std::wstring make_command_environment(const std::map<std::string, std::string>& additional);

}  // namespace zant::velmora_host
