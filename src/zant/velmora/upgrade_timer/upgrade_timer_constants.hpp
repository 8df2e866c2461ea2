#pragma once

namespace zant::velmora::Upgrade_Timer_Constants {

// What the families share; each fills in its timer unit. The finished texts stand in the family's constants.

inline constexpr const char* START_FORMAT = "systemctl start {}";
inline constexpr const char* STATUS_FORMAT = "systemctl status {}";
inline constexpr const char* NEEDS_RELOAD_FORMAT = "systemctl show {} | grep -q NeedDaemonReload=yes";
inline constexpr const char* RELOAD_FORMAT = "systemctl daemon-reload && systemctl restart {}";

inline constexpr const char* OVERRIDE_DIR_FORMAT = "/etc/systemd/system/{}.d";
inline constexpr const char* ON_CALENDAR_FILE_FORMAT = "{}.on-calendar.conf";
inline constexpr const char* RANDOMIZED_DELAY_FILE_FORMAT = "{}.randomized-delay.conf";

/// The staged drop-ins, which are also the names of their templates.
inline constexpr const char* STAGED_ON_CALENDAR_FILE = "zant-on-calendar.conf";
inline constexpr const char* STAGED_RANDOMIZED_DELAY_FILE = "zant-randomized-delay.conf";

}  // namespace zant::velmora::Upgrade_Timer_Constants
