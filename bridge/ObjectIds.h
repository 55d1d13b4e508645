#pragma once

#include <cstdint>
#include <vector>

#include "Jvm.h"
#include "jvm/jvmpi.h"

// jobjectIDs: counters from 1, never reused, kept as the object's JVMTI tag and in a table of
// weak references. Small numbers, because dumps and the class table carry ids as 4 bytes.
namespace bridge {

enum class ObjectKind : std::uint8_t { plain, klass };

// The object's id, given on first demand; null when the JVM refuses.
jobjectID idOf(JNIEnv* env, jobject object, ObjectKind kind = ObjectKind::plain);

// A new local reference, or null when the id is unknown or its object is gone.
jobject objectOf(JNIEnv* env, jobjectID id);

// The id of a class that now counts as shown to the agent; null when it already was. The events of
// a starting JVM and the replay at VMInit overlap.
jobjectID announceClass(JNIEnv* env, jclass klass);

// Forgets the objects that were collected; the ids of classes among them.
std::vector<jobjectID> forgetCollected(JNIEnv* env);

inline jobjectID asObjectId(jlong tag) { return reinterpret_cast<jobjectID>(tag); }
inline jlong tagOf(jobjectID id) { return static_cast<jlong>(reinterpret_cast<intptr_t>(id)); }

}  // namespace bridge
