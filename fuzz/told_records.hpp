#pragma once

#include <zant/velmora_host/observation/cycle_record.hpp>

#include <optional>

namespace zant::velmora_host {

/// Requires that records which were read can be told, whoever wrote them: in the status and the plugin's line
/// without harm to a terminal or to a program that reads them, and in the metrics.
void require_tellable(const std::optional<Cycle_State>& cycles,
                      const std::optional<Stalled_Installation>& stalled);

}  // namespace zant::velmora_host
