#pragma once

#include <zant/velmora_host/observation/cycle_recorder.hpp>
#include <zant/velmora_host/observation/cycle_watch.hpp>

#include <zant/velmora/host/system.hpp>

#include <memory>
#include <string>

namespace zant::velmora_host {

/// A command service that tells the recorder what changes the host, and the watch what the worker is at.
class Observed_System : public velmora::System {
 public:
  Observed_System(std::shared_ptr<velmora::System> real, std::shared_ptr<Cycle_Recorder> recorder,
                  std::shared_ptr<Cycle_Watch> watch);

  velmora::Command_Result run_command(const std::string& command, bool flag) override;

 private:
  std::shared_ptr<velmora::System> real_;
  std::shared_ptr<Cycle_Recorder> recorder_;
  std::shared_ptr<Cycle_Watch> watch_;
};

}  // namespace zant::velmora_host
