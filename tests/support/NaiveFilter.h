#pragma once
// The filter language, evaluated while the text is read, anew for every object: what a compiled
// filter is compared to, in its answers as in its speed. Nests as deeply as the stack allows.

#include <string>

#include "perlayer/object/TplPerObject.h"
#include "perlayer/platform/Exception.h"
#include "perlayer/platform/Format.h"
#include "perlayer/platform/TFormatSettings.h"
#include "perlayer/platform/TMemoryStream.h"
#include "perlayer/platform/Text.h"

namespace perlayer {

class TNaiveParser {
 public:
  enum TToken { toEOF, toSymbol, toString, toInteger, toFloat, toCharacter };

  explicit TNaiveParser(TStream& stream) : FText(static_cast<std::size_t>(stream.Size()), '\0') {
    stream.Read(FText.data(), FText.size());
    NextToken();
  }

  TToken Token() const { return FToken; }
  bool Is(char c) const { return FToken == toCharacter && FTokenText[0] == c; }
  const std::string& TokenString() const { return FTokenText; }
  std::int64_t TokenInt() const { return StrToInt(FTokenText); }
  double TokenFloat() const {
    static const TFormatSettings kFormats;
    return StrToFloat(FTokenText, kFormats);
  }
  bool TokenSymbolIs(const char* text) const {
    return FToken == toSymbol && SameText(FTokenText, text);
  }
  void CheckToken(TToken token) {
    if (FToken != token) Expected("konec filtra");
  }
  void CheckCharacter(char c) {
    if (!Is(c)) Expected("\"" + std::string(1, c) + "\"");
  }
  void CheckTokenSymbol(const char* text) {
    if (!TokenSymbolIs(text)) Expected("\"" + std::string(text) + "\"");
  }

  void NextToken() {
    while (FAt < FText.size() && static_cast<unsigned char>(FText[FAt]) <= ' ') ++FAt;
    FStart = FAt;
    FTokenText.clear();
    if (FAt == FText.size()) {
      FToken = toEOF;
    } else if (Letter()) {
      FToken = toSymbol;
      while (Letter() || Digit()) Take();
    } else if (Here() == '-' || Digit()) {
      TakeNumber();
    } else if (Here() == '\'') {
      FToken = toString;
      TakeString();
    } else {
      FToken = toCharacter;
      std::size_t end = FAt;
      for (DecodeUtf8(FText, end); FAt < end;) Take();
    }
  }

 private:
  char Here(std::size_t ahead = 0) const {
    return FAt + ahead < FText.size() ? FText[FAt + ahead] : '\0';
  }
  bool Digit(std::size_t ahead = 0) const { return Here(ahead) >= '0' && Here(ahead) <= '9'; }
  bool Letter() const {
    return (Here() >= 'a' && Here() <= 'z') || (Here() >= 'A' && Here() <= 'Z') || Here() == '_';
  }
  void Take() { FTokenText += FText[FAt++]; }
  void TakeNumber() {
    FToken = toInteger;
    Take();
    if (FTokenText == "-" && !Digit()) return;
    while (Digit()) Take();
    if (Here() == '.') {
      FToken = toFloat;
      Take();
      while (Digit()) Take();
    }
    const bool sign = Here(1) == '+' || Here(1) == '-';
    if ((Here() == 'e' || Here() == 'E') && Digit(sign ? 2 : 1)) {
      FToken = toFloat;
      Take();
      if (sign) Take();
      while (Digit()) Take();
    }
  }
  void TakeString() {
    for (++FAt;; Take()) {
      if (FAt == FText.size()) {
        throw Exception(Format("mesto %d: besedilo nima zaključnega narekovaja", Position()));
      }
      if (Here() != '\'') continue;
      if (Here(1) != '\'') break;
      ++FAt;
    }
    ++FAt;
  }
  std::size_t Position() const { return Utf8Length(FText.substr(0, FStart)) + 1; }
  [[noreturn]] void Expected(const std::string& what) const {
    const std::string found =
        FToken == toEOF ? "konec filtra" : "\"" + FText.substr(FStart, FAt - FStart) + "\"";
    throw Exception(Format("mesto %d: pričakovano %s, najdeno %s", Position(), what, found));
  }

  std::string FText;
  std::size_t FAt = 0;
  std::size_t FStart = 0;
  TToken FToken = toEOF;
  std::string FTokenText;
};

class TNaiveFilter {
 public:
  bool Evaluate(TplPerObject* object, const std::string& filter) {
    if (Empty(filter)) return true;
    if (filter == FPreviousFilter) {
      FStream.Position(0);
    } else {
      FStream.Clear();
      FStream.WriteText(filter);
      FStream.Position(0);
      FPreviousFilter = filter;
    }
    try {
      TNaiveParser parser(FStream);
      const bool result = TReader{parser, object}.Relation().AsBoolean();
      parser.CheckToken(TNaiveParser::toEOF);
      return result;
    } catch (const Exception& e) {
      throw Exception(Format("Napačen filter: %s! (podrobnosti: %s)", filter, e.Message()));
    }
  }

 private:
  struct TReader {
    TNaiveParser& parser;
    TplPerObject* object;

    Variant Relation() {
      Variant value = Additive();
      if (parser.Is('=') || IsWord("IS")) {
        parser.NextToken();
        return value == Additive();
      }
      if (IsWord("LIKE")) {
        parser.NextToken();
        return Like(value, Additive());
      }
      if (parser.Is('<')) {
        parser.NextToken();
        if (parser.Is('>')) {
          parser.NextToken();
          return value != Additive();
        }
        if (parser.Is('=')) {
          parser.NextToken();
          return value <= Additive();
        }
        return value < Additive();
      }
      if (parser.Is('>')) {
        parser.NextToken();
        if (parser.Is('=')) {
          parser.NextToken();
          return value >= Additive();
        }
        return value > Additive();
      }
      return value;
    }

    // Texts in quotes count as well. IS stands in capitals, LIKE in any case.
    bool IsWord(const std::string& word) const {
      const auto token = parser.Token();
      if (token != TNaiveParser::toSymbol && token != TNaiveParser::toString) return false;
      return parser.TokenString() == word ||
             (word == "LIKE" && UpperCase(parser.TokenString()) == word);
    }

    Variant Additive() {
      Variant value = Conjunction();
      for (;;) {
        if (parser.TokenSymbolIs("OR")) {
          parser.NextToken();
          value = value | Conjunction();
        } else if (parser.Is('+')) {
          parser.NextToken();
          value = value + Conjunction();
        } else {
          return value;
        }
      }
    }

    Variant Conjunction() {
      Variant value = Factor();
      while (parser.TokenSymbolIs("AND")) {
        parser.NextToken();
        value = value & Factor();
      }
      return value;
    }

    Variant Factor() {
      Variant value;
      if (parser.TokenSymbolIs("NOT")) {
        parser.NextToken();
        value = ~Factor();
      } else if (parser.TokenSymbolIs("TO_DATE")) {
        parser.NextToken();
        parser.CheckCharacter('(');
        parser.NextToken();
        const Variant text = Relation();
        parser.CheckCharacter(',');
        parser.NextToken();
        Relation();
        parser.CheckCharacter(')');
        parser.NextToken();
        value = text.IsNull() ? Variant(-1) : Variant::Date(StrToDate(text.AsText()));
      } else if (parser.Is('(')) {
        parser.NextToken();
        value = Relation();
        parser.CheckCharacter(')');
        parser.NextToken();
      } else if (parser.Token() == TNaiveParser::toString) {
        value = parser.TokenString();
        parser.NextToken();
      } else if (parser.Token() == TNaiveParser::toFloat) {
        value = parser.TokenFloat();
        parser.NextToken();
      } else if (parser.Token() == TNaiveParser::toInteger) {
        value = parser.TokenInt();
        parser.NextToken();
      } else if (parser.Token() == TNaiveParser::toSymbol && parser.TokenString() == "NULL") {
        value = Variant::Null();
        parser.NextToken();
      } else if (parser.Token() == TNaiveParser::toSymbol) {
        value = object != nullptr ? object->GetAttrValueAsVariant(parser.TokenString())
                                  : Variant::Null();
        parser.NextToken();
        if (parser.TokenSymbolIs("BETWEEN")) {
          parser.NextToken();
          const Variant low = Relation();
          parser.CheckTokenSymbol("AND");
          parser.NextToken();
          const Variant high = Relation();
          value = value >= low && value <= high;
        }
      }
      return value;
    }

    static Variant Like(const Variant& left, const Variant& right) {
      const std::string value = UpperCase(left.AsText());
      std::string pattern = UpperCase(right.AsText());
      const auto holds = [&](const std::string& part) {
        return !part.empty() && value.find(part) != std::string::npos;
      };
      if (!pattern.empty() && pattern[0] == '%') pattern.erase(0, 1);
      for (std::size_t i = pattern.size(); i > 0; --i) {
        if (pattern[i - 1] != '%') continue;
        pattern.erase(i - 1, 1);
        break;
      }
      const std::size_t split = pattern.find('%');
      if (split == std::string::npos) return holds(pattern);
      return holds(pattern.substr(0, split)) && holds(pattern.substr(split + 1));
    }
  };

  TStringStream FStream;
  std::string FPreviousFilter;
};

}  // namespace perlayer
