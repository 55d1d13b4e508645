#pragma once

#include <algorithm>
#include <cstddef>

#include "fake/FakeJvm.h"

// What stands in every slot that the fake JVM does not provide: it ends the program with its name.
template <std::size_t Size>
struct SlotName {
  char text[Size];
  consteval SlotName(const char (&name)[Size]) { std::copy_n(name, Size, text); }
};

template <SlotName Name>
struct NotProvided {
  template <class R, class... A>
  [[noreturn]] static R call(A...) {
    fakeJvmFails(Name.text, "not provided");
  }
  template <class R, class... A>
  [[noreturn]] static R callAny(A..., ...) {
    fakeJvmFails(Name.text, "not provided");
  }
  template <class R, class... A>
  static auto of(R (*)(A...)) {
    return call<R, A...>;
  }
  template <class R, class... A>
  static auto of(R (*)(A..., ...)) {
    return callAny<R, A...>;
  }
};

// Fills a slot of `table` with what the template's `Provider` has under its name.
#define PROVIDED_OR_NOT(name)                 \
  if constexpr (requires { Provider::name; }) \
    table.name = Provider::name;              \
  else                                        \
    table.name = NotProvided<#name>::of(table.name);
