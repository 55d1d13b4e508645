#pragma once

// Clang's thread safety analysis, for locks and what they guard; nothing for other compilers.
#if defined(__clang__)
#define VEL_THREAD_ANNOTATION(x) __attribute__((x))
#else
#define VEL_THREAD_ANNOTATION(x)
#endif

#define VEL_CAPABILITY(name) VEL_THREAD_ANNOTATION(capability(name))
#define VEL_SCOPED_CAPABILITY VEL_THREAD_ANNOTATION(scoped_lockable)
#define VEL_GUARDED_BY(lock) VEL_THREAD_ANNOTATION(guarded_by(lock))
#define VEL_PT_GUARDED_BY(lock) VEL_THREAD_ANNOTATION(pt_guarded_by(lock))
#define VEL_REQUIRES(...) VEL_THREAD_ANNOTATION(requires_capability(__VA_ARGS__))
#define VEL_EXCLUDES(...) VEL_THREAD_ANNOTATION(locks_excluded(__VA_ARGS__))
#define VEL_ACQUIRE(...) VEL_THREAD_ANNOTATION(acquire_capability(__VA_ARGS__))
#define VEL_RELEASE(...) VEL_THREAD_ANNOTATION(release_capability(__VA_ARGS__))
#define VEL_NO_THREAD_SAFETY_ANALYSIS VEL_THREAD_ANNOTATION(no_thread_safety_analysis)
