#pragma once

#include <zant/velmora_host/families/family.hpp>
#include <zant/velmora_host/observation/cycle_store.hpp>
#include <zant/velmora_host/observation/observed_system.hpp>

#include <zant/logging/severity_level.hpp>
#include <zant/logging/source.hpp>
#include <zant/velmora/host/filesystem.hpp>

#include <boost/filesystem/path.hpp>

#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace zant::velmora_host {

/// Puts together what happens in each cycle, writes the record when it ends, and tells those who asked.
///
/// The observed services and the observed package call it on the thread that runs the cycle; between cycles
/// their calls are not recorded. Log records may come from any thread. A record that cannot be written is
/// lost, with a warning in the log, and fails no cycle.
class Cycle_Recorder {
 public:
  using Clock = std::chrono::system_clock;
  using Listener = std::function<void(const Cycle_State& state)>;

  /// @param filesystem the real one, which the file of records and the files of the host are read by.
  /// @param family of the host; outlives this object.
  /// @param now tells the time.
  Cycle_Recorder(std::string program, std::shared_ptr<velmora::Filesystem> filesystem, const Family& family,
                 const boost::filesystem::path& record_file,
                 std::function<Clock::time_point()> now = Clock::now);

  /// Called after each cycle, on the thread that ran it. To be added before the first one.
  void add_listener(Listener listener) { listeners_.push_back(std::move(listener)); }

  void begin_cycle();
  /// @param thrown the failure of the step that ended the cycle with an exception; nothing when all steps
  /// ran.
  void end_cycle(const std::optional<Cycle_Failure>& thrown);

  void note_command(const std::string& line, int exit_code, double seconds);
  /// A hold was released.
  void note_release();
  void note_log(zant::logging::severity_level severity, const std::string& message);

  /// For a failure that does not end the cycle; the first one of each step counts.
  void note_failure(const Cycle_Failure& failure);

  /// Compares the keys that the host trusts now with those that it trusted after the last import, and logs
  /// what is different.
  void note_key_import(const Key_Import& import);

  /// To be called before the file, or the directory with everything in it, is changed.
  void note_touched(const boost::filesystem::path& file);
  void note_directory_touched(const boost::filesystem::path& directory);

  /// The library put the file there.
  void note_installed(const boost::filesystem::path& file);

  /// The library found the file as it wants it.
  void note_in_step(const boost::filesystem::path& file);

 private:
  std::string digest_of_(const std::string& file);
  void settle_file_(const std::string& file, const std::string& before);
  void settle_installed_file_(const std::string& file, const std::string& before, const std::string& after);
  void keep_keys_(const Key_Import& import);
  void settle_outcome_(const std::optional<Cycle_Failure>& thrown);

  zant::logging::Source log_;
  std::string program_;
  std::shared_ptr<velmora::Filesystem> filesystem_;
  const Family& family_;
  boost::filesystem::path record_file_;
  std::function<Clock::time_point()> now_;
  std::vector<Listener> listeners_;

  // Of what follows. Recursive, because reading a file may log a warning, which comes back as a record.
  std::recursive_mutex mutex_;
  bool in_cycle_ = false;
  Cycle_History history_;
  Cycle_Record record_;
  std::map<std::string, std::string> touched_;  // and the digest before; empty when there was no file
  std::set<std::string> installed_;
};

}  // namespace zant::velmora_host
