#pragma once

// When the library was compiled, "19:23:00" and "Dec  1 2005". SOURCE_DATE_EPOCH fixes both.
extern const char* const kBuildTime;
extern const char* const kBuildDate;
