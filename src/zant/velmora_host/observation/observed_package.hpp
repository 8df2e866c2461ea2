#pragma once

#include <zant/velmora_host/observation/cycle_recorder.hpp>
#include <zant/velmora_host/observation/cycle_watch.hpp>

#include <zant/velmora/package_minder/package.hpp>

#include <exception>
#include <memory>

namespace zant::velmora_host {

/// A package that tells where a cycle begins and ends: the minder begins each one with the repository and
/// ends it with the automatic upgrades, or with the step that throws.
class Observed_Package : public velmora::Package {
 public:
  Observed_Package(std::shared_ptr<velmora::Package> real, std::shared_ptr<Cycle_Recorder> recorder,
                   std::shared_ptr<Cycle_Watch> watch);

  bool locked() const override;
  bool lock() override;
  bool unlock() override;
  void initialize_repo_if_necessary() override;
  void initialize_unattended_upgrades_if_necessary() override;

 private:
  void end_cycle_(const std::optional<Cycle_Failure>& failure) const;

  // What the step returns; when it throws, the cycle ends with it.
  template <typename Step>
  auto run_step_(Cycle_Step name, Step step) const {
    try {
      return step();
    } catch (const std::exception& error) {
      end_cycle_(Cycle_Failure{name, error.what()});
      throw;
    } catch (...) {
      end_cycle_(Cycle_Failure{name, "Unknown error"});
      throw;
    }
  }

  std::shared_ptr<velmora::Package> real_;
  std::shared_ptr<Cycle_Recorder> recorder_;
  std::shared_ptr<Cycle_Watch> watch_;
};

}  // namespace zant::velmora_host
