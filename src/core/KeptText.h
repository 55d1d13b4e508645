#pragma once

// A copy for good: readers keep the pointer without asking. A text that was kept before is the one
// already there, so texts that come again and again do not pile up. Null for null.
const char* keptText(const char* text);
