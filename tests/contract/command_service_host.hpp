#pragma once

#include <zant/velmora_host/services/command_service.hpp>

#include <support/captured_log.hpp>

namespace zant::velmora_host::contract {

/// The command service, with the reasons of its failures kept out of the test's output.
class Command_Service_Host {
 public:
  velmora::System& system() { return system_; }

 private:
  velmora::test_support::Captured_Log log_;
  Command_Service system_{Command_Service::Options{}};
};

}  // namespace zant::velmora_host::contract
