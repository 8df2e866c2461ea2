#include <zant/velmora_host/families/cycle_failure.hpp>

#include <zant/velmora_host/base/enum_names.hpp>

namespace zant::velmora_host {
namespace {

constexpr Enum_Names<Cycle_Step, 3> NAMES = {{
    {Cycle_Step::REPOSITORY, "repository"},
    {Cycle_Step::HOLD, "hold"},
    {Cycle_Step::UPGRADES, "automatic_upgrades"},
}};

}  // namespace

const char* to_string(Cycle_Step step) {
  return name_of(NAMES, step);
}

std::optional<Cycle_Step> cycle_step_from(std::string_view name) {
  return value_of(NAMES, name);
}

}  // namespace zant::velmora_host
