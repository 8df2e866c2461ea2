#pragma once

#include <zant/velmora_host/base/json_document.hpp>
#include <zant/velmora_host/reports/check_report.hpp>
#include <zant/velmora_host/services/host_services.hpp>
#include <zant/velmora_host/settings/settings.hpp>

#include <string>

namespace zant::velmora_host {

/// Runs preflight checks on the staging tree and the host; changes nothing.
Check_Report make_check_report(const Settings& settings, const Host_Services& services);

json_document::Json to_json(const Check_Report& report);

/// For a person.
std::string to_text(const Check_Report& report);

}  // namespace zant::velmora_host
