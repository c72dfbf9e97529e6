#include "publishing/publish_target.h"

#include "platform/special_folders.h"

namespace tavelin {

std::optional<PublishTarget> TargetOf(const PublishSettings& settings, std::string& why) {
  if (const auto problem = PublishSettingsProblem(settings)) {
    why = *problem;
    return std::nullopt;
  }
  PublishTarget target;
  target.address = *ParseBrokerUrl(settings.url, why);
  target.bench = settings.bench;
  target.caFile = settings.caFile;
  target.password = PublishPassword(settings, why);
  if (!why.empty()) return std::nullopt;
  target.version = settings.mqttVersion;
  target.spoolLimitBytes = static_cast<uint64_t>(settings.spoolLimitMb) << 20;
  target.spoolFolder = SpoolFolder();
  return target;
}

}  // namespace tavelin
