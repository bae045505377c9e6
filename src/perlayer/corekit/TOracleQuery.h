#pragma once
// TOracleQuery: one statement on a session whose large objects are streams. Its variables are
// declared with a type and bound by name.
//
//   const auto query = Make<TOracleQuery>();
//   query->SetSession(FindDatabase("_QOR"));
//   query->SQLText("update T set PHOTO = empty_blob() where ID = :ID returning PHOTO into :PHOTO");
//   query->DeclareVariable("ID", TOracleQuery::otInteger);
//   query->SetVariable("ID", "17");
//   TLOBLocator photo(FindDatabase("_QOR"), TOracleQuery::otBLOB);
//   query->DeclareVariable("PHOTO", TOracleQuery::otBLOB);
//   query->SetComplexVariable("PHOTO", &photo);
//   query->Execute();           // photo can be written, within the session's transaction
//
// Neither the query nor what it returns commits anything. Main thread only.

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "perlayer/corekit/TComponent.h"
#include "perlayer/corekit/TDriver.h"
#include "perlayer/corekit/TLOBLocator.h"
#include "perlayer/platform/Variant.h"

namespace perlayer {

class TOracleQuery : public TComponent {
  TCLASS(TOracleQuery, TComponent)
 public:
  // Types of variables.
  static constexpr int otInteger = 3;
  static constexpr int otFloat = 4;
  static constexpr int otString = 5;
  static constexpr int otCLOB = 112;
  static constexpr int otBLOB = 113;

  void Destroy() override;

  // Ends the run. `session` is not owned; the run ends with it.
  void SetSession(TIDatabase* session);
  const std::string& SQLText() const { return FSQL; }
  void SQLText(std::string_view text);  // ends the run

  void DeleteVariables() { FVariables.clear(); }
  // A variable that is declared anew has no value.
  void DeclareVariable(std::string_view name, int type);
  // Raise EDatabaseError when no variable of that name (any case) is declared.
  void SetVariable(std::string_view name, const Variant& value);
  // The statement returns a large object into it. Not owned, and kept until Execute has returned.
  void SetComplexVariable(std::string_view name, TLOBLocator* locator);

  // Runs a statement to its end, or a query to its first row. An empty value is NULL. Raises
  // EConvertError for a value that does not fit its type, and EDatabaseError.
  void Execute();
  // No row stands here.
  bool Eof() const { return !FOnRow; }
  // The large object in a column of the row; NULL is one of no length. Lives until the next run or
  // the end of this object. Raises EDatabaseError without a row, and for a column that is not there
  // or of another kind.
  TLOBLocator* LOBField(std::string_view name);
  // Ends the run.
  void Close() noexcept;

 private:
  struct TVariable {
    std::string name;
    int type;
    Variant value;
    TLOBLocator* locator = nullptr;
  };
  TVariable* Find(std::string_view name);
  TVariable& Declared(std::string_view name);
  TIDatabase* Session() const;
  void Bind();
  void TakeReturned();
  [[noreturn]] void Raise(const std::string& message) const;

  TObjectHandle FSession;
  std::string FSQL;
  std::vector<TVariable> FVariables;
  TStatementTextPtr FText;                 // of the run
  std::vector<std::string> FBound;         // its texts
  TDriverStatement* FStatement = nullptr;  // taken from the session; nullptr between runs
  bool FOnRow = false;
  std::vector<std::unique_ptr<TLOBLocator>> FFields;  // that LOBField gave
};

// The same, where a session of the layer's own is meant.
using TIOracleQuery = TOracleQuery;

}  // namespace perlayer
