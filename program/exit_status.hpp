#pragma once

#include <zant/velmora_host/base/refusal.hpp>

/// The program's exit statuses. Those above 63 are sysexits.h's, whose meaning service managers and scripts
/// know.
namespace zant::program::Exit_Status {

inline constexpr int DONE = 0;
inline constexpr int FAILED = 1;             ///< the command failed; the log says why
inline constexpr int FINDINGS = 1;           ///< "check" has findings
inline constexpr int PENDING = 2;            ///< "plan" found changes
inline constexpr int WRONG_USAGE = 64;       ///< the command line is wrong
inline constexpr int UNSUPPORTED_HOST = 69;  ///< no supported package manager
inline constexpr int BUSY = 75;              ///< another package-minder is already running
inline constexpr int NO_RIGHTS = 77;         ///< not run as root
inline constexpr int BAD_SETTINGS =
    78;  ///< the settings, the staging tree or the state directory are not usable

/// The exit status after a refusal.
int of(velmora_host::Refusal_Reason reason);

/// The code of a failure document, such as "bad_settings"; "failed" when it is no refusal.
const char* code_of(int exit_status);

}  // namespace zant::program::Exit_Status
