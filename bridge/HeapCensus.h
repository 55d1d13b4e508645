#pragma once

#include <memory>
#include <optional>
#include <vector>

#include "Jvm.h"

namespace bridge {

// The classes of this moment, each with its id. They stay loaded as long as this lives.
class LoadedClasses {
 public:
  explicit LoadedClasses(JNIEnv* env);
  ~LoadedClasses();
  LoadedClasses(const LoadedClasses&) = delete;
  LoadedClasses& operator=(const LoadedClasses&) = delete;

  struct One {
    jlong tag;  // its id
    jclass klass;
  };
  const std::vector<One>& all() const { return all_; }  // by tag
  jclass find(jlong tag) const;                         // null for none

 private:
  JNIEnv* env_;
  std::vector<One> all_;
};

constexpr jint kNoArray = -1;

// Objects that are alike in all that a census tells of them.
struct ObjectGroup {
  jlong classTag;
  jint length;  // of arrays
  jlong size;   // bytes of one object
  jlong count;
};

// All living objects, counted by class, length and size, by class and length in order. Garbage is
// collected first, then the JVM stands still for the count. Memory: one group for each array length
// that there is of a class, so for n bytes of heap some sqrt(n) groups for each array class at
// most. Nothing when the JVM refuses or there is no memory.
struct HeapCensus {
  std::unique_ptr<LoadedClasses> classes;
  std::vector<ObjectGroup> groups;
};
std::optional<HeapCensus> takeCensus(JNIEnv* env);

}  // namespace bridge
