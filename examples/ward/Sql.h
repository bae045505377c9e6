#pragma once
// `ward sql`: statements written in the words of class maps, run by hand.

#include <cstddef>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "Database.h"

namespace ward {

using TSqlParameters = std::vector<std::pair<std::string, std::string>>;  // names and texts

// A statement that the database has understood, ready to run once. The database outlives it.
class TSqlStatement {
 public:
  // A parameter with an empty text is NULL. Raises Exception when a parameter has no value or is
  // none of the statement's, and when the statement cannot be said: the message has the line of the
  // statement below it, and a caret under the place.
  TSqlStatement(TSqliteDatabase& database, const std::string& text,
                const TSqlParameters& parameters);

  const std::string& Written() const { return FText->Text(); }
  const std::string& Ran() const { return FRan; }
  bool MayChange() const { return !FStatement->ReadOnly(); }

  // Runs it to its end. A line for each row, in a table, and how many there are, or how many the
  // statement changed. Texts are cut to make lines of at most `width`, unless it is 0. Raises
  // Exception.
  std::vector<std::string> Run(std::size_t width);

 private:
  struct TGiveBack {
    TDriverSession* session;
    void operator()(TDriverStatement* statement) const { session->GiveBack(statement); }
  };

  void Bind(const TSqlParameters& parameters);

  TStatementTextPtr FText;
  std::string FRan;
  std::vector<std::string> FValues;  // by parameter; the statement reads them as it runs
  std::unique_ptr<TDriverStatement, TGiveBack> FStatement;
};

struct TSqlRequest {
  std::string statement;
  TSqlParameters parameters;
  bool commit = false;  // otherwise what it changes is rolled back
  bool wide = false;    // long texts are not cut
};

// Tells both texts and the answer on the standard output.
void Sql(const std::string& databaseFile, const TSqlRequest& request);

}  // namespace ward
