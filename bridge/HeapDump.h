#pragma once

#include "Jvm.h"

namespace bridge {

// Answers RequestEvent for a heap dump: the event reaches the agent on the calling thread before
// this returns. Whatever level is asked for, the dump has the sizes of the most detailed one.
jint requestHeapDump();

}  // namespace bridge
