#pragma once

#include <zant/velmora_host/families/family_registry.hpp>
#include <zant/velmora_host/reports/check.hpp>
#include <zant/velmora_host/reports/plan.hpp>
#include <zant/velmora_host/reports/status.hpp>

#include <string>

namespace zant::velmora_host {

// The reports on hosts of the families in a registry; those that are exported take the built-in ones.

Plan make_plan(Plan::Operation operation, const Settings& settings, const Host_Services& services,
               const Family_Registry& registry);

Status make_status(const Settings& settings, const Host_Services& services, const std::string& service,
                   const Family_Registry& registry);

Check_Report make_check_report(const Settings& settings, const Host_Services& services,
                               const Family_Registry& registry);

}  // namespace zant::velmora_host
