// One steady-state cycle on a real host against the same command lines run back to back by nothing but a
// loop: what the library and the services add to what the package tools take anyway.
//
// host_cycle STAGING_DIRECTORY ROUNDS [KEY=VALUE...], on a host that is in step.

#include <zant/velmora/facilitators/linux_package_facilitator.hpp>
#include <zant/velmora/package_minder/package_minder.hpp>
#include <zant/velmora_host/services/command_service.hpp>
#include <zant/velmora_host/services/file_service.hpp>

#include <Poco/AutoPtr.h>
#include <Poco/Util/LayeredConfiguration.h>
#include <Poco/Util/MapConfiguration.h>
#include <boost/log/core.hpp>

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

namespace {

using namespace zant::velmora;
using zant::velmora_host::Command_Service;
using zant::velmora_host::File_Service;

class Recording_System : public System {
 public:
  Command_Result run_command(const std::string& command, bool flag) override {
    commands_.push_back(command);
    return system_.run_command(command, flag);
  }

  std::vector<std::string> take_commands() { return std::exchange(commands_, {}); }

 private:
  Command_Service system_{Command_Service::Options{}};
  std::vector<std::string> commands_;
};

void run_bare(const std::string& command) {
  std::string line = command;
  std::string shell = "bash";
  std::string option = "-c";
  char* const arguments[] = {shell.data(), option.data(), line.data(), nullptr};
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", 1, 0);
  posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", 1, 0);
  pid_t child = 0;
  const int failure = posix_spawnp(&child, "bash", &actions, nullptr, arguments, environ);
  posix_spawn_file_actions_destroy(&actions);
  if (failure != 0 || waitpid(child, nullptr, 0) != child) {
    std::fprintf(stderr, "host_cycle: cannot run: %s\n", command.c_str());
    std::exit(1);
  }
}

template <typename Action>
double milliseconds_of(Action&& action) {
  const auto begin = std::chrono::steady_clock::now();
  action();
  return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - begin).count();
}

double median(std::vector<double> values) {
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

Poco::AutoPtr<Poco::Util::LayeredConfiguration> settings_from(int count, char** texts) {
  Poco::AutoPtr<Poco::Util::MapConfiguration> values(new Poco::Util::MapConfiguration);
  for (int index = 0; index < count; ++index) {
    const std::string text = texts[index];
    const auto separator = text.find('=');
    values->setString(text.substr(0, separator), text.substr(separator + 1));
  }
  Poco::AutoPtr<Poco::Util::LayeredConfiguration> settings(new Poco::Util::LayeredConfiguration);
  settings->add(values);
  return settings;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 3) {
    std::fprintf(stderr, "Usage: host_cycle STAGING_DIRECTORY ROUNDS [KEY=VALUE...]\n");
    return 64;
  }
  boost::log::core::get()->set_logging_enabled(false);
  const auto settings = settings_from(argc - 3, argv + 3);
  const auto system = std::make_shared<Recording_System>();
  const Linux_Package_Facilitator facilitator(std::make_shared<File_Service>(), system, *settings, argv[1]);
  Package_Minder minder(facilitator.create_package(facilitator.create_package_config(true)));
  const auto run_cycle = [&minder] {
    minder.update_package_lock_if_necessary();
    minder.initialize_unattended_upgrades_if_necessary();
  };

  run_cycle();
  system->take_commands();
  run_cycle();
  const auto commands = system->take_commands();
  const auto run_commands = [&commands] { std::for_each(commands.begin(), commands.end(), run_bare); };

  std::vector<double> cycles;
  std::vector<double> bare;
  std::vector<double> ratios;
  for (int round = 0; round < std::atoi(argv[2]); ++round) {
    // Turn about, so that what drifts on the machine meets both alike.
    const bool bare_first = round % 2 == 1;
    const double first = milliseconds_of([&] { bare_first ? run_commands() : run_cycle(); });
    const double second = milliseconds_of([&] { bare_first ? run_cycle() : run_commands(); });
    cycles.push_back(bare_first ? second : first);
    bare.push_back(bare_first ? first : second);
    ratios.push_back(cycles.back() / bare.back());
  }
  std::printf("commands %zu\ncycle_ms %.1f\nbare_ms %.1f\nratio %.3f\n", commands.size(), median(cycles),
              median(bare), median(ratios));
  return 0;
}
