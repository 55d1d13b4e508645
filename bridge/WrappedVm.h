#pragma once

#include <jni.h>

#include "jvm/ras.h"

namespace bridge {

// The JavaVM that the agent gets: everything goes on to the real one, except GetEnv with the
// numbers of the interfaces that the bridge offers. Null as long as the bridge is not set up.
JavaVM* wrappedVm();
JavaVM* wrapVm(JavaVM* real);

RAS_Interface* rasTable();

}  // namespace bridge
