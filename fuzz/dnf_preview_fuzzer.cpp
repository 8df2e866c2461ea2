// What the program answers that asks DNF's own modules, on a host where all else is well: repeated from
// repositories, files and others' code, it is understood or named as not understood.

#include <fuzz/fuzzer.hpp>
#include <fuzz/host_in_text.hpp>
#include <fuzz/told_outlook.hpp>

#include <zant/velmora_host/families/dnf/dnf_family.hpp>

using namespace zant::velmora_host;

void try_input(const std::string& input) {
  static const std::string healthy = text_of_healthy_host(DNF_Family(), SEEDS "/../dnf_answers/healthy");
  const Host_In_Text host("%% 0 interpreter=\n" + input, healthy);
  try_outlook_of(DNF_Family(), host.services);
}
