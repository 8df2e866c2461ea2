#pragma once

#include <map>
#include <set>
#include <string>

namespace zant::velmora_host {

/// Replaces references ${KEY} in settings' values by the values of those settings, and leaves references to
/// everything else as they are: they belong to the package managers. Takes time in proportion to the length
/// of the values, whatever they refer to.
class Reference_Expansion {
 public:
  /// Longer values are cut there.
  static constexpr std::size_t LONGEST_VALUE = 4096;

  /// @param values by key, with their references.
  explicit Reference_Expansion(std::map<std::string, std::string> values);

  enum class Fault {
    NONE,
    CIRCLE,    ///< the setting refers to itself, also by way of others
    TOO_LONG,  ///< its value is longer than LONGEST_VALUE
    HIDDEN,    ///< a reference would come into being by putting values together
  };

  struct Result {
    std::string value;
    Fault fault = Fault::NONE;
  };

  /// @param key one of those that have a value.
  const Result& expand(const std::string& key);

 private:
  Result expand_value_(const std::string& value);
  bool has_reference_(const std::string& value) const;

  std::map<std::string, std::string> values_;
  std::map<std::string, Result> results_;
  std::set<std::string> in_work_;
};

}  // namespace zant::velmora_host
