#pragma once

#include <zant/velmora_host/services/host_services.hpp>

#include <support/host_side/fake_host_filesystem.hpp>

#include <memory>
#include <string>
#include <vector>

namespace zant::velmora_host {

/// A host that a text describes: what its tools answer, and what its files hold.
///
/// The text has parts, and each begins with a line of its own: "%% /etc/hosts" before the text of a file, "%%
/// 1 systemctl show" before what is printed by each command line in which these words stand, which ends with
/// this exit code. The first part that fits counts. A tool that no part names is not installed.
class Host_In_Text {
 public:
  /// @param text parts; what stands before the first is nothing.
  /// @param base more of them, for what the text does not name.
  explicit Host_In_Text(const std::string& text, const std::string& base = "");

  Host_Services services;

 private:
  struct Part {
    std::string head;
    std::string body;
  };

  static std::vector<Part> parts_of(const std::string& text);
  void add_file_(const Part& part);

  std::shared_ptr<test_support::Fake_Host_Filesystem> files_ =
      std::make_shared<test_support::Fake_Host_Filesystem>();
};

/// The text of a file, such as a seed.
std::string text_of_file(const std::string& file);

}  // namespace zant::velmora_host
