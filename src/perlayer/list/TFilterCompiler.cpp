// TFilterCode.h: from text to steps. The grammar, every level of which reads values of the next:
//
//   relation     additive [ = IS LIKE <> <= < >= >  additive ]     at most one
//   additive     conjunction { OR + conjunction }
//   conjunction  factor { AND factor }
//   factor       NOT factor | TO_DATE ( relation , relation ) | ( relation ) | text | number | NULL
//                | attribute [ BETWEEN relation AND relation ] | nothing, which is Unassigned
//
// A minus sign belongs to the number behind it, so that there is no subtraction.
//
// The steps come in the order in which values are computed while the text is read: an operator once
// the token behind its last operand has been read. Operators and brackets that wait for operands
// are kept in a list of our own, so that no text is nested too deeply.

#include <algorithm>
#include <optional>
#include <unordered_map>
#include <utility>

#include "perlayer/list/TFilterCode.h"
#include "perlayer/list/TFilterTokens.h"
#include "perlayer/platform/Exception.h"
#include "perlayer/platform/Format.h"
#include "perlayer/platform/TFormatSettings.h"
#include "perlayer/platform/Text.h"

namespace perlayer {

namespace {

// By how tightly an operator binds. Brackets keep what stands outside from what stands inside.
enum class TRank { bracket, relation, additive, conjunction, negation };
enum class TBracket { text, parenthesis, dateText, dateFormat, between };

struct TOpen {
  TRank rank;
  TFilterOp op = TFilterOp::raise;    // of an operator
  TBracket bracket = TBracket::text;  // of a bracket
};

class TFilterCompiler {
 public:
  explicit TFilterCompiler(std::string_view text) : FTokens(text) { FCode.text = text; }

  TFilterCode Compile() {
    Open(TBracket::text);
    Next();
    while (!FFailed && !FDone) {
      ReadOperand();
      while (!FFailed && !FDone && !ReadOperator()) CloseBracket();
    }
    for (TFilterCode::TConstant& constant : FCode.constants) constant.value.text = constant.text;
    return std::move(FCode);  // the constants stay where they are
  }

 private:
  // --- steps ---

  void Emit(TFilterOp op, std::size_t operand = 0) {
    if (!FFailed) FCode.steps.push_back({op, static_cast<std::uint32_t>(operand)});
  }
  void Push(TFilterOp op, std::size_t operand) {
    Emit(op, operand);
    FCode.depth = std::max(FCode.depth, ++FDepth);
  }
  void PushConstant(TValueView value, std::string text = {}) {
    FCode.constants.push_back({value, std::move(text)});
    Push(TFilterOp::constant, FCode.constants.size() - 1);
  }
  void EmitComparison(TFilterOp op) {
    if (FCode.steps.back().op != TFilterOp::constant) return Emit(op);
    const std::uint32_t constant = FCode.steps.back().operand;
    FCode.steps.pop_back();
    Emit(op, constant + 1);
  }
  void EmitLike() {
    // Of a text that is always the same the pattern is made here.
    if (FCode.steps.back().op != TFilterOp::constant ||
        FCode.constants.back().value.kind != TVariantKind::String) {
      return Emit(TFilterOp::like);
    }
    FCode.patterns.emplace_back(UpperCase(FCode.constants.back().text));
    FCode.constants.pop_back();
    FCode.steps.pop_back();
    Emit(TFilterOp::likeConstant, FCode.patterns.size() - 1);
  }
  // Ends the code: nothing behind this is ever reached.
  void Fail(std::string message) {
    if (FFailed) return;
    FCode.messages.push_back(std::move(message));
    Emit(TFilterOp::raise, FCode.messages.size() - 1);
    FFailed = true;
  }

  // --- tokens ---

  void Next() {
    if (FFailed || FTokens.Next()) return;
    Fail(Format("mesto %d: besedilo nima zaključnega narekovaja", FTokens.Position()));
  }
  void FailExpecting(const char* what) {
    const std::string found = FTokens.Kind() == TFilterToken::end
                                  ? "konec filtra"
                                  : "\"" + std::string(FTokens.Text()) + "\"";
    Fail(Format("mesto %d: pričakovano %s, najdeno %s", FTokens.Position(), what, found));
  }
  void ExpectCharacter(char c) {
    if (!FTokens.IsCharacter(c)) FailExpecting((std::string("\"") + c + "\"").c_str());
  }

  // --- operands ---

  // Reads up to the token behind a factor whose value is known but for what stands open around it.
  void ReadOperand() {
    while (!FFailed) {
      switch (FTokens.Kind()) {
        case TFilterToken::symbol:
          if (ReadSymbol()) return;
          break;
        case TFilterToken::string:
          PushConstant({.kind = TVariantKind::String}, FTokens.Value());
          return Next();
        case TFilterToken::integer:
        case TFilterToken::floating:
          return ReadNumber();
        case TFilterToken::character:
          if (!FTokens.IsCharacter('(')) return PushConstant({});
          Open(TBracket::parenthesis);
          Next();
          break;
        case TFilterToken::end:
          return PushConstant({});
      }
    }
  }

  // False when an operand is still to come.
  bool ReadSymbol() {
    if (FTokens.IsSymbol("NOT")) {
      FOpen.push_back({TRank::negation, TFilterOp::logicalNot});
      Next();
      return false;
    }
    if (FTokens.IsSymbol("TO_DATE")) {
      Open(TBracket::dateText);
      Next();
      ExpectCharacter('(');
      Next();
      return false;
    }
    if (FTokens.Text() == "NULL") {
      PushConstant({.kind = TVariantKind::Null});
      Next();
      return true;
    }
    Push(TFilterOp::attribute, Attribute(FTokens.Text()));
    Next();
    if (!FTokens.IsSymbol("BETWEEN")) return true;
    Open(TBracket::between);
    Next();
    return false;
  }

  void ReadNumber() {
    const std::string text(FTokens.Text());
    TValueView value{.kind = TVariantKind::Integer};
    try {
      if (FTokens.Kind() == TFilterToken::integer) {
        value.integer = StrToInt(text);
      } else {
        value.kind = TVariantKind::Float;
        value.number = StrToFloat(text, TFormatSettings{.DecimalSeparator = '.'});
      }
    } catch (const EConvertError& e) {
      return Fail(e.Message());
    }
    PushConstant(value);
    Next();
  }

  std::size_t Attribute(std::string_view name) {
    const auto [known, isNew] = FAttributes.try_emplace(name, FCode.attributes.size());
    if (isNew) FCode.attributes.emplace_back(name);
    return known->second;
  }

  // --- operators ---

  // An operand is complete. Reads the operator behind it; false when the innermost bracket's
  // relation is complete, too, and its value all that is left within the bracket.
  bool ReadOperator() {
    Reduce(TRank::negation);
    if (FTokens.IsSymbol("AND")) return OpenOperator(TRank::conjunction, TFilterOp::logicalAnd);
    if (FTokens.IsSymbol("OR")) return OpenOperator(TRank::additive, TFilterOp::logicalOr);
    if (FTokens.IsCharacter('+')) return OpenOperator(TRank::additive, TFilterOp::add);
    Reduce(TRank::additive);
    if (FOpen.back().rank == TRank::bracket) {
      if (const auto op = Relation()) return OpenOperator(TRank::relation, *op);
    }
    Reduce(TRank::relation);
    return false;
  }

  // Leaves the operator's last token to be passed over.
  std::optional<TFilterOp> Relation() {
    if (FTokens.Kind() == TFilterToken::symbol || FTokens.Kind() == TFilterToken::string) {
      // A text in quotes is an operator here as well.
      const std::string word = FTokens.Value();
      if (word == "IS") return TFilterOp::equal;
      if (UpperCase(word) == "LIKE") return TFilterOp::like;
      return std::nullopt;
    }
    if (FTokens.IsCharacter('=')) return TFilterOp::equal;
    const bool less = FTokens.IsCharacter('<');
    if (!less && !FTokens.IsCharacter('>')) return std::nullopt;
    Next();
    FTwoRead = true;
    if (FTokens.IsCharacter('=')) {
      FTwoRead = false;
      return less ? TFilterOp::lessEqual : TFilterOp::greaterEqual;
    }
    if (less && FTokens.IsCharacter('>')) {
      FTwoRead = false;
      return TFilterOp::notEqual;
    }
    return less ? TFilterOp::less : TFilterOp::greater;
  }

  bool OpenOperator(TRank rank, TFilterOp op) {
    Reduce(rank);
    FOpen.push_back({rank, op});
    if (!std::exchange(FTwoRead, false)) Next();
    return true;
  }

  // Computes the operators of the innermost bracket that bind at least so tightly.
  void Reduce(TRank rank) {
    for (; FOpen.back().rank >= rank; FOpen.pop_back()) {
      const TFilterOp op = FOpen.back().op;
      if (op == TFilterOp::like) {
        EmitLike();
      } else if (FOpen.back().rank == TRank::relation) {
        EmitComparison(op);
      } else {
        Emit(op);
      }
      if (op != TFilterOp::logicalNot) --FDepth;
    }
  }

  // --- brackets ---

  void Open(TBracket bracket) { FOpen.push_back({.rank = TRank::bracket, .bracket = bracket}); }

  // The innermost bracket's relation is complete: with the bracket it makes an operand, but for the
  // text of a TO_DATE, behind which another relation follows.
  void CloseBracket() {
    const TBracket bracket = FOpen.back().bracket;
    switch (bracket) {
      case TBracket::text:
        Emit(TFilterOp::toBoolean);
        if (FTokens.Kind() != TFilterToken::end) FailExpecting("konec filtra");
        FDone = true;
        return;
      case TBracket::parenthesis:
        ExpectCharacter(')');
        Next();
        FOpen.pop_back();
        return;
      case TBracket::dateText:
        ExpectCharacter(',');
        FOpen.back().bracket = TBracket::dateFormat;
        Next();
        ReadOperand();
        return;
      case TBracket::dateFormat:
        Emit(TFilterOp::drop);
        --FDepth;
        ExpectCharacter(')');
        Next();
        Emit(TFilterOp::toDate);
        FOpen.pop_back();
        return;
      case TBracket::between:
        // The relation has taken every AND there was, so that this never finds one. It must not
        // begin to: filters have always failed here.
        FailExpecting("\"AND\"");
        return;
    }
  }

  TFilterCode FCode;
  TFilterTokens FTokens;
  std::unordered_map<std::string_view, std::size_t> FAttributes;  // by name: their index
  std::vector<TOpen> FOpen;
  std::size_t FDepth = 0;  // values on the stack
  bool FTwoRead = false;   // the token behind "<" or ">" has been read, and is no part of it
  bool FFailed = false;
  bool FDone = false;
};

}  // namespace

TFilterCode CompileFilter(std::string_view text) { return TFilterCompiler(text).Compile(); }

}  // namespace perlayer
