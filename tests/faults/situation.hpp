#pragma once

#include <faults/road.hpp>

#include <cstdint>
#include <optional>
#include <random>
#include <string>
#include <vector>

namespace zant::velmora_host::faults {

/// What is done with the host once the faults are over.
enum class Continuation {
  REPEAT,  ///< the stage's work again, then a purge
  TURN,    ///< a purge at once; after a purge, a cycle and another purge
};

/// A stage of the road, faults in its process and in the one after it, and what is done then.
struct Situation {
  const Road* road;
  const Stage* stage;
  std::vector<Planned_Fault> in_first;
  std::vector<Planned_Fault> in_second;  ///< the same work; there is no second process when this is empty
  Continuation continuation;
};

/// Plays a situation and judges it at each end of a process:
///
/// - Each managed file is absent, the host's, or ours, whole; nothing else of the host's is changed.
/// - The host's own files are in place, or in a complete directory of copies.
/// - Success is said only of a host that is as it is after undisturbed work, the loaded schedule included.
/// - Once the faults are over, the first work brings the host there, and a purge gives everything back.
/// - Nothing stays behind.
/// - A fault that passes is never a reason to refuse.
///
/// @return what was violated; nothing when all is well.
std::optional<std::string> violation_of(const Situation& situation);

/// Every single fault at every call of every stage, with every continuation.
std::vector<Situation> every_single_fault(const Road& road);

/// Two faults, in one process or in one after the other.
Situation random_pair(const Road& road, std::mt19937_64& random);

/// The shortest situation that is made of this one and still violates something.
Situation shortest(const Situation& situation);

/// The situation as a story, to read and to play again.
std::string describe(const Situation& situation);

}  // namespace zant::velmora_host::faults
