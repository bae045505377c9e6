#pragma once
// TSqlFunctionCall: one call of a function in a statement. Reads the arguments and edits the call
// into what the database says for it: another name, CASE for DECODE, arguments that are converted
// to the type that the function takes.

#include <cstddef>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

#include "perlayer/drivers/sqlite/SqlFunctionTable.h"
#include "perlayer/drivers/sqlite/TSqlExpressions.h"

namespace perlayer {

class TSqlFunctionCall {
 public:
  // `name` is the function's token, and "(" stands behind it. Keeps references.
  TSqlFunctionCall(TSqlTokens& tokens, TSqlExpressions& expressions, TSqlScope& scope,
                   std::size_t name);

  // Returns the answer's type. Raises EDatabaseError, naming function and place, for a function
  // that is refused and for arguments that it does not take. To be called once.
  TSqlType Translate();
  // The token behind the call.
  std::size_t Behind() const { return FBehind; }

 private:
  void ReadArguments(std::size_t at, std::size_t end);
  void CheckCount() const;
  TSqlType Known();
  TSqlType Alike();
  TSqlType Decode();
  TSqlType Trim();
  TSqlType Extract();
  TSqlType Cast();
  void CastTo(std::string_view function, const std::string& arguments, std::size_t as);
  TSqlType Rounding();
  void WithinGroup();

  TSqlOperand Operand(std::size_t at, std::size_t end);
  std::size_t FindWord(std::string_view word) const;
  void Say(std::size_t token, std::string_view word);

  TSqlTokens& FTokens;
  TSqlExpressions& FExpressions;
  TSqlScope& FScope;
  const std::size_t FName;
  const std::size_t FOpen;
  const std::size_t FClose;
  std::size_t FBehind;
  const TSqlFunction* FFunction;
  std::vector<TSqlOperand> FArguments;
  std::vector<std::size_t> FCommas;  // between them
};

// The first type that is known among the operands'; NULL has none.
TSqlType FirstKnownType(const std::vector<TSqlOperand>& operands);

}  // namespace perlayer
