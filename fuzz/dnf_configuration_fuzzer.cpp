// DNF's configuration and repository files, which administrators and their tools write: a repository file
// that does not limit what comes from it is put right by one cycle, or left alone by this one and the next.

#include <fuzz/fuzzer.hpp>
#include <fuzz/require.hpp>

#include <zant/velmora_host/families/dnf/included_packages.hpp>
#include <zant/velmora_host/families/dnf/repository_files.hpp>

#include <support/host_side/fake_host_filesystem.hpp>

#include <memory>

using namespace zant::velmora_host;
using namespace zant::velmora::test_support;

namespace {

constexpr const char* INSTALLED = "/etc/yum.repos.d/quorvane.repo";
constexpr const char* ADDRESS = "https://repo.velmora.example/velmora-yum-repo/repos/systemd-production";

// Once as the vendor's template and once as the installed file.
void try_limit(const std::string& input, const std::vector<std::string>& patterns) {
  const auto host = std::make_shared<zant::velmora_host::test_support::Fake_Host_Filesystem>();
  auto& files = host->fake();
  files.add_file("/staging/config-files/dnf/templates/quorvane.repo.template", input);
  files.add_file("/staging/config-files/dnf/quorvane.repo", "[quorvane]\nincludepkgs=zant-velmora zant-*\n");
  files.add_file(INSTALLED, input);
  Included_Packages limit(host, patterns, "/staging");
  limit.prepare_templates();
  if (!patterns.empty()) {
    const auto filled = files.contents("/staging/config-files/dnf/templates/quorvane.repo.template");
    require(included_packages_are(*filled, patterns));
  }
  limit.set_up_if_necessary();
  const auto after_one_cycle = files.contents(INSTALLED);
  require(patterns.empty() || included_packages_are(*after_one_cycle, patterns));
  limit.set_up_if_necessary();
  require(files.contents(INSTALLED) == after_one_cycle);
}

}  // namespace

void try_input(const std::string& input) {
  Fake_Filesystem files;
  files.add_file(INSTALLED, input);
  files.add_file("/etc/yum.repos.d/other.repo", input);
  for (const auto& finding : find_other_repository_files(files, ADDRESS)) {
    require(finding.where == "/etc/yum.repos.d/other.repo");
  }
  excludes_packages(input);
  find_weak_options(input, input);
  try_limit(input, {"zant-velmora", "zant-*"});
  try_limit(input, {});
}
