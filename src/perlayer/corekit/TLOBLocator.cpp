#include "perlayer/corekit/TLOBLocator.h"

#include <algorithm>
#include <utility>

#include "perlayer/corekit/TIDatabase.h"

namespace perlayer {

TLOBLocator::TLOBLocator(TIDatabase* session, int type) : FSession(session), FType(type) {}

TDriverLargeObject& TLOBLocator::Object(const char* action) const {
  if (FObject == nullptr) Raise(action, "no row has given one");
  return *FObject;
}

void TLOBLocator::PointAt(std::unique_ptr<TDriverLargeObject> object) {
  FObject = std::move(object);
  FPosition = 0;
}

void TLOBLocator::Position(std::int64_t position) {
  if (position < 0) Raise("seek in", "position " + std::to_string(position));
  FPosition = position;
}

void TLOBLocator::Size(std::int64_t size) {
  if (size < 0) Raise("resize", std::to_string(size) + " bytes");
  Object("resize").Resize(size);
}

std::size_t TLOBLocator::Read(void* buffer, std::size_t size) {
  if (FPosition >= Size()) return 0;
  const auto left = static_cast<std::uint64_t>(Size() - FPosition);
  const auto read = static_cast<std::size_t>(std::min<std::uint64_t>(size, left));
  FObject->Read(FPosition, buffer, read);
  FPosition += static_cast<std::int64_t>(read);
  return read;
}

void TLOBLocator::Write(const void* buffer, std::size_t size) {
  if (size == 0) return;
  TDriverLargeObject& object = Object("write");
  const std::int64_t end = FPosition + static_cast<std::int64_t>(size);
  if (end > object.Size()) object.Resize(end);
  object.Write(FPosition, buffer, size);
  FPosition = end;
}

}  // namespace perlayer
