#include <com_velora_command_CommandAgent.h>

#include "base/Trace.h"
#include "core/Native.h"
#include "core/ThreadQueries.h"

VEL_ANSWER(jlong, 0, Java_com_velora_command_CommandAgent_getThreadId,
           (jstring threadName, jstring groupName),
           ThreadQueries::getThreadId(env, threadName, groupName))
VEL_ANSWER(jint, -1, Java_com_velora_command_CommandAgent_generateThreadDump,
           (jobject threadDumpInfo), ThreadQueries::generateThreadDump(env, threadDumpInfo))
