#pragma once

#include <zant/velmora_host/families/minded_host.hpp>
#include <zant/velmora_host/observation/cycle_record.hpp>
#include <zant/velmora_host/staging/keyring.hpp>
#include <zant/velmora_host/verdict/verdict.hpp>

#include <boost/filesystem/path.hpp>

#include <memory>
#include <mutex>
#include <optional>
#include <vector>

namespace zant::velmora_host {

/// Writes the metrics after each cycle and each verdict. Safe to call from several threads at once.
class Metrics_File_Writer {
 public:
  /// @param host              looked at once; not kept.
  /// @param staging_directory the working copy that the library renders into.
  Metrics_File_Writer(const Minded_Host& host, const boost::filesystem::path& staging_directory);

  void note_cycle(const Cycle_State& state);

  /// An installation makes no progress, or gets on again.
  void note_installation(bool is_stalled);

  /// @param keys that the package manager checks packages with; nothing where it keeps none of its own.
  void note_verdict(const Verdict& verdict, const std::optional<std::vector<Signing_Key>>& keys);

 private:
  void write_() const;

  const boost::filesystem::path file_;
  const boost::filesystem::path record_;
  const std::shared_ptr<Host_Filesystem> filesystem_;
  std::mutex mutex_;
  std::vector<Signing_Key> keys_;
  std::optional<Cycle_State> state_;
  std::optional<Verdict> verdict_;
  bool is_installation_stalled_ = false;
};

}  // namespace zant::velmora_host
