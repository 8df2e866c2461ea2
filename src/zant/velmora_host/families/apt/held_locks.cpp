#include <zant/velmora_host/families/apt/held_locks.hpp>

#include <zant/velmora_host/families/held_locks.hpp>

namespace zant::velmora_host::apt_outlook {

Causes find_held_locks(const Outlook_Question& question) {
  static const Package_Locks locks = {
      {"/var/lib/dpkg/lock-frontend", "/var/lib/dpkg/lock", "/var/lib/apt/lists/lock",
       "/var/cache/apt/archives/lock", "/run/unattended-upgrades.lock"},
      {"/var/lib/apt/daily_lock"},
      {},
      {"apt", "dpkg", "unattended-upgr", "aptitude", "synaptic"},
      {"packagekitd", "package-minder"}};
  return velmora_host::find_held_locks(question, locks);
}

}  // namespace zant::velmora_host::apt_outlook
