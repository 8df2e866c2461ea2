#pragma once

#include <zant/velmora_host/families/upgrade_outlook.hpp>

#include <string>

namespace zant::velmora_host::dnf_outlook {

/// What DNF's words mean when it could not fetch something from the repository.
///
/// @param address of the repository.
Cause cause_of_answer(const std::string& words, const std::string& address);

/// Whether such words speak of the network alone, which may be back in the next run.
bool speaks_of_network(const std::string& words);

}  // namespace zant::velmora_host::dnf_outlook
