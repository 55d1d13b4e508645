#pragma once

#include <jni.h>

#include <cstddef>

// A unit takes at most three bytes; zero takes two, so that no byte of a text is zero.
constexpr std::size_t kBytesPerUnit = 3;

// Writes `count` UTF-16 units as modified UTF-8, without a terminator; the bytes written. `out` may
// lie in the memory of the units, `count` bytes or more in front of them.
std::size_t toModifiedUtf8(const jchar* units, std::size_t count, char* out);
