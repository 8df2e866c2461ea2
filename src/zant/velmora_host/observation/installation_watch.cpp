#include <zant/velmora_host/observation/installation_watch.hpp>

#include <zant/velmora_host/base/iso_time.hpp>

#include <fmt/format.h>

#include <system_error>
#include <utility>

namespace zant::velmora_host {
namespace {

using std::chrono::system_clock;
using zant::logging::severity_level;

constexpr int LOOKS_IN_LIMIT = 12;

}  // namespace

Installation_Watch::Installation_Watch(std::string command, Trace trace, Listener listener,
                                       std::chrono::milliseconds limit)
    : command_(std::move(command)), trace_(std::move(trace)), listener_(std::move(listener)), limit_(limit) {
  log_.init_("Installation_Watch", "");
  try {
    thread_ = std::jthread([this](const std::stop_token& stop) { work_(stop); });
  } catch (const std::system_error& error) {
    ZANT_LOG(log_, severity_level::warning)
        << fmt::format("An installation could not be looked after: {}", error.what());
  }
}

Installation_Watch::~Installation_Watch() {
  if (thread_.joinable()) {
    thread_.request_stop();
    thread_.join();
  }
  if (is_told_) {
    tell_(std::nullopt);
  }
}

void Installation_Watch::work_(const std::stop_token& stop) {
  std::unique_lock lock(mutex_);
  for (;;) {
    // Most installations end before there is anything to look at.
    ended_.wait_for(lock, stop, limit_ / LOOKS_IN_LIMIT, [] { return false; });
    if (stop.stop_requested()) {
      return;
    }
    try {
      look_();
    } catch (const std::exception& error) {
      ZANT_LOG(log_, severity_level::warning)
          << fmt::format("An installation could not be looked after: {}", error.what());
    }
  }
}

void Installation_Watch::look_() {
  const auto now = Clock::now();
  if (auto trace = trace_(); trace != last_trace_) {
    last_trace_ = std::move(trace);
    last_progress_ = now;
    if (std::exchange(is_told_, false)) {
      tell_(std::nullopt);
    }
  } else if (!is_told_ && now - last_progress_ >= limit_) {
    is_told_ = true;
    const auto since =
        system_clock::now() - std::chrono::duration_cast<system_clock::duration>(now - last_progress_);
    ZANT_LOG(log_, severity_level::warning) << fmt::format(
        "An installation has made no progress since {}; it is not ended, because that would leave the host "
        "half configured | Command: {}",
        to_iso_time(since), command_);
    tell_(Stalled_Installation{command_, since});
  }
}

void Installation_Watch::tell_(const std::optional<Stalled_Installation>& stalled) {
  try {
    listener_(stalled);
  } catch (const std::exception& error) {
    ZANT_LOG(log_, severity_level::warning)
        << fmt::format("An installation that makes no progress could not be recorded: {}", error.what());
  }
}

}  // namespace zant::velmora_host
