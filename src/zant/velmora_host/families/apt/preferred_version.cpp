#include <zant/velmora_host/families/apt/preferred_version.hpp>

#include <zant/velmora_host/families/apt/outlook_tools.hpp>
#include <zant/velmora_host/families/apt/package_pins.hpp>
#include <zant/velmora_host/families/apt/planned_configuration.hpp>

#include <zant/velmora/package_minder/package_constants.hpp>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <vector>

namespace zant::velmora_host::apt_outlook {
namespace {

using Json = nlohmann::json;
using velmora::Package_Constants::PACKAGE_NAME;

Cause pinned(const Outlook_Question& question, const std::string& file, const std::string& message,
             const std::string& priority) {
  const auto text = question.services.filesystem->read_file(file, velmora::Read_Flag::WHOLE_TEXT);
  const auto pin = find_pin(text, PACKAGE_NAME);
  const std::string evidence = pin ? fmt::format("{}:{}: {}", file, pin->first_line, pin->text) : file;
  std::string remedy = "package-minder once";
  if (!is_kept_by_library(file)) {
    remedy = pin ? fmt::format("sed -i '{},{}d' {}", pin->first_line, pin->last_line, quoted(file))
                 : fmt::format("mv {} {}", quoted(file), quoted(file + ".disabled"));
  }
  return blocks("package.pinned", message, evidence + "; " + priority, remedy);
}

Cause phased(const Json& answer, const std::string& judged, const std::string& priority) {
  const std::string share = answer.value("Phased-Update-Percentage", "");
  return blocks("package.phased",
                fmt::format("version {} is given to {} percent of all hosts so far, and not to this one",
                            judged, share),
                fmt::format("Phased-Update-Percentage: {}; {}", share, priority),
                configuring("APT::Get::Always-Include-Phased-Updates", "true"));
}

Cause explain(const Outlook_Question& question, const APT_Settings& settings, const Json& answer,
              const std::string& message) {
  const Json& policy = answer.at("policy");
  const std::string priority = fmt::format("its priority is {}", policy.at("priority").get<int>());
  const auto files = policy.at("pinned_by").get<std::vector<std::string>>();
  const auto named = std::find_if(files.begin(), files.end(), [](const auto& file) { return !file.empty(); });
  if (named != files.end()) {
    return pinned(question, *named, message, priority);
  }
  if (!files.empty()) {
    const std::string release = settings.value("APT::Default-Release").value_or("");
    return blocks("package.pinned", message,
                  settings.evidence("APT::Default-Release", release) + "; " + priority,
                  settings.without(settings.place_of("APT::Default-Release", release), preferring_package()));
  }
  if (policy.at("is_phased").get<bool>()) {
    return phased(answer, answer.value("judged", ""), priority);
  }
  if (policy.at("not_automatic").get<bool>()) {
    return blocks("repository.not_automatic",
                  "the repository says of itself that nothing is upgraded from it automatically",
                  "NotAutomatic: yes in its Release; " + priority, preferring_package());
  }
  return blocks("package.not_preferred", message, priority, preferring_package());
}

}  // namespace

Causes find_other_preference(const Outlook_Question& question, const APT_Settings& settings,
                             const Json& answer) {
  const Json& policy = answer.at("policy");
  Causes causes;
  if (policy.at("is_held").get<bool>()) {
    causes.push_back(blocks("hold.held", fmt::format("{} is held", PACKAGE_NAME),
                            fmt::format("apt-mark showhold: {}", PACKAGE_NAME),
                            fmt::format("apt-mark unhold {}", PACKAGE_NAME)));
  }
  const std::string judged = answer.value("judged", "");
  const std::string candidate = policy.at("candidate").get<std::string>();
  if (candidate == judged || policy.at("is_foreign").get<bool>()) {
    return causes;
  }
  causes.push_back(
      explain(question, settings, answer,
              fmt::format("APT prefers {} to version {} of {}",
                          candidate.empty() ? "no version" : "version " + candidate, judged, PACKAGE_NAME)));
  return causes;
}

}  // namespace zant::velmora_host::apt_outlook
