#pragma once

#include <span>
#include <string_view>

// Puts a file in the place of whatever file has this name, in one step and readable by its owner
// alone from its first byte on. A symbolic link is replaced, never followed; a directory, FIFO or
// device stays, and the answer is false.
bool replacePrivateFile(const char* path, std::span<const std::string_view> parts);
