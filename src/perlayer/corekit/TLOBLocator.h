#pragma once
// TLOBLocator: a large object of the database as a stream. A statement that returns into it
// (TOracleQuery::SetComplexVariable) makes it point at one, for writing; TOracleQuery::LOBField
// gives one that is read. Bytes go to and from the database as they are written and read: the
// stream holds none.
//
// Whoever knows how much will be written sets Size first; writing behind the end makes the object
// longer, for which the database may hold all of it at each time. What the database refuses raises
// EDatabaseError.
//
// Main thread only, like the database.

#include <memory>

#include "perlayer/corekit/TDriver.h"
#include "perlayer/platform/TObject.h"
#include "perlayer/platform/TStream.h"

namespace perlayer {

class TIDatabase;
class TOracleQuery;

class TLOBLocator : public TStream {
 public:
  // `type` is TOracleQuery::otBLOB or otCLOB. Points at nothing yet.
  TLOBLocator(TIDatabase* session, int type);

  // It points at no large object: there is nothing to read, and writing raises EStreamError.
  bool IsNull() const { return FObject == nullptr; }
  int LOBType() const { return FType; }

  std::size_t Read(void* buffer, std::size_t size) override;
  void Write(const void* buffer, std::size_t size) override;
  std::int64_t Position() const override { return FPosition; }
  void Position(std::int64_t position) override;
  std::int64_t Size() const override { return FObject == nullptr ? 0 : FObject->Size(); }
  void Size(std::int64_t size) override;
  std::string Name() const override { return "the large object"; }

 private:
  friend class TOracleQuery;
  TDriverLargeObject& Object(const char* action) const;
  void PointAt(std::unique_ptr<TDriverLargeObject> object);

  const TObjectHandle FSession;  // of the database
  const int FType;
  std::unique_ptr<TDriverLargeObject> FObject;
  std::int64_t FPosition = 0;
};

}  // namespace perlayer
