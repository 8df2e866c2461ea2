#pragma once

#include <Poco/AutoPtr.h>
#include <Poco/Util/LayeredConfiguration.h>
#include <Poco/Util/MapConfiguration.h>

#include <algorithm>
#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

namespace zant::velmora::test_support {

/// Layered settings with one layer, which notes the keys that are looked up.
class Recorded_Settings {
 public:
  Recorded_Settings(std::initializer_list<std::pair<const std::string, std::string>> values = {}) {
    layers_->add(layer_, 0);
    for (const auto& [key, value] : values) {
      set(key, value);
    }
  }

  void set(const std::string& key, const std::string& value) { layer_->setString(key, value); }

  operator const Poco::Util::LayeredConfiguration&() const { return *layers_; }

  /// The keys looked up so far, each once, in the order of the first time.
  std::vector<std::string> keys() const { return layer_->keys; }

 private:
  class Layer : public Poco::Util::MapConfiguration {
   public:
    mutable std::vector<std::string> keys;

   protected:
    bool getRaw(const std::string& key, std::string& value) const override {
      if (std::find(keys.begin(), keys.end(), key) == keys.end()) {
        keys.push_back(key);
      }
      return MapConfiguration::getRaw(key, value);
    }
  };

  Poco::AutoPtr<Layer> layer_{new Layer};
  Poco::AutoPtr<Poco::Util::LayeredConfiguration> layers_{new Poco::Util::LayeredConfiguration};
};

}  // namespace zant::velmora::test_support
