#pragma once

#include <zant/velmora_host/families/upgrade_outlook.hpp>

#include <boost/filesystem/path.hpp>

#include <vector>

/// What becomes of the package in the next runs of the host's own upgrades.
namespace zant::velmora_host::choco_outlook {

/// As `Family::find_upgrade_outlook`.
Upgrade_Outlook find(const Outlook_Question& question);

/// As `Family::outlook_inputs`.
std::vector<boost::filesystem::path> inputs();

}  // namespace zant::velmora_host::choco_outlook
