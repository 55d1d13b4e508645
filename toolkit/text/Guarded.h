#pragma once

#include <cerrno>
#include <utility>

// The body of a toolkit call: no exception leaves it, and the caller's errno is what it was.
template <class Result, class Body>
Result guarded(Result otherwise, Body body) noexcept {
  const int before = errno;
  Result result = std::move(otherwise);
  try {
    result = body();
  } catch (...) {
    // Only memory can run out here; the caller gets "not done".
  }
  errno = before;
  return result;
}

template <class Body>
void guarded(Body body) noexcept {
  guarded(0, [&] {
    body();
    return 0;
  });
}
