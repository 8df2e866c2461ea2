#pragma once

/// The program's exit statuses. Those above 63 are sysexits.h's, whose meaning service managers and scripts
/// know.
namespace zant::velmora::standalone_host::Exit_Status {

inline constexpr int DONE = 0;
inline constexpr int FAILED = 1;             ///< the work was begun and failed; the log says where
inline constexpr int FINDINGS = 1;           ///< "check" found something that needs to be put right
inline constexpr int PENDING = 2;            ///< "plan" found something that would be changed
inline constexpr int WRONG_USAGE = 64;       ///< the command line is not understood
inline constexpr int UNSUPPORTED_HOST = 69;  ///< no supported package manager
inline constexpr int BUSY = 75;              ///< another package-minder is at work here
inline constexpr int NO_RIGHTS = 77;         ///< not run as root
inline constexpr int BAD_SETTINGS =
    78;  ///< the settings, the staging tree or the state directory are not usable

}  // namespace zant::velmora::standalone_host::Exit_Status
