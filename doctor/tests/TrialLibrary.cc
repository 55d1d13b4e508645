// A library for trial loads, of a kind that the build chooses.
#include <cstdlib>

#ifdef VELORA_BROKEN
extern "C" int velora_absent();
static const int answer = velora_absent();
#else
static const int answer = 42;
#endif

extern "C" [[gnu::visibility("default")]] int velora_answer() { return answer; }

#ifdef VELORA_CRASHING
[[gnu::constructor]] static void crash() { std::abort(); }
#endif
