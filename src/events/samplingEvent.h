#pragma once

#include <jni.h>

#include <memory>

#include "events/StatusEvents.h"

// The sampling rates as the Java side set them last: what the server is told whenever it needs to
// know them anew. At most SamplingEvent::kLevels are kept; missing ones are 0.
void setSamplingRates(const jint* levels, int count, jint useDefault);

// Stamped with the wall clock.
std::unique_ptr<SamplingEvent> makeSamplingEvent(JNIEnv* env);
