#pragma once

#include <zant/velmora_host/families/upgrade_outlook.hpp>

#include <boost/filesystem/path.hpp>

#include <string>

namespace zant::velmora_host::apt_outlook {

/// What keeps every command of APT's from working: configuration, sources, preferences or lists that it
/// cannot read. The daily jobs end without a word when "apt-get check" fails.
struct APT_Health {
  std::string dump;  ///< of the configuration in force
  bool can_work = true;
  Causes causes;
};

/// @param configuration a file of APT settings for questions, which win over the host's.
APT_Health find_apt_health(const Outlook_Question& question, const boost::filesystem::path& configuration);

}  // namespace zant::velmora_host::apt_outlook
