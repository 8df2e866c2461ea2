// A template of the staging tree, which a vendor's engineer has written: it is rendered, or refused with an
// error, and values never count as parts of a format.

#include <fuzz/fuzzer.hpp>
#include <support/fake_filesystem.hpp>

#include <zant/velmora/file_generation/template_manager.hpp>

#include <memory>
#include <stdexcept>

using namespace zant::velmora;
using namespace zant::velmora::test_support;

void try_input(const std::string& input) {
  const auto files = std::make_shared<Fake_Filesystem>();
  files->add_file("/staging/templates/fuzzed.template", input);
  const Template_Manager templates(files, "/staging");
  const std::string value = "{}{:d}{5}";
  try {
    templates.generate_file("fuzzed", value, value, value);
  } catch (const std::runtime_error&) {
    require(!files->has("/staging/fuzzed"));
    return;
  }
  require(files->has("/staging/fuzzed"));
}
