#pragma once
// TIParam: the value that one named parameter of a query carries. A parameter that was never given
// a value is unbound, and running the query says so; null is a value.
//
// Main thread only.

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "perlayer/corekit/TField.h"

namespace perlayer {

class TIParam {
 public:
  enum class TKind : std::uint8_t { unbound, null, text, number, blob };

  explicit TIParam(std::string_view name) : FName(name) {}

  std::string_view Name() const { return FName; }
  TKind Kind() const { return FKind; }
  bool IsNull() const { return FKind == TKind::null || FKind == TKind::unbound; }

  // The declared type: what a caller that fills parameters by type goes by. Giving a value does not
  // change it.
  TFieldType DataType() const { return FDataType; }
  void DataType(TFieldType type) { FDataType = type; }

  // An empty text is null.
  void AsString(std::string_view text) {
    FText = text;
    FKind = text.empty() ? TKind::null : TKind::text;
  }
  void AsFloat(double value) {
    FNumber = value;
    FKind = TKind::number;
  }
  void AsDateTime(TDateTime value) { AsFloat(value); }  // dates travel as days
  void AsBlob(std::string_view bytes) {
    FText = bytes;
    FKind = TKind::blob;
  }
  void Clear() { FKind = TKind::null; }

  std::string AsString() const;  // a number in decimal, a null as the empty text
  const std::string& Text() const { return FText; }  // REQUIRES: Kind() is text or blob
  double Number() const { return FNumber; }          // REQUIRES: Kind() is number

 private:
  friend class TIQuery;
  std::string_view FName;  // lives in the statement text that the query holds
  std::string FText;
  double FNumber = 0;
  TKind FKind = TKind::unbound;
  TFieldType FDataType = TFieldType::ftUnknown;
};

}  // namespace perlayer
