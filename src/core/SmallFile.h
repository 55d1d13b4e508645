#pragma once

#include <cstddef>

#include "base/FileIo.h"

// The few files that the agent reads and writes while the JVM starts: never one that blocks.

// Reads until the room is full or the file ends; the number of bytes.
std::size_t readUpTo(int fd, char* buffer, std::size_t room);

// Makes a new regular file, or empties the one that is there, with this text. False: not written.
bool writeRegularFile(const char* path, const char* text, std::size_t length);
