#pragma once

#include <zant/velmora_host/families/apt/outlook_tools.hpp>
#include <zant/velmora_host/services/temporary_directory.hpp>

#include <support/host_side/debian_host.hpp>

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace zant::velmora_host::apt_outlook {

/// A host of which an outlook is asked, at 2026-11-22T12:00:00Z.
class Outlook_Example : public ::testing::Test {
 protected:
  /// What a command prints that is asked with a time limit.
  void answers(const std::string& command, int exit_code, const std::string& words = "") {
    host.system->on_like("LC_ALL=C timeout --kill-after=1 * " + command + " 2>&1", exit_code, words);
  }

  static std::vector<std::string> codes(const Causes& causes) {
    std::vector<std::string> codes;
    for (const auto& cause : causes) {
      codes.push_back((cause.effect == Cause_Effect::BLOCKS ? "blocks " : "obscures ") + cause.code);
    }
    return codes;
  }

  test_support::Debian_Host host;
  Settings settings = host.settings();
  Temporary_Directory directory;
  Outlook_Question question{
      settings,         host.services, velmora::Init::systemd,
      directory.path(), false,         std::chrono::system_clock::from_time_t(1795348800)};
};

}  // namespace zant::velmora_host::apt_outlook
