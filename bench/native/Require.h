#pragma once

#include <cstdio>
#include <cstdlib>
#include <string>

// What does not do the work that it is measured for has no figure: the program ends.
inline void require(bool holds, const std::string& what) {
  if (holds) return;
  std::fprintf(stderr, "%s\n", what.c_str());
  std::exit(1);
}
