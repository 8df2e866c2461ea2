#include <zant/velmora_host/observation/observed_filesystem.hpp>

#include <algorithm>
#include <utility>

namespace zant::velmora_host {

Observed_Filesystem::Observed_Filesystem(std::shared_ptr<Host_Filesystem> real,
                                         std::shared_ptr<Cycle_Recorder> recorder,
                                         const Path& staging_directory)
    : Forwarding_Filesystem(std::move(real)),
      recorder_(std::move(recorder)),
      staging_directory_(staging_directory) {}

bool Observed_Filesystem::remove(const Path& path) {
  recorder_->note_touched(path);
  return real().remove(path);
}

void Observed_Filesystem::remove(const std::vector<Path>& paths) {
  for (const auto& path : paths) {
    recorder_->note_touched(path);
  }
  real().remove(paths);
}

void Observed_Filesystem::remove_all(const Path& path) {
  recorder_->note_directory_touched(path);
  real().remove_all(path);
}

bool Observed_Filesystem::copy_file(const Path& source, const Path& destination, int copy_option) {
  recorder_->note_touched(destination);
  const bool copied = real().copy_file(source, destination, copy_option);
  if (copied && is_staged_(source)) {
    recorder_->note_installed(destination);
  }
  return copied;
}

std::size_t Observed_Filesystem::copy_files(const std::vector<Path>& sources, const Path& directory,
                                            int copy_option) {
  for (const auto& source : sources) {
    recorder_->note_touched(directory / source.filename());
  }
  const std::size_t copied = real().copy_files(sources, directory, copy_option);
  // The result does not tell which ones were copied if not all were; the cycle fails then and removes them.
  for (const auto& source : sources) {
    if (copied == sources.size() && is_staged_(source)) {
      recorder_->note_installed(directory / source.filename());
    }
  }
  return copied;
}

bool Observed_Filesystem::files_equal(const Path& first, const Path& second) {
  const bool equal = real().files_equal(first, second);
  if (equal && is_staged_(first) != is_staged_(second)) {
    recorder_->note_in_step(is_staged_(first) ? second : first);
  }
  return equal;
}

bool Observed_Filesystem::is_staged_(const Path& path) const {
  return std::mismatch(staging_directory_.begin(), staging_directory_.end(), path.begin(), path.end())
             .first == staging_directory_.end();
}

}  // namespace zant::velmora_host
