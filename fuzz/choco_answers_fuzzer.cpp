// What the tools of a Windows host answer: whatever that is, it is found out what becomes of the package, or
// told why that is not known.

#include <fuzz/fuzzer.hpp>
#include <fuzz/host_in_text.hpp>
#include <fuzz/told_outlook.hpp>

#include <zant/velmora_host/families/choco/base_directory_check.hpp>
#include <zant/velmora_host/families/choco/choco_outlook.hpp>

using namespace zant::velmora_host;

// In place of Windows' own.
boost::filesystem::path zant::velmora_host::choco_program(const Settings& /*settings*/) {
  return "C:/ProgramData/chocolatey/choco.exe";
}

void try_input(const std::string& input) {
  static const std::string healthy = text_of_file(SEEDS "/healthy");
  const Host_In_Text host(input, healthy);
  auto question = question_of(host.services);
  question.online = host.services.filesystem->exists("/online");
  require_tellable(choco_outlook::find(question));
}
