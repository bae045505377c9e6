#include "perlayer/corekit/TIBlobStream.h"

#include "perlayer/corekit/TField.h"
#include "perlayer/platform/TApplication.h"

namespace perlayer {

TIBlobStream::TIBlobStream(TField* field, TBlobStreamMode mode)
    : FField(field), FFieldName(field->FieldName()), FMode(mode) {
  if (mode != TBlobStreamMode::bmRead) field->CheckWritable();
  if (mode != TBlobStreamMode::bmWrite) FBytes = field->AsString();
  FChanged = mode == TBlobStreamMode::bmWrite;  // also when nothing is written
}

TIBlobStream::~TIBlobStream() {
  try {
    Flush();
  } catch (...) {
    Application()->HandleException(FField.Get());
  }
}

std::string TIBlobStream::Name() const { return "the value of field " + FFieldName; }

void TIBlobStream::Changes() {
  if (FMode == TBlobStreamMode::bmRead) Raise("write", "the stream was opened for reading");
  FChanged = true;
}

void TIBlobStream::Write(const void* buffer, std::size_t size) {
  Changes();
  TMemoryStream::Write(buffer, size);
}

void TIBlobStream::Size(std::int64_t size) {
  Changes();
  TMemoryStream::Size(size);
}

void TIBlobStream::Flush() {
  auto* const field = FField.GetAs<TField>();
  if (!FChanged || field == nullptr) return;
  field->AsString(FBytes);
  FChanged = false;
}

}  // namespace perlayer
