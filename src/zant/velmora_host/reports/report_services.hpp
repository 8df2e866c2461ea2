#pragma once

#include <zant/velmora_host/services/bounded_system.hpp>
#include <zant/velmora_host/services/forgiving_filesystem.hpp>
#include <zant/velmora_host/services/host_services.hpp>

#include <chrono>
#include <memory>
#include <optional>
#include <string>

namespace zant::velmora_host {

/// A report is there in 10 seconds, one that asks the repository in 30. What is left is for giving a command
/// up, and for putting the report together.
inline constexpr auto REPORT_LIMIT = std::chrono::seconds(9);
inline constexpr auto ONLINE_REPORT_LIMIT = std::chrono::seconds(28);

/// The services of one report: all commands together have so much time, whatever service runs them, and a
/// file that cannot be looked at counts as missing.
class Report_Services {
 public:
  using Clock = std::chrono::steady_clock;

  explicit Report_Services(const Host_Services& real, std::chrono::seconds limit = REPORT_LIMIT)
      : bounds_{Clock::now() + limit, {}},
        system_(std::make_shared<Bounded_System>(real.system, bounds_)),
        services_{system_, std::make_shared<Forgiving_Filesystem>(real.filesystem)} {}

  const Host_Services& services() const noexcept { return services_; }
  const Command_Bounds& bounds() const noexcept { return bounds_; }

  /// The first command that got no time or not enough of it. What is known from its answer, and from all
  /// later ones, is not known.
  std::optional<std::string> first_cut() const { return system_->first_cut(); }

 private:
  Command_Bounds bounds_;
  std::shared_ptr<Bounded_System> system_;
  Host_Services services_;
};

}  // namespace zant::velmora_host
