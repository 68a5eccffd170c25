#pragma once

// Which lock guards a field, for clang's thread-safety analysis: an access without the lock does not compile where that
// is on. The analysis knows std::mutex and std::scoped_lock of one mutex; it knows neither recursive mutexes nor
// std::unique_lock, so what they guard is told by comments. The prefix keeps clear of the macros of a host's headers.
#ifdef __clang__
#define HEADSET_GUARDED_BY(mutex) __attribute__((guarded_by(mutex)))
#define HEADSET_REQUIRES(mutex) __attribute__((requires_capability(mutex)))
#define HEADSET_NO_THREAD_SAFETY_ANALYSIS __attribute__((no_thread_safety_analysis))
#else
#define HEADSET_GUARDED_BY(mutex)
#define HEADSET_REQUIRES(mutex)
#define HEADSET_NO_THREAD_SAFETY_ANALYSIS
#endif
