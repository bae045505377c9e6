#include "perlayer/platform/TStream.h"

#include <algorithm>
#include <vector>

#include "perlayer/platform/Exception.h"

namespace perlayer {

namespace {

constexpr std::size_t kBlock = std::size_t{64} << 10;

}  // namespace

void TStream::Raise(const char* action, const std::string& reason) const {
  throw EStreamError(std::string("Cannot ") + action + " " + Name() + ": " + reason);
}

std::int64_t TStream::Seek(std::int64_t offset, TSeekOrigin origin) {
  std::int64_t position = 0;
  if (origin == TSeekOrigin::current) position = Position();
  if (origin == TSeekOrigin::end) position = Size();
  if (__builtin_add_overflow(position, offset, &position)) {
    Raise("seek in", "no position " + std::to_string(offset) + " from there");
  }
  Position(position);
  return position;
}

void TStream::ReadBuffer(void* buffer, std::size_t size) {
  const std::size_t read = Read(buffer, size);
  if (read < size) {
    Raise("read", "it ends " + std::to_string(size - read) + " bytes too early");
  }
}

std::string TStream::ReadRest() {
  std::string rest;
  std::size_t read;
  do {
    const std::size_t before = rest.size();
    rest.resize(before + std::max(kBlock, before));  // doubling, and one look for the end
    read = Read(rest.data() + before, rest.size() - before);
    rest.resize(before + read);
  } while (read > 0);
  return rest;
}

std::int64_t TStream::CopyFrom(TStream& source, std::int64_t count) {
  Assert(&source != this, "TStream.CopyFrom: a stream cannot be copied into itself");
  Assert(count >= 0, "TStream.CopyFrom: a count below 0");
  const bool all = count == 0;
  if (all) source.Position(0);
  std::vector<char> block(kBlock);
  std::int64_t copied = 0;
  while (all || copied < count) {
    const std::size_t wanted =
        all ? kBlock : static_cast<std::size_t>(std::min<std::int64_t>(kBlock, count - copied));
    const std::size_t read = source.Read(block.data(), wanted);
    Write(block.data(), read);
    copied += static_cast<std::int64_t>(read);
    if (read == wanted) continue;
    if (all) break;
    source.Raise("copy", "it ends after " + std::to_string(copied) + " of " +
                             std::to_string(count) + " bytes");
  }
  return copied;
}

}  // namespace perlayer
