#pragma once

#include <cstdint>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "HeapCensus.h"

namespace bridge {

// Bytes of a value with this signature in a heap dump, where references are ids of four bytes.
std::uint32_t valueWidth(char signature);

// What a heap dump's records of a class and of its objects depend on.
struct ClassLayout {
  enum class Kind : std::uint8_t { plain, objectArray, primitiveArray };
  Kind kind = Kind::plain;
  bool prepared = true;
  char element = 0;                 // primitive arrays: the elements' signature
  jlong elementTag = 0;             // object arrays
  jlong superclass = 0;             // 0 for none
  std::vector<jlong> interfaces;    // as the class-load event counts them
  std::uint32_t staticBytes = 0;    // all its static values
  std::uint32_t ownBytes = 0;       // the instance fields that it declares
  std::uint32_t instanceBytes = 0;  // these and the inherited ones
};

class HeapLayouts {
 public:
  HeapLayouts(JNIEnv* env, const LoadedClasses& classes);
  const ClassLayout* find(jlong tag) const;
  std::unordered_set<jlong> unprepared() const;

 private:
  std::unordered_map<jlong, ClassLayout> layouts_;
};

}  // namespace bridge
