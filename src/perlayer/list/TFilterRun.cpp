// TFilterCode.h: taking the steps. Values on the stack are views: of the code's constants, of what
// is stored in the object, or of texts that this evaluation has made and keeps. The operators are
// those of Variant; what comes by most, two values of one kind or two numbers, is computed here in
// the same way.
//
// Most steps compare a stored value with a constant. All of that stands in one piece where the step
// is taken ([[gnu::always_inline]]), so that the value is never put together, and what is seldom
// reached is kept out of its way.

#include <cmath>
#include <cstddef>
#include <forward_list>
#include <optional>
#include <span>

#include "perlayer/list/TFilterCode.h"
#include "perlayer/object/TplPerObject.h"
#include "perlayer/platform/Exception.h"
#include "perlayer/platform/Text.h"

namespace perlayer {

namespace {

bool IsNumber(const TValueView& v) {
  return v.kind == TVariantKind::Float || v.kind == TVariantKind::Date ||
         v.kind == TVariantKind::Integer;
}
double NumberOf(const TValueView& v) {
  return v.kind == TVariantKind::Integer ? static_cast<double>(v.integer) : v.number;
}
bool AreTexts(const TValueView& a, const TValueView& b) {
  return a.kind == TVariantKind::String && b.kind == TVariantKind::String;
}
bool AreBooleans(const TValueView& a, const TValueView& b) {
  return a.kind == TVariantKind::Boolean && b.kind == TVariantKind::Boolean;
}

Variant ToVariant(const TValueView& v) {
  switch (v.kind) {
    case TVariantKind::Null:
      return Variant::Null();
    case TVariantKind::Boolean:
      return v.integer != 0;
    case TVariantKind::Integer:
      return v.integer;
    case TVariantKind::Float:
      return v.number;
    case TVariantKind::Date:
      return Variant::Date(v.number);
    case TVariantKind::String:
      return v.text;
    default:
      return Variant();
  }
}

class TFilterRun {
 public:
  TFilterRun(TFilterCode& code, TplPerObject* object, std::shared_ptr<TFilterCode>& kept)
      : FCode(code), FObject(object), FKept(kept) {
    if (code.depth > kInline) {
      FSpill = std::make_unique<TValueView[]>(code.depth);
      FTop = FSpill.get();
    }
  }

  bool Run() {
    bool answer = false;
    for (const TFilterCode::TStep& step : FCode.steps) {
      switch (step.op) {
        case TFilterOp::constant:
          *FTop++ = *step.constant;
          break;
        case TFilterOp::attribute:
          Read(*step.attribute);
          break;
        case TFilterOp::compare:
          --FTop;
          Compare(step.comparison, *FTop);
          break;
        case TFilterOp::compareAttribute:
          if (TValueView value; ReadStored(*step.attribute, value)) {
            SetBoolean(*FTop++, (step.comparison & Order(value, *step.constant)) != 0);
            break;
          }
          Ask(*step.attribute);
          [[fallthrough]];
        case TFilterOp::compareConstant:
          Compare(step.comparison, *step.constant);
          break;
        case TFilterOp::like:
          Answer(IsLike(TLikePattern(UpperCase(ToVariant(Right()).AsText()))));
          break;
        case TFilterOp::likeConstant:
          SetBoolean(FTop[-1], IsLike(FTop[-1], FCode.patterns[step.operand]));
          break;
        case TFilterOp::logicalOr:
          AreBooleans(Left(), Right()) ? Answer((Left().integer | Right().integer) != 0)
                                       : Replace(2, ToVariant(Left()) | ToVariant(Right()));
          break;
        case TFilterOp::logicalAnd:
          AreBooleans(Left(), Right()) ? Answer((Left().integer & Right().integer) != 0)
                                       : Replace(2, ToVariant(Left()) & ToVariant(Right()));
          break;
        case TFilterOp::add:
          Replace(2, ToVariant(Left()) + ToVariant(Right()));
          break;
        case TFilterOp::logicalNot:
          Replace(1, ~ToVariant(Right()));
          break;
        case TFilterOp::toDate:
          ToDate(FTop[-1]);
          break;
        case TFilterOp::drop:
          --FTop;
          break;
        case TFilterOp::toBoolean:
          answer = Right().kind == TVariantKind::Boolean ? Right().integer != 0
                                                         : ToVariant(Right()).AsBoolean();
          break;
        case TFilterOp::raise:
          throw Exception(FCode.messages[step.operand]);
      }
    }
    return answer;
  }

 private:
  static constexpr std::size_t kInline = 12;

  // Writes no more than what Boolean needs: a copy of the whole value would wait for its parts.
  static void SetBoolean(TValueView& place, bool value) {
    place.kind = TVariantKind::Boolean;
    place.inStore = false;
    place.integer = value ? 1 : 0;
  }

  const TValueView& Left() const { return FTop[-2]; }
  const TValueView& Right() const { return FTop[-1]; }

  // Whether the last value and the right one compare so, in the place of the last value.
  [[gnu::noinline]] void Compare(std::uint8_t comparison, const TValueView& right) {
    SetBoolean(FTop[-1], (comparison & Order(FTop[-1], right)) != 0);
  }

  // In the place of two operands.
  void Answer(bool value) {
    --FTop;
    SetBoolean(FTop[-1], value);
  }

  void Replace(int operands, const Variant& value) {
    FTop -= operands;
    PushVariant(value);
  }

  void PushVariant(const Variant& value) {
    TValueView view{.kind = value.Kind()};
    switch (value.Kind()) {
      case TVariantKind::Boolean:
      case TVariantKind::Integer:
        view.integer = value.AsInteger();
        break;
      case TVariantKind::Float:
      case TVariantKind::Date:
        view.number = value.AsFloat();
        break;
      case TVariantKind::String:
        view.text = Keep(value.AsText());
        break;
      default:
        break;
    }
    *FTop++ = view;
  }

  // Lives as long as this evaluation.
  std::string_view Keep(std::string text) { return FTexts.emplace_front(std::move(text)); }

  [[gnu::noinline]] void Read(TBoundAttribute& attribute) {
    if (ReadStored(attribute, *FTop)) {
      ++FTop;
    } else {
      Ask(attribute);
    }
  }

  // False where the object must be asked.
  [[gnu::always_inline]] bool ReadStored(TBoundAttribute& attribute, TValueView& value) {
    if (FObject == nullptr) {
      value = {.kind = TVariantKind::Null};
      return true;
    }
    if (!FShape) Look();
    return attribute.ReadStored(*FShape, FObject, value);
  }
  [[gnu::noinline]] void Look() {
    if (FAlive && !*FAlive) throw Exception("predmeta, ki ga filter presoja, ni več");
    FShape.emplace(FObject);
  }

  // Whoever answers may write to the object, and let go of it.
  void Ask(const TBoundAttribute& attribute) {
    for (TValueView& value : std::span(Bottom(), FTop)) {
      if (std::exchange(value.inStore, false)) value.text = Keep(std::string(value.text));
    }
    FShape.reset();
    if (!FAlive) {
      FAlive.emplace(FObject);
      FKept = FCode.shared_from_this();
    }
    PushVariant(FObject->GetAttrValueAsVariant(attribute.Name()));
  }

  [[gnu::always_inline]] static int Order(const TValueView& a, const TValueView& b) {
    if (AreTexts(a, b)) return OrderOf(a.text.compare(b.text), 0);
    if (IsNumber(a) && IsNumber(b)) {
      return a.kind == TVariantKind::Integer && b.kind == a.kind
                 ? OrderOf(a.integer, b.integer)
                 : OrderOf(NumberOf(a), NumberOf(b));
    }
    return OrderOfOthers(a, b);
  }
  // Without a branch that nobody can foretell.
  template <class T>
  static int OrderOf(T a, T b) {
    if constexpr (std::is_floating_point_v<T>) {
      if (std::isunordered(a, b)) return kUnordered;
    }
    return kEqual << (a > b) >> (a < b);
  }
  [[gnu::noinline]] static int OrderOfOthers(const TValueView& a, const TValueView& b) {
    const std::partial_ordering order = ToVariant(a) <=> ToVariant(b);
    return order < 0 ? kLess : order > 0 ? kGreater : order == 0 ? kEqual : kUnordered;
  }

  static bool IsLike(const TValueView& value, const TLikePattern& pattern) {
    return value.kind == TVariantKind::String ? IsLike(value.text, pattern)
                                              : IsLike(ToVariant(value).AsText(), pattern);
  }
  bool IsLike(const TLikePattern& pattern) const { return IsLike(Left(), pattern); }
  static bool IsLike(std::string_view value, const TLikePattern& pattern) {
    // Most values are short and ASCII: their capitals need no memory.
    char capitals[256];
    return value.size() <= sizeof capitals && UpperCaseOfAscii(value, capitals)
               ? pattern.Matches({capitals, value.size()})
               : pattern.Matches(UpperCase(value));
  }

  static void ToDate(TValueView& value) {
    if (value.kind == TVariantKind::Null) {
      value = {.kind = TVariantKind::Integer, .integer = -1};
    } else {
      const TDateTime date = value.kind == TVariantKind::String
                                 ? StrToDate(value.text)
                                 : StrToDate(ToVariant(value).AsText());
      value = {.kind = TVariantKind::Date, .number = date};
    }
  }

  TValueView* Bottom() { return FSpill == nullptr ? Inline() : FSpill.get(); }
  TValueView* Inline() { return reinterpret_cast<TValueView*>(FInline); }

  TFilterCode& FCode;
  TplPerObject* const FObject;
  std::shared_ptr<TFilterCode>& FKept;
  std::optional<TObjectShape> FShape;  // none after somebody was called
  std::optional<TAlive> FAlive;        // once somebody was called
  // Room for most filters' values, which need not be cleared.
  alignas(TValueView) std::byte FInline[kInline * sizeof(TValueView)];
  std::unique_ptr<TValueView[]> FSpill;
  TValueView* FTop = Inline();  // behind the last value
  std::forward_list<std::string> FTexts;
};

}  // namespace

bool TFilterCode::Run(TplPerObject* object, std::shared_ptr<TFilterCode>& kept) {
  return TFilterRun(*this, object, kept).Run();
}

}  // namespace perlayer
