#pragma once
// Words for declarations that clang's -Wthread-safety reads; other compilers see nothing.
//
//   TCriticalSection FLock;
//   int FCount PL_GUARDED_BY(FLock);
//   void RequeueLocked() PL_REQUIRES(FLock);

#if defined(__clang__)
#define PL_THREAD_ATTRIBUTE(x) __attribute__((x))
#else
#define PL_THREAD_ATTRIBUTE(x)
#endif

// On classes: a lock, and a guard that holds one for a scope.
#define PL_CAPABILITY(name) PL_THREAD_ATTRIBUTE(capability(name))
#define PL_SCOPED_CAPABILITY PL_THREAD_ATTRIBUTE(scoped_lockable)

// On data: the lock to hold while touching the member, or what the pointer member points to.
#define PL_GUARDED_BY(lock) PL_THREAD_ATTRIBUTE(guarded_by(lock))
#define PL_PT_GUARDED_BY(lock) PL_THREAD_ATTRIBUTE(pt_guarded_by(lock))

// On functions: what the caller holds, and must not hold.
#define PL_REQUIRES(...) PL_THREAD_ATTRIBUTE(requires_capability(__VA_ARGS__))
#define PL_REQUIRES_SHARED(...) PL_THREAD_ATTRIBUTE(requires_shared_capability(__VA_ARGS__))
#define PL_EXCLUDES(...) PL_THREAD_ATTRIBUTE(locks_excluded(__VA_ARGS__))

// On functions: what the call takes and gives back. Without an argument: the object itself.
#define PL_ACQUIRE(...) PL_THREAD_ATTRIBUTE(acquire_capability(__VA_ARGS__))
#define PL_ACQUIRE_SHARED(...) PL_THREAD_ATTRIBUTE(acquire_shared_capability(__VA_ARGS__))
#define PL_TRY_ACQUIRE(...) PL_THREAD_ATTRIBUTE(try_acquire_capability(__VA_ARGS__))
#define PL_RELEASE(...) PL_THREAD_ATTRIBUTE(release_capability(__VA_ARGS__))
#define PL_RELEASE_SHARED(...) PL_THREAD_ATTRIBUTE(release_shared_capability(__VA_ARGS__))
#define PL_ASSERT_CAPABILITY(lock) PL_THREAD_ATTRIBUTE(assert_capability(lock))
#define PL_RETURN_CAPABILITY(lock) PL_THREAD_ATTRIBUTE(lock_returned(lock))

// On functions whose locking the analysis cannot follow; say why beside it.
#define PL_NO_THREAD_SAFETY_ANALYSIS PL_THREAD_ATTRIBUTE(no_thread_safety_analysis)

namespace perlayer {

// What code holds that runs on a thread other than the main one. No lock: it exists for the
// analysis only.
class PL_CAPABILITY("thread other than the main one") TOtherThread {};
inline constexpr TOtherThread OtherThread{};

// Tells the analysis that from here on the function runs on another thread.
inline void AssumeOtherThread() PL_ASSERT_CAPABILITY(OtherThread) {}

}  // namespace perlayer

// The main thread. Functions that belong to it say PL_MAIN_THREAD; the code of other threads, that
// is each override of TThread::Execute and what it calls, says PL_OTHER_THREAD. A call of the
// former from the latter is then a warning. What says neither is not checked.
#define PL_MAIN_THREAD PL_EXCLUDES(::perlayer::OtherThread)
#define PL_OTHER_THREAD PL_REQUIRES(::perlayer::OtherThread)
