#pragma once
// TISQLHelper: large objects between streams and the columns of one row, on the session "_QOR".
//
// Bytes are copied in pieces of 64 KB: whatever the size of the object, neither a save nor a load
// holds more of it than that beside the caller's stream. (Where the row's other columns make the
// database hold more, docs/sql.md tells.)
//
// A save opens and ends no transaction: the caller's covers it, and where none is open the session
// opens one with this write. A save that fails leaves nothing of itself, and goes on within the
// caller's transaction as if it had not been. A load that fails leaves the stream with the size
// that it had.
//
// The key's value is that of a whole number. An empty value is a large object of no length, which
// is not NULL; loading NULL gives no bytes. Raises Exception without a session or a stream,
// EConvertError for a key that is no whole number, and EDatabaseError, also when no row has that
// key.
//
// Main thread only.

#include <string>

#include "perlayer/platform/TObject.h"

namespace perlayer {

class TStream;

class TISQLHelper : public TObject {
  TCLASS(TISQLHelper, TObject)
 public:
  void Create() {}

  // ALobField of the row of ATable whose AKeyField is AKeyValue. ASQL stands for the statement,
  // with parameters of these two names; empty: the usual one.
  static void SaveClob(const std::string& ATable, const std::string& ALobField,
                       const std::string& AKeyField, const std::string& AKeyValue,
                       std::string AData, const std::string& ASQL = "");
  static void SaveBlob(const std::string& ATable, const std::string& ALobField,
                       const std::string& AKeyField, const std::string& AKeyValue, TStream* AData,
                       const std::string& ASQL = "");
  // AType is TOracleQuery::otCLOB or otBLOB; raises "TboTarnelEmergencyCall.DoSaveLob: Unknown blob
  // type: %d" for another. The stream is copied whole, from its beginning.
  static void SaveLob(const std::string& ATable, const std::string& ALobField,
                      const std::string& AKeyField, const std::string& AKeyValue, int AType,
                      TStream* AData, const std::string& ASQL);

  static std::string LoadClob(const std::string& ATable, const std::string& ALobField,
                              const std::string& AKeyField, const std::string& AKeyValue);
  static void LoadBlob(const std::string& ATable, const std::string& ALobField,
                       const std::string& AKeyField, const std::string& AKeyValue, TStream* AData);
  // What is read goes to the stream's position.
  static void LoadLob(const std::string& ATable, const std::string& ALobField,
                      const std::string& AKeyField, const std::string& AKeyValue, int AType,
                      TStream* AData, const std::string& ASQL = "");
};

}  // namespace perlayer
