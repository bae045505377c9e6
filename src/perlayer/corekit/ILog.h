#pragma once
// The log: lines of text, one level. ILog and ILogBuffer are safe on every thread; lines of one
// thread keep their order. Installing a sink is the main thread's.
//
// With no layer loaded or no sink installed, lines go to the standard error stream. A sink that
// raises is answered the same way: the line and the failure go there, and the caller goes on.

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "perlayer/platform/TCriticalSection.h"

namespace perlayer {

// Where lines go. Calls come one at a time, from any thread. The file log is TFileLog.
class TLogSink {
 public:
  virtual ~TLogSink() = default;
  // `line` may hold line ends. Must not call ILog.
  virtual void Line(std::string_view line) = 0;
  // Sees to it that no line is kept back in memory.
  virtual void Flush() {}
  // Path of the file that holds the lines; empty when there is none.
  virtual std::string FileName() { return {}; }
};

void ILog(std::string_view line);
// Flushes the log.
void ILogBuffer();
// Path of the log file; empty when the log is no file.
std::string ILogFileName();

// The layer keeps the sink, and ends it after the other services; nullptr brings back the standard
// error stream. Returns the sink that was installed before.
std::unique_ptr<TLogSink> InstallLog(std::unique_ptr<TLogSink> sink);

// Keeps its lines, for tests. Safe on every thread.
class TMemoryLog : public TLogSink {
 public:
  void Line(std::string_view line) override;
  void Flush() override;

  std::vector<std::string> Lines() const;
  int Flushes() const;  // how often the log has been flushed
  void Clear();         // forgets lines and flushes

 private:
  mutable TCriticalSection FLock;
  std::vector<std::string> FLines PL_GUARDED_BY(FLock);
  int FFlushes PL_GUARDED_BY(FLock) = 0;
};

}  // namespace perlayer
