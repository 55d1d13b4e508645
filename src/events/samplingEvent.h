#pragma once

#include <jni.h>

#include <memory>

#include "events/StatusEvents.h"

// The sampling rates as an event, stamped with the wall clock. SamplingEvent::kLevels levels.
std::unique_ptr<SamplingEvent> makeSamplingEvent(JNIEnv* env, const jint* levels, jint useDefault);
