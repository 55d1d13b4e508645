// Stands in for the external instrumentation library. It keeps a class that begins with "keep",
// replaces any other by its bytes in reverse, and asks for the hook's end when one ends with "!".
// Compiled in three ways: whole, refusing to start, and with no function but the one that starts
// it.
#include <jni.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <string_view>

#include "instrument/ClassData.h"

#define EXPORTED extern "C" __attribute__((visibility("default")))

EXPORTED int standInLive;  // buffers made and not released
int standInLive = 0;
EXPORTED char standInOptions[64];
char standInOptions[64] = "";

EXPORTED signed char jitiInitialize(char* options) {
  if (options) std::strncpy(standInOptions, options, sizeof standInOptions - 1);
  return STANDIN_ANSWER;
}

#if STANDIN_WHOLE
EXPORTED int jitiProcessClass(JNIEnv*, ClassData* data) {
  const std::string_view bytes(reinterpret_cast<char*>(data->classData),
                               static_cast<std::size_t>(data->classDataLen));
  const bool last = bytes.ends_with('!');
  if (bytes.starts_with("keep")) return last;
  auto* reversed = new BYTE[bytes.size()];
  std::reverse_copy(bytes.begin(), bytes.end(), reversed);
  data->classData = reversed;
  ++standInLive;
  return last;
}

EXPORTED void jitiReleaseClassData(ClassData* data) {
  if (standInLive == 0) return;
  delete[] data->classData;
  --standInLive;
}

EXPORTED void jitiShutdown() {}
#endif
