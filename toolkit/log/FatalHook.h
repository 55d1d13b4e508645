#pragma once

#include <cstddef>

#include "jvm/klg.h"

// How libklgfdc.so learns of fatal records: it hands its function to libklglog.so, which calls it
// with each capture handler of the logger and the line written. The two libraries share this call;
// it is no part of the toolkit's interface.
using FatalHook = void (*)(KlgObject* handler, const char* line, std::size_t size);

extern "C" KLG_API void KlgSetFatalHook(FatalHook hook) noexcept;

FatalHook fatalHook();  // null: capture is off
