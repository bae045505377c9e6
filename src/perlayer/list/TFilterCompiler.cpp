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

struct TOperator {
  TFilterOp op = TFilterOp::raise;
  std::uint8_t comparison = 0;
};
struct TOpen {
  TRank rank;
  TOperator op = {};                  // of an operator
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
    return std::move(FCode);
  }

 private:
  // --- steps ---

  void Emit(TFilterCode::TStep step) {
    if (!FFailed) FCode.steps.push_back(step);
  }
  void Push(TFilterCode::TStep step) {
    Emit(step);
    FCode.depth = std::max(FCode.depth, ++FDepth);
  }
  void PushConstant(TValueView value, std::string text = {}) {
    FCode.constants.push_back({value, std::move(text)});
    TFilterCode::TConstant& constant = FCode.constants.back();
    constant.value.text = constant.text;
    Push({.op = TFilterOp::constant, .constant = &constant.value});
  }
  // What is compared with a constant, most often an attribute, is so in one step.
  void EmitComparison(std::uint8_t comparison) {
    TFilterCode::TStep step{.op = TFilterOp::compare, .comparison = comparison};
    if (FCode.steps.back().op == TFilterOp::constant) {
      step.op = TFilterOp::compareConstant;
      step.constant = FCode.steps.back().constant;
      FCode.steps.pop_back();
      if (FCode.steps.back().op == TFilterOp::attribute) {
        step.op = TFilterOp::compareAttribute;
        step.attribute = FCode.steps.back().attribute;
        FCode.steps.pop_back();
      }
    }
    Emit(step);
  }
  void EmitLike() {
    // Of a text that is always the same the pattern is made here.
    if (FCode.steps.back().op != TFilterOp::constant ||
        FCode.constants.back().value.kind != TVariantKind::String) {
      return Emit({.op = TFilterOp::like});
    }
    FCode.patterns.emplace_back(UpperCase(FCode.constants.back().text));
    FCode.constants.pop_back();
    FCode.steps.pop_back();
    Emit({.op = TFilterOp::likeConstant,
          .operand = static_cast<std::uint32_t>(FCode.patterns.size() - 1)});
  }
  // Ends the code: nothing behind this is ever reached.
  void Fail(std::string message) {
    if (FFailed) return;
    FCode.messages.push_back(std::move(message));
    Emit(
        {.op = TFilterOp::raise, .operand = static_cast<std::uint32_t>(FCode.messages.size() - 1)});
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
      FOpen.push_back({TRank::negation, {TFilterOp::logicalNot}});
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
    Push({.op = TFilterOp::attribute, .attribute = Attribute(FTokens.Text())});
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

  TBoundAttribute* Attribute(std::string_view name) {
    const auto [known, isNew] = FAttributes.try_emplace(name);
    if (isNew) known->second = &FCode.attributes.emplace_back(name);
    return known->second;
  }

  // --- operators ---

  // An operand is complete. Reads the operator behind it; false when the innermost bracket's
  // relation is complete, too, and its value all that is left within the bracket.
  bool ReadOperator() {
    Reduce(TRank::negation);
    if (FTokens.IsSymbol("AND")) return OpenOperator(TRank::conjunction, {TFilterOp::logicalAnd});
    if (FTokens.IsSymbol("OR")) return OpenOperator(TRank::additive, {TFilterOp::logicalOr});
    if (FTokens.IsCharacter('+')) return OpenOperator(TRank::additive, {TFilterOp::add});
    Reduce(TRank::additive);
    if (FOpen.back().rank == TRank::bracket) {
      if (const auto op = Relation()) return OpenOperator(TRank::relation, *op);
    }
    Reduce(TRank::relation);
    return false;
  }

  // Leaves the operator's last token to be passed over.
  std::optional<TOperator> Relation() {
    const auto comparison = [](int holds) {
      return TOperator{TFilterOp::compare, static_cast<std::uint8_t>(holds)};
    };
    if (FTokens.Kind() == TFilterToken::symbol || FTokens.Kind() == TFilterToken::string) {
      // A text in quotes is an operator here as well.
      const std::string word = FTokens.Value();
      if (word == "IS") return comparison(kEqual);
      if (UpperCase(word) == "LIKE") return TOperator{TFilterOp::like};
      return std::nullopt;
    }
    if (FTokens.IsCharacter('=')) return comparison(kEqual);
    const bool less = FTokens.IsCharacter('<');
    if (!less && !FTokens.IsCharacter('>')) return std::nullopt;
    Next();
    const int side = less ? kLess : kGreater;
    if (FTokens.IsCharacter('=')) return comparison(side | kEqual);
    if (less && FTokens.IsCharacter('>')) return comparison(kLess | kGreater | kUnordered);
    FTwoRead = true;
    return comparison(side);
  }

  bool OpenOperator(TRank rank, TOperator op) {
    Reduce(rank);
    FOpen.push_back({rank, op});
    if (!std::exchange(FTwoRead, false)) Next();
    return true;
  }

  // Computes the operators of the innermost bracket that bind at least so tightly.
  void Reduce(TRank rank) {
    for (; FOpen.back().rank >= rank; FOpen.pop_back()) {
      const TOperator op = FOpen.back().op;
      if (op.op == TFilterOp::like) {
        EmitLike();
      } else if (op.op == TFilterOp::compare) {
        EmitComparison(op.comparison);
      } else {
        Emit({.op = op.op});
      }
      if (op.op != TFilterOp::logicalNot) --FDepth;
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
        Emit({.op = TFilterOp::toBoolean});
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
        if (FCode.steps.back().op == TFilterOp::constant) {
          FCode.steps.pop_back();
        } else {
          Emit({.op = TFilterOp::drop});
        }
        --FDepth;
        ExpectCharacter(')');
        Next();
        Emit({.op = TFilterOp::toDate});
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
  std::unordered_map<std::string_view, TBoundAttribute*> FAttributes;  // by name
  std::vector<TOpen> FOpen;
  std::size_t FDepth = 0;  // values on the stack
  bool FTwoRead = false;   // the token behind "<" or ">" has been read, and is no part of it
  bool FFailed = false;
  bool FDone = false;
};

}  // namespace

TFilterCode CompileFilter(std::string_view text) { return TFilterCompiler(text).Compile(); }

}  // namespace perlayer
