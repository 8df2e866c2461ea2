#pragma once

#include <zant/velmora_host/families/apt/apt_settings.hpp>
#include <zant/velmora_host/families/apt/upgrade_units.hpp>
#include <zant/velmora_host/families/upgrade_outlook.hpp>

namespace zant::velmora_host::apt_outlook {

/// What of APT's periodic work is switched off.
Causes find_periodic_switches(const APT_Settings& settings);

/// What of it is not due, neither now nor when the units run next: it is done once in so many days.
Causes find_periodic_delays(const Outlook_Question& question, const APT_Settings& settings,
                            const Upgrade_Units& units);

}  // namespace zant::velmora_host::apt_outlook
