#pragma once

#include <program/invocation.hpp>
#include <zant/velmora_host/reports/plan.hpp>

namespace zant::program {

/// Prints the plan of an operation; for "plan" and "purge --plan".
int print_plan(velmora_host::Plan::Operation operation, const Invocation& invocation,
               const velmora_host::Settings& settings, const velmora_host::Host_Services& services);

}  // namespace zant::program
