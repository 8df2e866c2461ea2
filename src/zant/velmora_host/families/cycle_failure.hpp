#pragma once

#include <zant/velmora_host/export.hpp>

#include <array>
#include <optional>
#include <string>
#include <string_view>

namespace zant::velmora_host {

/// The parts of a cycle, in the order in which they run.
enum class Cycle_Step {
  REPOSITORY,  ///< the repository's registration
  HOLD,        ///< the release of a hold on the package
  UPGRADES,    ///< the automatic upgrades
};

inline constexpr std::array CYCLE_STEPS = {Cycle_Step::REPOSITORY, Cycle_Step::HOLD, Cycle_Step::UPGRADES};

/// "repository", "hold" or "automatic_upgrades".
PACKAGE_MINDER_HOST_EXPORT const char* to_string(Cycle_Step step);

/// The step of that name; nothing for any other text.
PACKAGE_MINDER_HOST_EXPORT std::optional<Cycle_Step> cycle_step_from(std::string_view name);

/// A step of a cycle that failed, and why.
struct Cycle_Failure {
  Cycle_Step step;
  std::string message;
};

}  // namespace zant::velmora_host
