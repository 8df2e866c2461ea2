#pragma once

namespace zant::velmora_host {

/// Keeps a host from taking other packages from the repository than the settings allow. What the library
/// installs knows nothing of it.
///
/// Owned by the package factory and by what it makes. Not synchronised, as the library's objects. All
/// operations throw std::runtime_error when the host cannot be brought in step.
class Repository_Limit {
 public:
  virtual ~Repository_Limit() = default;

  /// Before the library renders its files into the staging directory.
  virtual void prepare_templates() = 0;

  /// After it has done so.
  virtual void render() = 0;

  /// Brings the host in step, before the library registers the repository: no other package is ever offered.
  virtual void set_up_if_necessary() = 0;

  /// Removes what is not gone with the files that the library removes, which are gone by then.
  virtual void purge() = 0;
};

}  // namespace zant::velmora_host
