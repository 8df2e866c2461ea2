#include <zant/velmora/facilitators/linux_package_facilitator.hpp>
#include <zant/velmora/package_minder/errors.hpp>
#include <zant/velmora/package_minder/package_minder_thread.hpp>
#include <zant/velmora_host/services/file_service.hpp>
#include <zant/velmora_host/services/command_service.hpp>

#include <Poco/AutoPtr.h>
#include <Poco/Util/LayeredConfiguration.h>

#include <csignal>
#include <cstdio>
#include <memory>

using namespace zant::velmora;
using zant::velmora_host::File_Service;
using zant::velmora_host::Command_Service;

int main(int, char** argv) {
  sigset_t stop_signals;
  sigemptyset(&stop_signals);
  sigaddset(&stop_signals, SIGTERM);
  pthread_sigmask(SIG_BLOCK, &stop_signals, nullptr);

  try {
    // The server's settings, and a writable copy of the staging tree: rendered files go there.
    const Poco::AutoPtr<Poco::Util::LayeredConfiguration> settings(new Poco::Util::LayeredConfiguration);
    const Linux_Package_Facilitator facilitator(std::make_shared<File_Service>(),
                                                std::make_shared<Command_Service>(Command_Service::Options{}),
                                                *settings, argv[1]);
    const auto package = facilitator.create_package(facilitator.create_package_config(true));

    // From here on the package is minded in the background, until the thread object goes.
    const Package_Minder_Thread minding(std::make_shared<Package_Minder>(package), 3600);
    int received = 0;
    sigwait(&stop_signals, &received);
    return 0;
  } catch (const Backend_Error<std::exception>&) {
    std::fputs("This host has no supported package manager.\n", stderr);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "Package minding cannot start: %s\n", error.what());
  }
  return 1;
}
