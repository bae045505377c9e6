#pragma once
// TSqlSequences: says sequences, of which the database has none. A sequence OMRA.SEQ is a table of
// one row, "sequence OMRA.SEQ", and NEXTVAL a function of the driver (TSqliteSequences).
//
// NEXTVAL stands where each row of the statement takes a number: in the select list of a query or
// of an INSERT, among VALUES, or behind SET. All NEXTVAL and CURRVAL of one sequence in a statement
// are one number per row; each is told apart by a number of its own, by which the driver notices
// that a row ends and the next begins.

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "perlayer/drivers/sqlite/TSqlTokens.h"

namespace perlayer {

class TSqlSequences {
 public:
  explicit TSqlSequences(TSqlTokens& tokens) : FTokens(tokens) {}

  // Looks for NEXTVAL in the statement of tokens [first, end). Raises EDatabaseError where it has
  // no place.
  void Read(std::size_t first, std::size_t end);
  // The sequences whose NEXTVAL was found, by their name in the file.
  const std::vector<std::string>& Taken() const { return FTaken; }
  // The translation of `sequence`.NEXTVAL or .CURRVAL.
  std::string Value(const std::string& sequence, bool next);

  // CREATE or DROP SEQUENCE: tokens [first, end). Returns the sequence's name in the file.
  std::string Definition(std::size_t first, std::size_t end);

 private:
  struct TUse {
    std::string sequence;
    std::size_t token;
    bool next;
    bool conditional;  // not every row may come to it
  };

  std::string NameBefore(std::size_t value) const;
  void CheckUses(const std::vector<TUse>& uses) const;
  void Create(std::size_t first, std::size_t at, std::size_t end, const std::string& name);

  TSqlTokens& FTokens;
  std::vector<std::string> FTaken;
  int FUses = 0;
};

// The table that stands for a sequence.
std::string SequenceTable(std::string_view sequence);

}  // namespace perlayer
