#pragma once

#include "jvm/jvmpi.h"

// Raw monitors of our own over pthread. The JVM's are of no use here: they cannot be created
// while the JVM starts, crash on threads that are not attached, and their wait swallows
// Thread.interrupt().
namespace bridge {

JVMPI_RawMonitor rawMonitorCreate(char* name);
void rawMonitorEnter(JVMPI_RawMonitor monitor);
void rawMonitorExit(JVMPI_RawMonitor monitor);            // by a stranger: ignored
void rawMonitorWait(JVMPI_RawMonitor monitor, jlong ms);  // by a stranger: ignored; 0: for ever
void rawMonitorNotifyAll(JVMPI_RawMonitor monitor);
// One that is held or waited on is abandoned instead of freed, so its users can still leave it.
void rawMonitorDestroy(JVMPI_RawMonitor monitor);

// Called once the JVM is dead: threads that wait or will wait spend the rest of their wait where
// the JVM can stop them, so that its exit is not held up by them.
void wakeAllWaiters();

}  // namespace bridge
