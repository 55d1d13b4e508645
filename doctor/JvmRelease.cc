#include "JvmRelease.h"

#include "Text.h"

namespace doctor {

std::optional<JvmRelease> jvmReleaseIn(std::string_view releaseFile) {
  auto quoted = settingIn(releaseFile, "JAVA_VERSION");
  if (!quoted) return std::nullopt;
  std::string_view version = *quoted;
  if (version.size() >= 2 && version.starts_with('"') && version.ends_with('"'))
    version = version.substr(1, version.size() - 2);
  std::string_view feature = version.starts_with("1.") ? version.substr(2) : version;
  feature = feature.substr(0, feature.find_first_not_of("0123456789"));
  const auto number = numberIn(feature);
  if (!number) return std::nullopt;
  return JvmRelease{std::string(version), static_cast<int>(*number)};
}

}  // namespace doctor
