#pragma once

#include <jni.h>

#include <string>
#include <string_view>

// The value of the server's extension directories with the agent's own in front.
std::string extensionDirectories(std::string_view oldValue);

// The server's start-up class is being loaded: extends the server's extension directories and calls
// the Java side's bootstrap hook. Ends at the first Java step that fails, with nothing pending.
void prepareServerStart(JNIEnv* env) noexcept;
