#pragma once

#include <program/commands/command.hpp>

namespace zant::program {

// One file each. All return the status to exit with, and throw Refusal before anything on the host is
// changed. Actions tell what they do through the log; reports print to standard output.

int run(const Invocation& invocation, const velmora_host::Settings& settings,
        const velmora_host::Host_Services& services);
int once(const Invocation& invocation, const velmora_host::Settings& settings,
         const velmora_host::Host_Services& services);
int hold(const Invocation& invocation, const velmora_host::Settings& settings,
         const velmora_host::Host_Services& services);
int release(const Invocation& invocation, const velmora_host::Settings& settings,
            const velmora_host::Host_Services& services);
int purge(const Invocation& invocation, const velmora_host::Settings& settings,
          const velmora_host::Host_Services& services);
int status(const Invocation& invocation, const velmora_host::Settings& settings,
           const velmora_host::Host_Services& services);
int why(const Invocation& invocation, const velmora_host::Settings& settings,
        const velmora_host::Host_Services& services);
int plan(const Invocation& invocation, const velmora_host::Settings& settings,
         const velmora_host::Host_Services& services);
int settings(const Invocation& invocation, const velmora_host::Settings& settings,
             const velmora_host::Host_Services& services);

/// Judges the settings too, so it reads them itself.
int check(const Invocation& invocation, const Service_Maker& make_services);

}  // namespace zant::program
