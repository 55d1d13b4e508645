#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace doctor {

// What the file `release` of a Java installation says.
struct JvmRelease {
  std::string version;  // "17.0.2"
  int feature = 0;      // 17; 8 for "1.8.0"
};
std::optional<JvmRelease> jvmReleaseIn(std::string_view releaseFile);

// JVMTI 1.2 and JNI 1.6 came with 6, after the last JVM that offered JVMPI itself.
inline bool offersJvmpiItself(const JvmRelease& jvm) { return jvm.feature < 6; }
inline bool isTested(const JvmRelease& jvm) { return jvm.feature >= 17; }

}  // namespace doctor
