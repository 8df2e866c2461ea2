// What the library costs inside its host's process, with commands and files that take no time.

#include "steady_host.hpp"

#include <zant/velmora/package_minder/package_minder_thread.hpp>

#include <benchmark/benchmark.h>
#include <boost/log/core.hpp>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

namespace zant::velmora::bench {
namespace {

void run_cycle(Package_Minder& minder) {
  minder.update_package_lock_if_necessary();
  minder.initialize_unattended_upgrades_if_necessary();
}

void steady_cycle(benchmark::State& state, const Steady_Family& family) {
  const auto system = std::make_shared<Steady_System>();
  const auto minder = make_steady_minder(family, system);
  const std::size_t commands_before = system->commands();
  for (auto _ : state) {
    run_cycle(*minder);
  }
  // That a cycle came to its end, and not to an early failure.
  const auto commands = static_cast<double>(system->commands() - commands_before);
  state.counters["commands_per_cycle"] = commands / static_cast<double>(state.iterations());
}

BENCHMARK_CAPTURE(steady_cycle, apt, steady_apt())->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(steady_cycle, dnf, steady_dnf())->Unit(benchmark::kMicrosecond);

/// A package with nothing to do that tells when its first cycle is over.
class Idle_Package : public Package {
 public:
  bool locked() const override { return false; }
  bool lock() override { return true; }
  bool unlock() override { return true; }
  void initialize_repo_if_necessary() override {}
  void initialize_unattended_upgrades_if_necessary() override {
    const std::lock_guard lock(mutex_);
    cycled_ = true;
    changed_.notify_all();
  }

  void wait_for_a_cycle() {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return cycled_; });
  }

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  bool cycled_ = false;
};

std::chrono::duration<double> time_to_stop_a_waiting_thread() {
  const auto package = std::make_shared<Idle_Package>();
  std::optional<Package_Minder_Thread> thread(std::in_place, std::make_shared<Package_Minder>(package), 3600);
  package->wait_for_a_cycle();
  // The cycle is over; that the worker has reached its wait too is a matter of microseconds.
  std::this_thread::sleep_for(std::chrono::milliseconds(1));

  const auto begin = std::chrono::steady_clock::now();
  thread.reset();
  return std::chrono::steady_clock::now() - begin;
}

double percentile_99(std::vector<double> values) {
  const auto nth = values.begin() + static_cast<std::ptrdiff_t>(values.size() * 99 / 100);
  std::nth_element(values.begin(), nth, values.end());
  return *nth;
}

void stop_of_a_waiting_thread(benchmark::State& state) {
  std::vector<double> milliseconds;
  for (auto _ : state) {
    const auto taken = time_to_stop_a_waiting_thread();
    state.SetIterationTime(taken.count());
    milliseconds.push_back(taken.count() * 1e3);
  }
  state.counters["p99_ms"] = percentile_99(milliseconds);
}

BENCHMARK(stop_of_a_waiting_thread)->UseManualTime()->Iterations(1000)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace zant::velmora::bench

int main(int argc, char** argv) {
  // As in a host whose sinks take nothing below a notice: records are filtered before they are composed.
  boost::log::core::get()->set_filter([](const boost::log::attribute_value_set&) { return false; });
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
    return 1;
  }
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
