#pragma once

// A global that the library shows to its neighbours in the process; also named in velora.map.
#define VEL_EXPORTED __attribute__((visibility("default")))
