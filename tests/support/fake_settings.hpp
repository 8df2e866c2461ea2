#pragma once

#include <support/call_journal.hpp>

#include <Poco/AutoPtr.h>
#include <Poco/Util/LayeredConfiguration.h>
#include <Poco/Util/MapConfiguration.h>

#include <memory>
#include <string>
#include <utility>

namespace zant::velmora::test_support {

/// Settings in memory, set with `setString`. Records every look at a setting, whether for its presence or its
/// value, in the journal as "setting KEY".
class Fake_Settings : public Poco::Util::LayeredConfiguration {
 public:
  explicit Fake_Settings(std::shared_ptr<Call_Journal> journal = make_journal())
      : journal_(std::move(journal)) {
    addWriteable(Poco::AutoPtr<Poco::Util::AbstractConfiguration>(new Poco::Util::MapConfiguration), 0);
  }

 protected:
  bool getRaw(const std::string& key, std::string& value) const override {
    journal_->push_back("setting " + key);
    return LayeredConfiguration::getRaw(key, value);
  }

 private:
  std::shared_ptr<Call_Journal> journal_;
};

}  // namespace zant::velmora::test_support
