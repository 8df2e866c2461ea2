#pragma once

#include <zant/velmora_host/services/bounded_system.hpp>
#include <zant/velmora_host/services/command_service.hpp>

#include <support/captured_log.hpp>

#include <chrono>
#include <memory>

namespace zant::velmora_host::contract {

/// The command service, with the reasons of its failures kept out of the test's output.
class Command_Service_Host {
 public:
  velmora::System& system() { return system_; }

 private:
  velmora::test_support::Captured_Log log_;
  Command_Service system_{Command_Service::Options{}};
};

/// The same, under bounds that no command of the suite reaches.
class Bounded_Command_Service_Host {
 public:
  velmora::System& system() { return system_; }

 private:
  velmora::test_support::Captured_Log log_;
  Bounded_System system_{std::make_shared<Command_Service>(Command_Service::Options{}),
                         {std::chrono::steady_clock::now() + std::chrono::minutes(5), [] { return false; }}};
};

}  // namespace zant::velmora_host::contract
