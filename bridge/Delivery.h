#pragma once

#include "Jvm.h"

// Garbage collections are reported by the JVM where nothing may call back into it, in the middle of
// a pause. The callbacks only leave a note here; a thread of the bridge's own, attached as a
// daemon, takes the notes to the agent. It is in native code while the JVM pauses, so the start of
// a collection is seen in time. After collections a second one looks which classes are gone.
namespace bridge {

// Before the first callback: notes may be left from then on.
void prepareDelivery();
// From VMInit on, once.
void startDelivery(JNIEnv* env);
// Ends the threads; waits a few milliseconds at most, so that the JVM finds none of them busy.
void endDelivery();

// True for the threads that deliver: they are no threads of the application's.
bool isDeliveryThread(JNIEnv* env, jthread thread);

// From JVM callbacks; no JNI, no JVMTI, no lock that is ever held over either.
void noteGc(bool start);

}  // namespace bridge
