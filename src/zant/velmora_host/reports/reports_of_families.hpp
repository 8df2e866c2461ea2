#pragma once

#include <zant/velmora_host/families/family_registry.hpp>
#include <zant/velmora_host/reports/check.hpp>
#include <zant/velmora_host/reports/plan.hpp>
#include <zant/velmora_host/reports/report_services.hpp>
#include <zant/velmora_host/reports/status.hpp>
#include <zant/velmora_host/reports/why.hpp>

#include <string>

namespace zant::velmora_host {

// The reports on hosts of the families in a registry; those that are exported take the built-in ones. With
// the services of a report they have the time that is left of it.

Plan make_plan(Plan::Operation operation, const Settings& settings, const Host_Services& services,
               const Family_Registry& registry);

Plan make_plan(Plan::Operation operation, const Settings& settings, const Report_Services& report,
               const Family_Registry& registry);

Status make_status(const Settings& settings, const Host_Services& services, const std::string& service,
                   const Family_Registry& registry);

Status make_status(const Settings& settings, const Report_Services& report, const std::string& service,
                   const Family_Registry& registry);

Verdict make_verdict(const Settings& settings, const Host_Services& services, bool online,
                     const Family_Registry& registry);

Check_Report make_check_report(const Settings& settings, const Host_Services& services, bool online,
                               const Family_Registry& registry);

Check_Report make_check_report(const Settings& settings, const Report_Services& report, bool online,
                               const Family_Registry& registry);

}  // namespace zant::velmora_host
