#pragma once
// TFileLog: a log in a text file, one entry a line, "dd.mm.yyyy hh:nn:ss  text". Further lines of
// an entry's text stand below it, indented, so that only an entry begins at the left edge.
//
// An entry that would carry the file beyond its size moves the file to PATH.1 first, PATH.1 to
// PATH.2 and so on; the oldest goes. Lines wait in memory for at most a second or 16 KiB, while
// more lines come, and are written out at Flush and at the end.
//
// A disk that fails never reaches the caller: it is told once on the standard error stream, lines
// wait in memory (up to 1 MiB; what does not fit is counted and the count written when the disk is
// back), and writing is tried again each second. One process per file.

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <string_view>

#include "perlayer/corekit/ILog.h"

namespace perlayer {

class TFileLog : public TLogSink {
 public:
  // Appends to an existing file. Does not touch the disk before the first line. `keptFiles` is the
  // number of earlier files to keep beside the current one.
  TFileLog(std::string path, std::size_t maxBytes = std::size_t{10} << 20, int keptFiles = 5);
  ~TFileLog() override;

  void Line(std::string_view line) override;
  void Flush() override;
  std::string FileName() override { return FPath; }

 private:
  struct TCloser {
    void operator()(std::FILE* file) const { std::fclose(file); }
  };

  void Append(std::string_view entry);
  void WriteOut();
  bool Open();
  void Rotate(std::int64_t now);
  void Failed(const char* action, int error);
  void Tell(const char* action, int error) const;

  const std::string FPath;
  const std::size_t FMaxBytes;
  const int FKeptFiles;
  std::unique_ptr<std::FILE, TCloser> FFile;  // open from the first write on, unbuffered
  std::size_t FFileSize = 0;                  // bytes in the file as far as written
  std::string FPending;                       // whole entries that wait to be written
  std::int64_t FPendingSince = 0;             // ticks
  std::int64_t FRetryAt = 0;                  // ticks; counts while FFailing
  bool FFailing = false;
  bool FRotationFailing = false;
  std::int64_t FRotateAt = 0;  // ticks; no earlier than that
  std::size_t FLost = 0;       // entries that found no room while the disk failed
};

}  // namespace perlayer
