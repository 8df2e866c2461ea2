#pragma once

#include <zant/velmora_host/families/minded_host.hpp>
#include <zant/velmora_host/services/interruptible_system.hpp>
#include <zant/velmora_host/staging/keyring.hpp>
#include <zant/velmora_host/verdict/verdict.hpp>

#include <zant/logging/source.hpp>

#include <boost/filesystem/path.hpp>

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <optional>
#include <stop_token>
#include <string>
#include <thread>
#include <vector>

namespace zant::velmora_host {

/// Keeps the verdict of a minding process: finds it after the first cycle, and after later ones when
/// something has changed that it depends on, or `minder.verdict_interval` has passed. Writes it into the
/// state directory and logs what has become worse or better; nothing is logged again after a restart.
///
/// All of it happens in a thread of its own, which delays no cycle and fails none, and uses no network.
class Verdict_Keeper {
 public:
  using Clock = std::chrono::steady_clock;

  using Keys = std::optional<std::vector<Signing_Key>>;

  /// Called with each new verdict, on the keeper's thread.
  ///
  /// @param keys see `Family::read_installed_keys`.
  using Listener = std::function<void(const Verdict& verdict, const Keys& keys)>;

  /// @param host its settings outlive this object. Its services are the real ones: what the keeper asks is no
  ///             part of a cycle.
  /// @param now  tells the time.
  /// @param pause between the end of a cycle and the first question: what a cycle has started settles
  ///              meanwhile, and a service that is stopped after its cycle asks nothing.
  Verdict_Keeper(Minded_Host host, Listener listener, std::function<Clock::time_point()> now = Clock::now,
                 std::chrono::milliseconds pause = std::chrono::seconds(1));

  /// Gives up a question that is being asked, where the command service can, and returns when the thread has
  /// ended.
  ~Verdict_Keeper();
  Verdict_Keeper(const Verdict_Keeper&) = delete;
  Verdict_Keeper& operator=(const Verdict_Keeper&) = delete;

  /// A cycle has ended. Returns at once; from any thread.
  void note_cycle();

  /// Begins to end the thread. Returns at once.
  void request_stop();

  /// Whether this thread belongs to a keeper: what is logged on it is none of a cycle's.
  static bool is_this_thread();

 private:
  void work_(const std::stop_token& stop);
  void look_(const std::stop_token& stop);
  bool is_due_(const std::string& stamp) const;
  Keys read_keys_(const Command_Bounds& bounds) const;
  void take_over_(const Verdict& verdict, const Keys& keys);
  void log_change_(const Verdict& verdict);

  zant::logging::Source log_;
  const Minded_Host host_;
  const Listener listener_;
  const std::function<Clock::time_point()> now_;
  const std::chrono::milliseconds pause_;
  const boost::filesystem::path file_;

  // Of the keeper's thread.
  std::optional<Verdict> last_;
  std::string stamp_;
  std::optional<Clock::time_point> found_;
  Clock::duration took_{};

  std::mutex mutex_;
  std::condition_variable_any cycle_ended_;
  bool has_cycle_ = false;

  // Last, so that it is joined before what it uses is gone.
  std::jthread thread_;
};

}  // namespace zant::velmora_host
