#pragma once

namespace zant::program {

/// Makes the log file of the service this process's standard error: package-minder.log in the program's
/// directory below ProgramData. One that has grown is put aside first, in the place of the one before. Where
/// that cannot be done, or others than administrators could tamper with it, there is no log.
void open_service_log();

}  // namespace zant::program
