#pragma once

#include <string>

#include "Jvm.h"

namespace bridge {

// The text of a javacore file: every live thread with its ids, its state, its stack at one moment
// and the monitors it holds. Empty when the JVM does not tell.
//
//     "name" (TID:0x1c, sys_thread_t:0x5d0e3a88, state:BLOCKED, native ID:0x2f31) prio=5
//         at pkg.Type.method(Type.java:12)
//         - locked <0x3f4a> (a pkg.Lock)
//
// A line after a header is a frame or a held monitor; an empty line ends a stack. sys_thread_t is
// the low half of the thread's JNIEnv, as which Java knows a thread; 0 when it is not known.
std::string javacoreText(JNIEnv* env);

// A thread's name as a header can hold it: no quotes, no line breaks, of bounded length.
std::string nameInHeader(const char* name);

}  // namespace bridge
