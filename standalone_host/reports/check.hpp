#pragma once

#include <standalone_host/platform/package_factory.hpp>
#include <standalone_host/reports/check_report.hpp>
#include <standalone_host/reports/document.hpp>
#include <standalone_host/settings/settings.hpp>

#include <string>

namespace zant::velmora::standalone_host {

/// Finds what will bite before it does, in the staging tree and on the host. Changes nothing.
Check_Report make_check_report(const Settings& settings, const Host_Services& services);

Document::Json to_json(const Check_Report& report);

/// For a person.
std::string to_text(const Check_Report& report);

}  // namespace zant::velmora::standalone_host
