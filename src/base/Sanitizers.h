#pragma once

// Which sanitizer the code is built for: 0 or 1, whichever compiler it is.
#if defined(__has_feature)
#define VEL_SANITIZER_FEATURE(name) __has_feature(name)
#else
#define VEL_SANITIZER_FEATURE(name) 0
#endif

#if defined(__SANITIZE_ADDRESS__) || VEL_SANITIZER_FEATURE(address_sanitizer)
#define VEL_ADDRESS_SANITIZER 1
#else
#define VEL_ADDRESS_SANITIZER 0
#endif

#if defined(__SANITIZE_THREAD__) || VEL_SANITIZER_FEATURE(thread_sanitizer)
#define VEL_THREAD_SANITIZER 1
#else
#define VEL_THREAD_SANITIZER 0
#endif
