#pragma once

#include <standalone_host/observation/cycle_recorder.hpp>
#include <standalone_host/observation/cycle_watch.hpp>

#include <zant/velmora/host/system.hpp>

#include <memory>
#include <string>

namespace zant::velmora::standalone_host {

/// A command service that tells the recorder what changes the host, and the watch what the worker is at.
class Observed_System : public System {
 public:
  Observed_System(std::shared_ptr<System> real, std::shared_ptr<Cycle_Recorder> recorder,
                  std::shared_ptr<Cycle_Watch> watch);

  Command_Result run_command(const std::string& command, bool flag) override;

 private:
  std::shared_ptr<System> real_;
  std::shared_ptr<Cycle_Recorder> recorder_;
  std::shared_ptr<Cycle_Watch> watch_;
};

}  // namespace zant::velmora::standalone_host
