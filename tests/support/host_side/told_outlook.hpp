#pragma once

#include <zant/velmora_host/families/family_registry.hpp>

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace zant::velmora_host::test_support {

/// A family that is told what becomes of the package, for tests of what is made of it.
template <typename Real_Family>
class Told_Family : public Real_Family {
 public:
  explicit Told_Family(std::shared_ptr<const Upgrade_Outlook> outlook) : outlook_(std::move(outlook)) {}

  Upgrade_Outlook find_upgrade_outlook(const Outlook_Question& question) const override {
    planned() = question.planned;
    return *outlook_;
  }

  /// What the last question said of the next cycle.
  static Planned_Files& planned() {
    static Planned_Files files;
    return files;
  }

 private:
  std::shared_ptr<const Upgrade_Outlook> outlook_;
};

/// @param outlook may be changed later.
template <typename... Real_Families>
Family_Registry registry_with_told(const std::shared_ptr<const Upgrade_Outlook>& outlook) {
  std::vector<std::unique_ptr<Family>> families;
  (families.push_back(std::make_unique<Told_Family<Real_Families>>(outlook)), ...);
  return Family_Registry(std::move(families));
}

inline Upgrade_Outlook outlook_of(const std::string& installed, const std::string& offered) {
  Upgrade_Outlook outlook;
  outlook.installed = installed;
  outlook.offered = offered;
  outlook.newer_is_offered = installed != offered;
  return outlook;
}

}  // namespace zant::velmora_host::test_support
