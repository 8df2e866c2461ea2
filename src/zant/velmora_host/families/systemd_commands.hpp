#pragma once

#include <zant/velmora/host/filesystem.hpp>

#include <string>

/// Command lines about systemd units that several families share.
namespace zant::velmora_host::systemd_commands {

/// Succeeds when starting the unit would change nothing: it runs already, or the host has no systemd, where
/// the library repeats the start in every cycle and nobody can tell whether it would do anything.
inline std::string noop_check_of_start(const std::string& unit) {
  return "test ! -d /run/systemd/system || systemctl is-active --quiet " + unit;
}

/// Prints "enabled", "disabled", "masked" or another of systemd's words; succeeds when the unit starts with
/// the host.
inline std::string enabled_query_of(const std::string& unit) {
  return "systemctl is-enabled " + unit + " 2> /dev/null";
}

/// Whether systemd runs the host: without it no timer can be started, and that is no failure.
inline bool runs_host(velmora::Filesystem& filesystem) {
  return filesystem.read_file("/proc/1/comm", velmora::Read_Flag::WITHOUT_LINE_END) == "systemd";
}

}  // namespace zant::velmora_host::systemd_commands
