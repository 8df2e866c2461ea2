// What the tools of a host of the RHEL family answer and what its files hold: whatever that is, it is found
// out what becomes of the package, or told why that is not known.

#include <fuzz/fuzzer.hpp>
#include <fuzz/host_in_text.hpp>
#include <fuzz/told_outlook.hpp>

#include <zant/velmora_host/families/dnf/dnf_family.hpp>
#include <zant/velmora_host/families/minded_host.hpp>

using namespace zant::velmora_host;

void try_input(const std::string& input) {
  static const std::string healthy = text_of_healthy_host(DNF_Family(), SEEDS "/healthy");
  const Host_In_Text host(input, healthy);
  const DNF_Family family;
  const auto init = find_init(*host.services.filesystem);
  family.find_versions(host.services, usual_settings());
  family.find_weaknesses(usual_settings(), host.services, init);
  family.trusted_keys(host.services);
  family.read_installed_keys(host.services);
  Check_Report report;
  family.check(usual_settings(), host.services, init, report);
  // The name of a file says what no answer can.
  try_outlook_of(family, host.services, host.services.filesystem->exists("/online"));
}
