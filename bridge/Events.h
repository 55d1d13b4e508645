#pragma once

#include "Jvm.h"
#include "jvm/jvmmi.h"
#include "jvm/jvmpi.h"

// Which events the agent wants, and the one way to it.
namespace bridge {

// The tables handed out by the wrapped JavaVM's GetEnv.
JVMPI_Interface* jvmpiTable();
JVMMI_Interface* jvmmiTable(jint version);

// JVMPI's EnableEvent and DisableEvent. Their flags are the bridge's own, because the JVM refuses
// a change of its event modes while it starts: what is switched then is tested on delivery at
// once and told to the JVM at VMInit.
jint switchEvent(jint type, bool on);
bool isEnabled(jint type);

jint registerJvmmi(JVMMI_Callback callback, void* userData, jint event);
bool isRegistered(jint jvmmiEvent);

// Tells the JVM which of its events we want now.
void applyEventModes();

// No event reaches the agent any more, although the JVM goes on.
void stopDelivery();
bool deliveryStopped();

// Hands an event to the agent; false when nothing took it. A Java exception left pending by the
// handler is cleared.
bool deliver(JVMPI_Event& event);
void deliverJvmmi(JVMMI_Event& event);

// The last event. No other begins any more, and handlers that run have a moment to come to their
// end before it.
void deliverShutDown(JNIEnv* env);

// Java ints serve as thread ids: the low half of the environment's address.
inline int threadIdOf(JNIEnv* env) { return static_cast<int>(reinterpret_cast<intptr_t>(env)); }

}  // namespace bridge
