#pragma once

namespace zant::program {

/// Makes this process independent of how it was started. First thing in the program.
void set_up_process();

}  // namespace zant::program
