#include "perlayer/platform/TMultiReadExclusiveWriteSynchronizer.h"

#include <algorithm>
#include <utility>

#include "perlayer/platform/Exception.h"

namespace perlayer {

std::vector<TMultiReadExclusiveWriteSynchronizer::TReader>::iterator
TMultiReadExclusiveWriteSynchronizer::Own() {
  return std::find_if(FReaders.begin(), FReaders.end(), [](const TReader& reader) {
    return reader.thread == std::this_thread::get_id();
  });
}

void TMultiReadExclusiveWriteSynchronizer::BeginRead() {
  const std::thread::id self = std::this_thread::get_id();
  std::unique_lock lock(FLock);
  if (const auto own = Own(); own != FReaders.end()) {
    ++own->depth;
    return;
  }
  if (FWriteDepth == 0 || FWriter != self)
    FChanged.wait(lock, [this] { return FWriteDepth == 0 && FWaitingWriters == 0; });
  FReaders.push_back({self, 1});
}

void TMultiReadExclusiveWriteSynchronizer::EndRead() {
  const std::lock_guard lock(FLock);
  const auto own = Own();
  Assert(own != FReaders.end(), "EndRead: the thread does not read");
  if (--own->depth > 0) return;
  *own = FReaders.back();
  FReaders.pop_back();
  if (FReaders.empty()) FChanged.notify_all();
}

bool TMultiReadExclusiveWriteSynchronizer::BeginWrite() {
  const std::thread::id self = std::this_thread::get_id();
  std::unique_lock lock(FLock);
  if (FWriteDepth > 0 && FWriter == self) {
    ++FWriteDepth;
    return true;
  }
  // Readers that wait to write must not wait for each other's reading, so it is laid down
  // meanwhile.
  int reads = 0;
  if (const auto own = Own(); own != FReaders.end()) {
    reads = own->depth;
    *own = FReaders.back();
    FReaders.pop_back();
    if (FReaders.empty()) FChanged.notify_all();
  }
  const std::uint64_t writes = FWrites;
  ++FWaitingWriters;
  FChanged.wait(lock, [this] { return FWriteDepth == 0 && FReaders.empty(); });
  --FWaitingWriters;
  FWriter = self;
  FWriteDepth = 1;
  if (reads > 0) FReaders.push_back({self, reads});  // there was room before
  return FWrites++ == writes || reads == 0;
}

void TMultiReadExclusiveWriteSynchronizer::EndWrite() {
  const std::lock_guard lock(FLock);
  Assert(FWriteDepth > 0 && FWriter == std::this_thread::get_id(),
         "EndWrite: the thread does not write");
  if (--FWriteDepth == 0) FChanged.notify_all();
}

}  // namespace perlayer
