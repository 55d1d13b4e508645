#include "HeapObjects.h"

#include <exception>
#include <string>

#include "ClassRecord.h"
#include "Events.h"
#include "HeapCensus.h"
#include "Say.h"

namespace bridge {

static std::string typeNameOf(const LoadedClasses& classes, jlong tag) {
  const jclass klass = classes.find(tag);
  JvmtiPtr<char> signature;
  if (!klass || jvm.jvmti->GetClassSignature(klass, signature.out(), nullptr) != JVMTI_ERROR_NONE)
    return "";
  return typeName(signature.get());
}

// The objects of a group differ in nothing that the event says.
static void replay(JNIEnv* env, const HeapCensus& census, JVMMI_Callback callback, void* userData) {
  const ExceptionFence fence(env);
  JVMMI_Event event{};
  event.event = JVMMI_EVENT_OBJECT;
  event.env_id = env;
  jlong named = -1;
  std::string name;
  for (const ObjectGroup& group : census.groups) {
    if (group.classTag != named) {
      name = typeNameOf(*census.classes, named = group.classTag);
      event.type_name = name.c_str();
      event.class_id = static_cast<jint>(named);
    }
    event.size = group.size;
    for (jlong i = 0; i < group.count; ++i) callback(env, &event, userData, threadIdOf(env));
  }
}

jint enumerateObjects(JNIEnv* env, jint what, jint mask, JVMMI_Callback callback, void* userData) {
  if (!env || !callback || what != JVMMI_ENUMERATE_OBJECTS || mask != JVMMI_ENUMERATE_ALL ||
      !jvm.is(Phase::live))
    return JNI_ERR;
  try {
    const auto census = takeCensus(env);
    if (!census) return JNI_ERR;
    replay(env, *census, callback, userData);
    return JNI_OK;
  } catch (const std::exception& e) {
    complain("an enumeration of the heap's objects failed: %s", e.what());
    return JNI_ERR;
  }
}

}  // namespace bridge
