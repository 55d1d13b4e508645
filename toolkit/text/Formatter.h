#pragma once

#include <string_view>

#include "text/Arguments.h"
#include "text/LineBuffer.h"

// Appends text with its conversions replaced by the arguments, everything escaped. The text may
// come from a catalogue file, so it is not trusted: every conversion must be known and accept its
// argument's tag, and every argument must be used. Otherwise the text is appended as it stands and
// the arguments behind it, each in its plain form. A text without arguments is no format.
void appendFormatted(LineBuffer& line, std::string_view text, const Arguments& arguments);
