#pragma once
// TMultiReadExclusiveWriteSynchronizer: a lock that many threads hold for reading or one for
// writing.
//
// Both sides are re-entrant: who writes may begin to write or to read again, who reads may begin to
// read again, and each end answers one begin. A reader may also begin to write; it then gives up
// its reading while it waits, and BeginWrite tells whether another thread wrote in between. Writers
// that wait go before new readers.
//
//   TReadGuard guard(FObjectsSemaphore);  // held to the end of the scope

#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <thread>
#include <vector>

#include "perlayer/platform/ThreadAnnotations.h"

namespace perlayer {

class PL_CAPABILITY("synchronizer") TMultiReadExclusiveWriteSynchronizer {
 public:
  TMultiReadExclusiveWriteSynchronizer() = default;
  TMultiReadExclusiveWriteSynchronizer(const TMultiReadExclusiveWriteSynchronizer&) = delete;
  TMultiReadExclusiveWriteSynchronizer& operator=(const TMultiReadExclusiveWriteSynchronizer&) =
      delete;

  void BeginRead() PL_ACQUIRE_SHARED();
  // Raises EAssertionFailed when the calling thread does not read.
  void EndRead() PL_RELEASE_SHARED();
  // False when the calling thread has been reading and another wrote before this one could: what
  // was read may have changed. The lock is held either way.
  bool BeginWrite() PL_ACQUIRE();
  // Raises EAssertionFailed when the calling thread does not write.
  void EndWrite() PL_RELEASE();

 private:
  struct TReader {
    std::thread::id thread;
    int depth;
  };
  std::vector<TReader>::iterator Own();

  std::mutex FLock;  // guards what follows; held for the length of a look only
  std::condition_variable FChanged;
  std::vector<TReader> FReaders;  // who reads now, and the writer if it reads too
  std::thread::id FWriter;        // nobody while FWriteDepth is 0
  int FWriteDepth = 0;
  int FWaitingWriters = 0;
  std::uint64_t FWrites = 0;  // how often somebody began to write
};

class PL_SCOPED_CAPABILITY TReadGuard {
 public:
  explicit TReadGuard(TMultiReadExclusiveWriteSynchronizer& lock) PL_ACQUIRE_SHARED(lock)
      : FLock(lock) {
    FLock.BeginRead();
  }
  ~TReadGuard() PL_RELEASE() { FLock.EndRead(); }
  TReadGuard(const TReadGuard&) = delete;
  TReadGuard& operator=(const TReadGuard&) = delete;

 private:
  TMultiReadExclusiveWriteSynchronizer& FLock;
};

class PL_SCOPED_CAPABILITY TWriteGuard {
 public:
  explicit TWriteGuard(TMultiReadExclusiveWriteSynchronizer& lock) PL_ACQUIRE(lock) : FLock(lock) {
    FLock.BeginWrite();
  }
  ~TWriteGuard() PL_RELEASE() { FLock.EndWrite(); }
  TWriteGuard(const TWriteGuard&) = delete;
  TWriteGuard& operator=(const TWriteGuard&) = delete;

 private:
  TMultiReadExclusiveWriteSynchronizer& FLock;
};

}  // namespace perlayer
