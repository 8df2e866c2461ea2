#include <zant/velmora/package_minder/package_minder_thread.hpp>

#include <algorithm>
#include <exception>
#include <utility>

namespace zant::velmora {
namespace {

using zant::logging::severity_level;

constexpr unsigned int LONGEST_INTERVAL_SECONDS = 3600;

// A member initialiser, so that the worker never meets a source without its channel.
zant::logging::Source make_log_source() {
  zant::logging::Source source;
  source.init_("Package_Minder_Thread", "");
  return source;
}

}  // namespace

Package_Minder_Thread::Package_Minder_Thread(std::shared_ptr<Package_Minder> minder,
                                             unsigned int interval_seconds)
    : log_(make_log_source()),
      minder_(std::move(minder)),
      interval_(std::min(interval_seconds, LONGEST_INTERVAL_SECONDS)),
      worker_([this](const std::stop_token& stop) { minder_thread_worker_(stop); }) {
  ZANT_LOG(log_, severity_level::debug) << "Package minding is starting";
}

Package_Minder_Thread::~Package_Minder_Thread() = default;

void Package_Minder_Thread::minder_thread_worker_(const std::stop_token& stop) {
  while (!stop.stop_requested()) {
    run_cycle_();
    interruptible_wait_(stop);
  }
  ZANT_LOG(log_, severity_level::debug) << "Package minding has stopped";
}

void Package_Minder_Thread::run_cycle_() {
  try {
    minder_->update_package_lock_if_necessary();
    minder_->initialize_unattended_upgrades_if_necessary();
  } catch (const std::exception& error) {
    ZANT_LOG(log_, severity_level::error) << "Encountered error: " << error.what();
  }
}

void Package_Minder_Thread::interruptible_wait_(const std::stop_token& stop) {
  ZANT_LOG(log_, severity_level::trace) << "Worker is going into a waiting state";
  std::unique_lock lock(mutex_);
  // Only a stop ends the wait early: there is no state of our own to wait for.
  wake_up_.wait_for(lock, stop, interval_, [] { return false; });
  ZANT_LOG(log_, severity_level::trace) << "Worker is active";
}

}  // namespace zant::velmora
