#pragma once

#include <jni.h>

#include <string_view>

#include "jvm/jvmpi.h"

// What the agent asks of a JVM all the time, at next to no cost. The fake JVM checks, locks and
// looks up every reference and every monitor: that would be most of what is measured.

// A Java string. It must outlive its uses as a jstring.
class JavaString {
 public:
  constexpr explicit JavaString(std::u16string_view units) : units_(units) {}
  operator jstring() const { return reinterpret_cast<jstring>(const_cast<JavaString*>(this)); }
  std::u16string_view units() const { return units_; }

 private:
  std::u16string_view units_;
};

// From now on all strings that this environment sees are JavaStrings. A call on strings that is not
// provided here ends the program with a message, as in the unit tests.
void useCheapStrings(JNIEnv* env);
// Before the first monitor is made.
void useCheapMonitors(JVMPI_Interface& profiler);
