#pragma once

#include <jni.h>

#include <string_view>

#include "jvm/jvmpi.h"

// What the agent asks of a JVM all the time, at next to no cost. The fake JVM checks, locks and
// looks up every reference and every monitor: that would be most of what is measured.

// A Java string of ASCII. It must outlive its uses as a jstring.
class JavaString {
 public:
  constexpr explicit JavaString(std::string_view ascii) : ascii_(ascii) {}
  operator jstring() const { return reinterpret_cast<jstring>(const_cast<JavaString*>(this)); }
  std::string_view ascii() const { return ascii_; }

 private:
  std::string_view ascii_;
};

// From now on all strings that this environment sees are JavaStrings. A call on strings that is not
// provided here ends the program with a message, as in the unit tests.
void useCheapStrings(JNIEnv* env);
// Before the first monitor is made.
void useCheapMonitors(JVMPI_Interface& profiler);
