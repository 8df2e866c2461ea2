#pragma once

#include <zant/velmora_host/base/check_report.hpp>
#include <zant/velmora_host/staging/keyring.hpp>

#include <zant/velmora/host/filesystem.hpp>

#include <boost/filesystem/path.hpp>

#include <chrono>
#include <vector>

namespace zant::velmora_host {

/// What is wrong with the keys that can sign, or soon will be.
Findings find_key_faults(const boost::filesystem::path& keyring, const std::vector<Signing_Key>& keys,
                         std::chrono::system_clock::time_point now);

/// Looks at the repository's keyring in a staging tree, and lists its keys.
void check_keyring(velmora::Filesystem& filesystem, const boost::filesystem::path& keyring,
                   Check_Report& report);

}  // namespace zant::velmora_host
