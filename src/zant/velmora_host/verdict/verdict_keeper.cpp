#include <zant/velmora_host/verdict/verdict_keeper.hpp>

#include <zant/velmora_host/base/printable.hpp>
#include <zant/velmora_host/services/bounded_system.hpp>
#include <zant/velmora_host/verdict/find_verdict.hpp>
#include <zant/velmora_host/verdict/outlook_stamp.hpp>
#include <zant/velmora_host/verdict/verdict_store.hpp>

#include <fmt/format.h>

#include <algorithm>
#include <exception>
#include <memory>
#include <utility>

namespace zant::velmora_host {
namespace {

using zant::logging::severity_level;

// For all commands of a question. Nobody waits for it, but a host that is this slow has other work to do.
constexpr auto LONGEST_QUESTION = std::chrono::seconds(60);

// On a host that changes in every cycle, the questions take a twentieth of the time at most.
constexpr int PAUSE_FACTOR = 20;

thread_local bool is_keeper_thread = false;

// Waiting is what a host does between a release and its own next run.
int gravity_of(Verdict_Kind kind) {
  switch (kind) {
    case Verdict_Kind::UP_TO_DATE:
    case Verdict_Kind::WAITING:
      return 0;
    case Verdict_Kind::CANNOT_BE_TOLD:
      return 1;
    case Verdict_Kind::OVERDUE:
      return 2;
    case Verdict_Kind::BLOCKED:
      return 3;
  }
  return 0;
}

bool has_new_cause(const Causes& causes, const Causes& before) {
  return std::any_of(causes.begin(), causes.end(), [&before](const Cause& cause) {
    return std::none_of(before.begin(), before.end(),
                        [&cause](const Cause& known) { return known.code == cause.code; });
  });
}

severity_level severity_of_change(const Verdict& verdict, const std::optional<Verdict>& before) {
  const int gravity = gravity_of(verdict.kind);
  const int gravity_before = before ? gravity_of(before->kind) : 0;
  if (gravity > gravity_before) {
    return severity_level::warning;
  }
  if (gravity < gravity_before) {
    return severity_level::notice;
  }
  if (before && gravity > 0 && has_new_cause(verdict.outlook.causes, before->outlook.causes)) {
    return severity_level::warning;
  }
  const bool is_the_same = before && before->kind == verdict.kind;
  return is_the_same ? severity_level::debug : severity_level::info;
}

// The codes of all, because the line names the first cause only.
std::string codes_of(const Causes& causes) {
  std::string codes;
  for (const auto& cause : causes) {
    codes += (codes.empty() ? " [" : ", ") + cause.code;
  }
  return codes.empty() ? "" : codes + "]";
}

}  // namespace

Verdict_Keeper::Verdict_Keeper(Minded_Host host, Listener listener, std::function<Clock::time_point()> now,
                               std::chrono::milliseconds pause)
    : host_(std::move(host)),
      listener_(std::move(listener)),
      now_(std::move(now)),
      pause_(pause),
      file_(verdict_store::file_in(host_.settings.state_directory())) {
  log_.init_("Verdict_Keeper", "");
  last_ = verdict_store::read(*host_.services.filesystem, file_);
  thread_ = std::jthread([this](const std::stop_token& stop) { work_(stop); });
}

Verdict_Keeper::~Verdict_Keeper() = default;

void Verdict_Keeper::note_cycle() {
  {
    const std::lock_guard lock(mutex_);
    has_cycle_ = true;
  }
  cycle_ended_.notify_all();
}

void Verdict_Keeper::request_stop() {
  thread_.request_stop();
}

bool Verdict_Keeper::is_this_thread() {
  return is_keeper_thread;
}

void Verdict_Keeper::work_(const std::stop_token& stop) {
  is_keeper_thread = true;
  std::unique_lock lock(mutex_);
  while (!stop.stop_requested()) {
    // To wait without a limit needs a newer libstdc++ than EL 9 has.
    if (!cycle_ended_.wait_for(lock, stop, std::chrono::hours(1), [this] { return has_cycle_; })) {
      continue;
    }
    cycle_ended_.wait_for(lock, stop, pause_, [] { return false; });
    if (stop.stop_requested()) {
      return;
    }
    has_cycle_ = false;
    lock.unlock();
    try {
      look_(stop);
    } catch (const std::exception& error) {
      ZANT_LOG(log_, severity_level::warning)
          << fmt::format("The verdict could not be kept: {}", error.what());
    }
    lock.lock();
  }
}

void Verdict_Keeper::look_(const std::stop_token& stop) {
  const std::string stamp = outlook_stamp(host_.family.outlook_inputs(), *host_.services.filesystem);
  if (!is_due_(stamp)) {
    return;
  }
  const auto begin = now_();
  const Command_Bounds bounds = {std::chrono::steady_clock::now() + LONGEST_QUESTION,
                                 [&stop] { return stop.stop_requested(); }};
  const Verdict verdict = find_verdict(host_, last_ ? last_->history : Upgrade_History{}, false, bounds);
  const Keys keys = read_keys_(bounds);
  // What was given up says nothing of the host.
  if (stop.stop_requested()) {
    return;
  }
  stamp_ = stamp;
  found_ = begin;
  took_ = now_() - begin;
  take_over_(verdict, keys);
}

bool Verdict_Keeper::is_due_(const std::string& stamp) const {
  if (!found_) {
    return true;
  }
  const auto age = now_() - *found_;
  return age >= host_.settings.verdict_interval() || (stamp != stamp_ && age >= PAUSE_FACTOR * took_);
}

Verdict_Keeper::Keys Verdict_Keeper::read_keys_(const Command_Bounds& bounds) const {
  const Host_Services services = {std::make_shared<Bounded_System>(host_.services.system, bounds),
                                  host_.services.filesystem};
  return host_.family.read_installed_keys(services);
}

void Verdict_Keeper::take_over_(const Verdict& verdict, const Keys& keys) {
  log_change_(verdict);
  last_ = verdict;
  verdict_store::write(*host_.services.filesystem, file_, verdict);
  listener_(verdict, keys);
}

void Verdict_Keeper::log_change_(const Verdict& verdict) {
  ZANT_LOG(log_, severity_of_change(verdict, last_)) << fmt::format(
      "Verdict on the upgrades: {}{}", printable(describe(verdict)), codes_of(verdict.outlook.causes));
}

}  // namespace zant::velmora_host
