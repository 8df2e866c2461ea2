#pragma once

#include <zant/velmora_host/families/apt/apt_settings.hpp>
#include <zant/velmora_host/families/upgrade_outlook.hpp>

/// APT's daily job, the script that both of its services and cron start.
namespace zant::velmora_host::apt_outlook {

/// What ends the job before it begins: it cannot take its lock. Other commands of APT's make the missing
/// directory of its state anew.
Causes find_daily_job_faults(const Outlook_Question& question, const APT_Settings& settings);

}  // namespace zant::velmora_host::apt_outlook
