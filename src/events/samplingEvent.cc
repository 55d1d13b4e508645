#include "events/samplingEvent.h"

#include <algorithm>

#include "base/Trace.h"
#include "base/platform.h"

std::unique_ptr<SamplingEvent> makeSamplingEvent(JNIEnv* env, const jint* levels, jint useDefault) {
  VEL_TRACE();
  auto event = std::make_unique<SamplingEvent>(Event::NOSTYPE);
  event->env_ = env;
  getCurrentTime(&event->timeSec_, &event->timeUSec_);
  std::copy_n(levels, SamplingEvent::kLevels, event->probeLevels);
  event->useDefault = useDefault;
  return event;
}
