#pragma once
// Streams in memory: TMemoryStream, and TStringStream, which begins with a text.

#include <string>
#include <string_view>

#include "perlayer/platform/TStream.h"

namespace perlayer {

class TMemoryStream : public TStream {
 public:
  std::size_t Read(void* buffer, std::size_t size) override;
  // `buffer` must not lie in the stream's own bytes.
  void Write(const void* buffer, std::size_t size) override;
  std::int64_t Position() const override { return FPosition; }
  void Position(std::int64_t position) override;
  std::int64_t Size() const override { return static_cast<std::int64_t>(FBytes.size()); }
  void Size(std::int64_t size) override;
  void Reserve(std::int64_t count) override;
  std::string Name() const override { return "the memory stream"; }

  // All bytes; valid until the next change.
  const std::string& Bytes() const { return FBytes; }
  void Clear();
  // The bytes themselves; the stream is empty then.
  std::string TakeBytes();

  // Replace what the stream holds, with the position at the beginning, or leave it as it was when
  // they raise. A source is read from its beginning.
  void LoadFromStream(TStream& source);
  void LoadFromFile(const std::string& path);
  // All bytes, wherever the position is. The file is replaced whole, as by ReplaceFile.
  void SaveToStream(TStream& target) const { target.WriteText(FBytes); }
  void SaveToFile(const std::string& path) const;

 protected:
  std::string FBytes;

 private:
  std::int64_t FPosition = 0;
};

class TStringStream : public TMemoryStream {
 public:
  TStringStream() = default;
  explicit TStringStream(std::string text) { FBytes = std::move(text); }
  std::string Name() const override { return "the string stream"; }

  const std::string& DataString() const { return FBytes; }
  // Up to `size` bytes, fewer at the end.
  std::string ReadString(std::size_t size);
};

}  // namespace perlayer
