#pragma once

#include <map>
#include <string>
#include <vector>

namespace zant::velmora_host {

/// The environment that every command gets, as "NAME=value" texts: what
/// `Command_Service::Options::environment` describes, with `additional` winning over all else.
std::vector<std::string> make_command_environment(const std::map<std::string, std::string>& additional);

}  // namespace zant::velmora_host
