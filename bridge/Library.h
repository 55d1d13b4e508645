#pragma once

#include <string>

namespace bridge {

// Where this library lies; empty when the system does not tell.
std::string libraryPath();
std::string libraryDirectory();

}  // namespace bridge
