#pragma once

#include <string_view>

#include "text/LineBuffer.h"

// Appends text so that it can neither end the record nor steer a terminal: control characters,
// line and paragraph separators, direction overrides and bytes that are no UTF-8 become visible
// escapes (\n, \x1B, \u2028). Everything else stays as it is, the backslash too: the aim is a
// whole line, not a way back.
void appendEscaped(LineBuffer& line, std::string_view text);
