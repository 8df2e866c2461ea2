#pragma once

#include <zant/velmora_host/families/minded_host.hpp>
#include <zant/velmora_host/minding/prepared_cycles.hpp>
#include <zant/velmora_host/staging/work_area.hpp>

#include <string>

namespace zant::velmora_host {

/// Everything that cycles need, while this process and no other works in the state directory.
class Cycle_Runner {
 public:
  /// Renders the host's files into the state directory; changes nothing else on the host.
  ///
  /// @param name     who runs the cycles, for the record.
  /// @param settings outlives the object.
  /// @throws Refusal when the host, the settings, the staging tree or the state directory do not allow it;
  ///         std::system_error when something cannot be read that may be read the next time; what the library
  ///         throws when it cannot work on this host, after recording a failed cycle.
  Cycle_Runner(const std::string& name, const Settings& settings, const Host_Services& services,
               const Family_Registry& registry = Family_Registry::built_in());

  Prepared_Cycles& cycles() noexcept { return cycles_; }

  /// The host, with its real services.
  const Minded_Host& host() const noexcept { return host_; }

 private:
  Minded_Host host_;
  Work_Area work_area_;
  Prepared_Cycles cycles_;
};

}  // namespace zant::velmora_host
