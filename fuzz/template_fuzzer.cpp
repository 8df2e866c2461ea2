// A template of the staging tree, which a vendor's engineer has written: it is refused when the tree is
// judged, or rendered by the library, and values never count as parts of a format.

#include <fuzz/fuzzer.hpp>
#include <support/fake_filesystem.hpp>

#include <zant/velmora_host/families/staged_template.hpp>

#include <zant/velmora/file_generation/template_manager.hpp>

#include <memory>
#include <string>

using namespace zant::velmora;
using zant::velmora_host::staged_template;
using namespace zant::velmora::test_support;

namespace {

// What is filled up with, too, is a character of up to four bytes.
constexpr std::size_t LONGEST_VALUE = 4 * 999;

}  // namespace

void try_input(const std::string& input) {
  const auto files = std::make_shared<Fake_Filesystem>();
  files->add_file("/staging/templates/fuzzed.template", input);
  const Template_Manager templates(files, "/staging");
  const std::string value = "{}{:d}{5}";
  try {
    staged_template("apt", "fuzzed", value, value, value).fill(input);
  } catch (const fmt::format_error&) {
    return;
  }
  templates.generate_file("fuzzed", value, value, value);
  require(files->contents("/staging/fuzzed").value().size() <= LONGEST_VALUE * (input.size() + 1));
}
