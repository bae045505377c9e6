#pragma once
// Failures of the database, told apart by what the caller can do about them.

#include <string>

#include "perlayer/platform/Exception.h"

namespace perlayer {

enum class TDatabaseErrorKind {
  constraint,      // the data breaks a rule of the schema; correct it and try again
  busy,            // another client holds what is needed; try again
  connectionLost,  // open the database anew
  outcomeUnknown,  // a commit was under way: it may or may not have happened
  other            // anything else: a statement that does not parse, a missing table, a full disk
};

class EDatabaseError : public Exception {
 public:
  // `message` is the database's own words; `code` its number; `statement` the text that was run, or
  // empty. What() holds all three.
  EDatabaseError(TDatabaseErrorKind kind, int code, const std::string& message,
                 const std::string& statement)
      : Exception(message + " (code " + std::to_string(code) + ")" +
                  (statement.empty() ? "" : "\nSQL: " + statement)),
        FKind(kind),
        FCode(code),
        FStatement(statement) {}

  TDatabaseErrorKind Kind() const { return FKind; }
  int Code() const { return FCode; }
  const std::string& Statement() const { return FStatement; }

 private:
  TDatabaseErrorKind FKind;
  int FCode;
  std::string FStatement;
};

}  // namespace perlayer
