#pragma once

#include <functional>

namespace zant::program {

/// Does the work of the service, and returns what the work returns. Where the service manager that started
/// this process wants to be spoken to by the process itself, it is, around the work.
int work_as_service(const std::function<int()>& work);

}  // namespace zant::program
