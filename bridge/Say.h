#pragma once

// The bridge's own lines on standard error: there is no log before the agent runs, and what the
// bridge has to say must also reach an operator whose agent does not run at all.
namespace bridge {

void setQuiet(bool quiet);

// Hints and warnings; the option `quiet` silences them.
[[gnu::format(printf, 1, 2)]] void note(const char* format, ...);

// Why the agent does not work; always shown.
[[gnu::format(printf, 1, 2)]] void complain(const char* format, ...);

}  // namespace bridge
