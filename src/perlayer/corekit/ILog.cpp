#include "perlayer/corekit/ILog.h"

#include <cstdio>
#include <exception>
#include <utility>

#include "perlayer/platform/TLayer.h"

namespace perlayer {

namespace {

// Other threads log while the main thread loads and unloads a layer. They find the sink here, under
// a lock that outlives every layer, and not through TLayer, which is the main thread's.
constinit TCriticalSection Lock;
constinit TLogSink* Sink PL_GUARDED_BY(Lock) = nullptr;

// Owns the sink; the part of the loaded layer.
class TLogPart {
 public:
  TLogPart() = default;
  ~TLogPart() { Install(nullptr); }
  TLogPart(const TLogPart&) = delete;
  TLogPart& operator=(const TLogPart&) = delete;

  std::unique_ptr<TLogSink> Install(std::unique_ptr<TLogSink> sink) {
    TCriticalGuard guard(Lock);
    Sink = sink.get();
    std::swap(FSink, sink);
    return sink;
  }

 private:
  std::unique_ptr<TLogSink> FSink;
};

void WriteToStandardError(std::string_view line) {
  std::fprintf(stderr, "%.*s\n", static_cast<int>(line.size()), line.data());
}

// Calls `use` with the installed sink. False when there is none, or when it raised.
template <class F>
bool WithSink(F use) {
  TCriticalGuard guard(Lock);
  if (Sink == nullptr) return false;
  try {
    use(*Sink);
    return true;
  } catch (const std::exception& e) {
    std::fprintf(stderr, "perlayer: the log failed: %s\n", e.what());
  } catch (...) {
    std::fputs("perlayer: the log failed\n", stderr);
  }
  return false;
}

}  // namespace

void ILog(std::string_view line) {
  if (!WithSink([&](TLogSink& sink) { sink.Line(line); })) WriteToStandardError(line);
}

void ILogBuffer() {
  WithSink([](TLogSink& sink) { sink.Flush(); });
}

std::string ILogFileName() {
  std::string name;
  WithSink([&](TLogSink& sink) { name = sink.FileName(); });
  return name;
}

std::unique_ptr<TLogSink> InstallLog(std::unique_ptr<TLogSink> sink) {
  return TLayer::Part<TLogPart>(TLayerPart::log).Install(std::move(sink));
}

void TMemoryLog::Line(std::string_view line) {
  TCriticalGuard guard(FLock);
  FLines.emplace_back(line);
}

void TMemoryLog::Flush() {
  TCriticalGuard guard(FLock);
  ++FFlushes;
}

std::vector<std::string> TMemoryLog::Lines() const {
  TCriticalGuard guard(FLock);
  return FLines;
}

int TMemoryLog::Flushes() const {
  TCriticalGuard guard(FLock);
  return FFlushes;
}

void TMemoryLog::Clear() {
  TCriticalGuard guard(FLock);
  FLines.clear();
  FFlushes = 0;
}

}  // namespace perlayer
