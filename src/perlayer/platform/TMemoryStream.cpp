#include "perlayer/platform/TMemoryStream.h"

#include <algorithm>
#include <utility>

#include "perlayer/platform/Files.h"

namespace perlayer {

std::size_t TMemoryStream::Read(void* buffer, std::size_t size) {
  if (FPosition >= Size()) return 0;
  const std::size_t read = FBytes.copy(static_cast<char*>(buffer), size, FPosition);
  FPosition += static_cast<std::int64_t>(read);
  return read;
}

void TMemoryStream::Write(const void* buffer, std::size_t size) {
  if (size == 0) return;
  const std::size_t position = static_cast<std::size_t>(FPosition);
  if (position > FBytes.max_size() || size > FBytes.max_size() - position) {
    Raise("write", "it cannot hold so many bytes");
  }
  if (position > FBytes.size()) FBytes.resize(position);
  FBytes.replace(position, size, static_cast<const char*>(buffer), size);
  FPosition += static_cast<std::int64_t>(size);
}

void TMemoryStream::Position(std::int64_t position) {
  if (position < 0) Raise("seek in", "position " + std::to_string(position));
  FPosition = position;
}

void TMemoryStream::Size(std::int64_t size) {
  if (size < 0 || static_cast<std::size_t>(size) > FBytes.max_size()) {
    Raise("resize", std::to_string(size) + " bytes");
  }
  FBytes.resize(static_cast<std::size_t>(size));
}

void TMemoryStream::Reserve(std::int64_t count) {
  if (count > 0)
    FBytes.reserve(static_cast<std::size_t>(FPosition) + static_cast<std::size_t>(count));
}

std::string TMemoryStream::TakeBytes() {
  FPosition = 0;
  return std::exchange(FBytes, {});
}

void TMemoryStream::Clear() {
  FBytes.clear();
  FPosition = 0;
}

void TMemoryStream::LoadFromStream(TStream& source) {
  source.Position(0);
  FBytes = source.ReadRest();
  FPosition = 0;
}

void TMemoryStream::LoadFromFile(const std::string& path) {
  FBytes = ReadFile(path);
  FPosition = 0;
}

void TMemoryStream::SaveToFile(const std::string& path) const { ReplaceFile(path, FBytes); }

std::string TStringStream::ReadString(std::size_t size) {
  const std::int64_t left = std::max<std::int64_t>(Size() - Position(), 0);
  std::string text(std::min(size, static_cast<std::size_t>(left)), '\0');
  ReadBuffer(text.data(), text.size());
  return text;
}

}  // namespace perlayer
