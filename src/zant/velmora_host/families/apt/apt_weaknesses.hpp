#pragma once

#include <zant/velmora_host/base/finding.hpp>
#include <zant/velmora_host/services/host_services.hpp>

#include <boost/filesystem/path.hpp>

#include <chrono>
#include <string>

namespace zant::velmora_host {

/// Options of a source list that have APT accept what is not signed, or signed weakly.
Findings find_weak_list_options(const boost::filesystem::path& file, const std::string& list);

/// The same in APT's configuration, and what keeps it from knowing its servers.
///
/// @param dump what "apt-config dump" prints.
/// @param url  of the repository.
Findings find_weak_apt_configuration(const std::string& dump, const std::string& url);

/// Whether APT refused the repository's index when it last asked for it, and whether that was long ago. Runs
/// commands that only look, and need no network.
///
/// @param keyring that the index is to be verified with.
Findings find_apt_refresh_faults(const Host_Services& services, const std::string& url,
                                 const std::string& suite, const boost::filesystem::path& keyring,
                                 std::chrono::system_clock::time_point now);

}  // namespace zant::velmora_host
