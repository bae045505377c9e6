#pragma once
// TStream: a row of bytes with a position, in memory or in a file. Reading and writing start at the
// position and move it behind what was read or written. The position may lie behind the end: there
// is nothing to read there, and a write fills the gap with zero bytes.
//
// What fails raises EStreamError that says what could not be done, with which stream, and why. A
// stream belongs to one thread at a time.

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace perlayer {

enum class TSeekOrigin { beginning, current, end };

class TStream {
 public:
  TStream() = default;
  TStream(const TStream&) = delete;
  TStream& operator=(const TStream&) = delete;
  virtual ~TStream() = default;

  // Answers how many bytes were read: `size`, or fewer at the end of the stream.
  virtual std::size_t Read(void* buffer, std::size_t size) = 0;
  // Writes all. Where that raises, some of it may have been written, and the position is behind it.
  virtual void Write(const void* buffer, std::size_t size) = 0;
  virtual std::int64_t Position() const = 0;
  virtual void Position(std::int64_t position) = 0;  // raises for one below 0
  virtual std::int64_t Size() const = 0;
  // Cuts the end off, or adds zero bytes. The position stays.
  virtual void Size(std::int64_t size) = 0;
  // `count` more bytes are going to be written: a stream in memory makes room for them at once.
  virtual void Reserve(std::int64_t /*count*/) {}
  // The stream as messages name it: its path, or what it is.
  virtual std::string Name() const = 0;

  // Moves the position and answers it. Raises for one below 0; it has not moved then.
  std::int64_t Seek(std::int64_t offset, TSeekOrigin origin);
  // Reads exactly that many bytes; raises when the stream ends before.
  void ReadBuffer(void* buffer, std::size_t size);
  // What lies between the position and the end. Works on what has no size, such as a pipe.
  std::string ReadRest();
  void WriteText(std::string_view text) { Write(text.data(), text.size()); }
  // Copies `count` bytes from the position of `source`, or with 0 all of `source` from its
  // beginning; answers how many. Raises when `source` has fewer; those are copied then.
  // REQUIRES: &source != this
  std::int64_t CopyFrom(TStream& source, std::int64_t count);

 protected:
  // Raises EStreamError "Cannot ACTION NAME: REASON".
  [[noreturn]] void Raise(const char* action, const std::string& reason) const;
};

}  // namespace perlayer
