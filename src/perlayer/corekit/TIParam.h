#pragma once
// TIParam: the value that one named parameter of a query carries. A parameter that was never given
// a value is unbound, and running the query says so; null is a value.
//
// An open run reads the texts that it was bound to from here. A parameter that is given a value
// meanwhile keeps the run's beside it, so that nothing needs to be copied when a query opens.
//
// Main thread only.

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "perlayer/corekit/TField.h"

namespace perlayer {

class TIParam {
 public:
  enum class TKind : std::uint8_t { unbound, null, text, number, blob };
  struct TValue {
    TKind kind = TKind::unbound;
    double number = 0;
    std::string text;  // of a text or blob
  };

  explicit TIParam(std::string_view name) : FName(name) {}

  std::string_view Name() const { return FName; }
  TKind Kind() const { return Value().kind; }
  bool IsNull() const { return Kind() == TKind::null || Kind() == TKind::unbound; }

  // The declared type: what a caller that fills parameters by type goes by. Giving a value does not
  // change it.
  TFieldType DataType() const { return FDataType; }
  void DataType(TFieldType type) { FDataType = type; }

  // An empty text is null.
  void AsString(std::string_view text) { SetText(text, text.empty() ? TKind::null : TKind::text); }
  void AsFloat(double value) {
    TValue& next = Next();
    next.number = value;
    next.kind = TKind::number;
  }
  void AsDateTime(TDateTime value) { AsFloat(value); }  // dates travel as days
  void AsBlob(std::string_view bytes) { SetText(bytes, TKind::blob); }
  void Clear() { Next().kind = TKind::null; }

  std::string AsString() const;  // a number in decimal, a null as the empty text
  const std::string& Text() const { return Value().text; }  // REQUIRES: Kind() is text or blob
  double Number() const { return Value().number; }          // REQUIRES: Kind() is number

 private:
  friend class TIQuery;
  const TValue& Value() const { return FValues[FNow]; }
  // What a run was, or is about to be, bound to.
  const TValue& RunValue() const { return FValues[FOfRun]; }
  void BeginRun() {
    FOfRun = FNow;
    FInRun = true;
  }
  void EndRun() { FInRun = false; }
  TValue& Next() {
    if (FInRun && FNow == FOfRun) FNow = 1 - FNow;
    return FValues[FNow];
  }
  void SetText(std::string_view text, TKind kind) {
    TValue& next = Next();
    next.text = text;
    next.kind = kind;
  }

  std::string_view FName;  // lives in the statement text that the query holds
  std::array<TValue, 2> FValues;
  std::uint8_t FNow = 0;    // the value as it was given last
  std::uint8_t FOfRun = 0;  // and as an open run has it
  bool FInRun = false;
  TFieldType FDataType = TFieldType::ftUnknown;
};

// A value for one run of a statement; a text or blob is the caller's for that long.
struct TBoundValue {
  TIParam::TKind kind = TIParam::TKind::null;
  double number = 0;
  std::string_view text;
};

}  // namespace perlayer
