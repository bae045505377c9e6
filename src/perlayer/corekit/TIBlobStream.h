#pragma once
// TIBlobStream: the value of a memo or blob field as a stream. What is written goes into the field
// by Flush or, at the latest, when the stream ends; a failure there is the application's
// (TApplication::HandleException), so call Flush where it matters.
//
// Main thread only.

#include "perlayer/corekit/DataSetTypes.h"
#include "perlayer/platform/TMemoryStream.h"
#include "perlayer/platform/TObject.h"

namespace perlayer {

class TIBlobStream : public TMemoryStream {
 public:
  // To read and to change, it holds the field's value; to write, nothing. Raises EDatabaseError
  // when a field is to be written and cannot be modified.
  TIBlobStream(TField* field, TBlobStreamMode mode);
  ~TIBlobStream() override;

  // Raise EStreamError in a stream for reading.
  void Write(const void* buffer, std::size_t size) override;
  using TMemoryStream::Size;
  void Size(std::int64_t size) override;
  std::string Name() const override;
  // Stores what has been written since the last Flush.
  void Flush();

 private:
  void Changes();

  const TObjectHandle FField;
  const std::string FFieldName;
  const TBlobStreamMode FMode;
  bool FChanged = false;
};

}  // namespace perlayer
