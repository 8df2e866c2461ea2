// What the program answers that asks unattended-upgrade's own modules, on a host where all else is well:
// repeated from repositories, files and others' code, it is understood or named as not understood.

#include <fuzz/fuzzer.hpp>
#include <fuzz/host_in_text.hpp>
#include <fuzz/told_outlook.hpp>

#include <zant/velmora_host/families/apt/apt_family.hpp>

using namespace zant::velmora_host;

void try_input(const std::string& input) {
  static const std::string healthy = text_of_healthy_host(APT_Family(), SEEDS "/../apt_answers/healthy");
  const Host_In_Text host("%% 0 /usr/bin/python3 -I -B\n" + input, healthy);
  try_outlook_of(APT_Family(), host.services);
}
