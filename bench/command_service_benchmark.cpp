// One command through the command service, in a small process and in the same one with gigabytes resident: a
// server that embeds the library must not pay for its own size.

#include <zant/velmora_host/services/command_service.hpp>

#include <boost/log/core.hpp>

#include <sys/mman.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace {

using zant::velmora_host::Command_Service;

constexpr std::size_t GIBIBYTE = std::size_t{1} << 30;
constexpr int COMMANDS = 200;

double seconds_of_one_command(Command_Service& system) {
  const auto begin = std::chrono::steady_clock::now();
  const auto result = system.run_command("true", zant::velmora::Run_Flag::WAIT_AND_CAPTURE);
  const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - begin;
  if (result.exit_code != 0) {
    std::fprintf(stderr, "command_service_benchmark: the command failed\n");
    std::exit(1);
  }
  return taken.count();
}

double median_milliseconds(Command_Service& system) {
  std::vector<double> seconds;
  for (int count = 0; count < COMMANDS; ++count) {
    seconds.push_back(seconds_of_one_command(system));
  }
  const auto middle = seconds.begin() + COMMANDS / 2;
  std::nth_element(seconds.begin(), middle, seconds.end());
  return *middle * 1e3;
}

void* make_resident(std::size_t bytes) {
  void* memory = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (memory == MAP_FAILED) {
    std::perror("command_service_benchmark: mmap");
    std::exit(1);
  }
  // Small pages, as a heap has them: their tables are what a fork would copy.
  madvise(memory, bytes, MADV_NOHUGEPAGE);
  std::memset(memory, 1, bytes);
  return memory;
}

}  // namespace

int main(int argc, char** argv) {
  boost::log::core::get()->set_logging_enabled(false);
  const std::size_t gibibytes = argc > 1 ? std::strtoul(argv[1], nullptr, 10) : 8;
  Command_Service system(Command_Service::Options{});

  median_milliseconds(system);
  const double small = median_milliseconds(system);
  void* memory = make_resident(gibibytes * GIBIBYTE);
  const double large = median_milliseconds(system);
  munmap(memory, gibibytes * GIBIBYTE);

  std::printf("small_ms %.3f\nlarge_ms %.3f\nratio %.3f\n", small, large, large / small);
  return 0;
}
