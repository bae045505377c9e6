#pragma once
// TFileStream: a file as a stream. Nothing is buffered here: when Write returns, the system has the
// bytes, and a full disk is told by the Write that met it.

#include <string>

#include "perlayer/platform/TStream.h"

namespace perlayer {

enum class TFileMode {
  read,       // an existing file
  readWrite,  // an existing file, kept as it is
  create,     // emptied when it exists
  createNew   // raises when it exists
};

class TFileStream : public TStream {
 public:
  // A new file gets `permissions`, less what the process's mask takes away.
  TFileStream(std::string path, TFileMode mode, unsigned permissions = 0666);
  // Closes the file. A failure to do so is told only by Close.
  ~TFileStream() override;

  std::size_t Read(void* buffer, std::size_t size) override;
  void Write(const void* buffer, std::size_t size) override;
  std::int64_t Position() const override;
  void Position(std::int64_t position) override;
  std::int64_t Size() const override;
  void Size(std::int64_t size) override;
  std::string Name() const override { return FPath; }

  // Returns when the disk has everything.
  void Flush();
  // Ends the use of the file; every other operation raises from then on. Twice does nothing.
  void Close();
  // The system's number of the open file, -1 once it is closed. Stays the stream's.
  int Handle() const { return FHandle; }

 private:
  [[noreturn]] void RaiseSystem(const char* action) const;  // with the text of errno

  const std::string FPath;
  int FHandle = -1;
};

}  // namespace perlayer
