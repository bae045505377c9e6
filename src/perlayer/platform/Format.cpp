#include "perlayer/platform/Format.h"

#include <algorithm>
#include <charconv>
#include <cmath>

#include "perlayer/platform/Exception.h"
#include "perlayer/platform/Text.h"

namespace perlayer {

namespace {

// Limits width, precision and index, so that no pattern asks for megabytes of blanks.
constexpr int kMaxNumber = 4096;

struct TPlaceholder {
  int width = 0;
  int precision = -1;  // -1: not told
  bool left = false;
  char type = 's';
};

class TFormatter {
 public:
  TFormatter(std::string_view pattern, std::span<const TFormatArg> args)
      : FPattern(pattern), FArgs(args) {}

  std::string Run() {
    for (;;) {
      const std::size_t percent = std::min(FPattern.find('%', FPosition), FPattern.size());
      FResult += FPattern.substr(FPosition, percent - FPosition);
      FPosition = percent;
      if (AtEnd()) return std::move(FResult);
      ++FPosition;
      if (Skip('%')) {
        FResult += '%';
      } else {
        WritePlaceholder();
      }
    }
  }

 private:
  bool AtEnd() const { return FPosition == FPattern.size(); }

  bool Skip(char c) {
    if (AtEnd() || FPattern[FPosition] != c) return false;
    ++FPosition;
    return true;
  }

  [[noreturn]] void Raise(const char* what) const {
    throw EConvertError("Format '" + std::string(FPattern) + "', position " +
                        IntToStr(static_cast<std::int64_t>(FPosition)) + ": " + what);
  }

  // Digits at the position; -1 when there are none.
  int ReadNumber() {
    int number = -1;
    for (; !AtEnd() && FPattern[FPosition] >= '0' && FPattern[FPosition] <= '9'; ++FPosition) {
      number = std::max(number, 0) * 10 + (FPattern[FPosition] - '0');
      if (number > kMaxNumber) Raise("number is too large");
    }
    return number;
  }

  void WritePlaceholder() {
    TPlaceholder placeholder;
    int number = ReadNumber();
    if (number >= 0 && Skip(':')) {
      FNext = static_cast<std::size_t>(number);
      number = -1;
    }
    if (number < 0) {
      placeholder.left = Skip('-');
      number = ReadNumber();
    }
    placeholder.width = std::max(number, 0);
    if (Skip('.')) {
      placeholder.precision = ReadNumber();
      if (placeholder.precision < 0) Raise("precision is missing");
    }
    if (AtEnd()) Raise("type is missing");
    placeholder.type = static_cast<char>(FPattern[FPosition] | 0x20);
    if (FNext >= FArgs.size()) Raise("argument is missing");
    const std::string text = ArgumentText(placeholder, FArgs[FNext++]);
    ++FPosition;
    const std::size_t blanks =
        placeholder.width - std::min<std::size_t>(placeholder.width, Utf8Length(text));
    if (!placeholder.left) FResult.append(blanks, ' ');
    FResult += text;
    if (placeholder.left) FResult.append(blanks, ' ');
  }

  std::string ArgumentText(const TPlaceholder& placeholder, const TFormatArg& arg) const {
    switch (placeholder.type) {
      case 's':
        return TextOf(placeholder, arg);
      case 'd':
      case 'u':
      case 'x':
        if (arg.Kind() != TFormatArg::TKind::integer) Raise("argument is no integer");
        return IntegerText(placeholder, arg.Integer());
      case 'f':
      case 'e':
      case 'g':
        if (arg.Kind() == TFormatArg::TKind::text) Raise("argument is no number");
        return NumberText(placeholder, arg.Kind() == TFormatArg::TKind::integer
                                           ? static_cast<double>(arg.Integer())
                                           : arg.Number());
      default:
        Raise("unknown type");
    }
  }

  static std::string TextOf(const TPlaceholder& placeholder, const TFormatArg& arg) {
    std::string text;
    switch (arg.Kind()) {
      case TFormatArg::TKind::text:
        text = arg.Text();
        break;
      case TFormatArg::TKind::integer:
        text = IntToStr(arg.Integer());
        break;
      case TFormatArg::TKind::number:
        AppendFloat(text, arg.Number());
        break;
    }
    if (placeholder.precision < 0) return text;
    const auto length = std::min(Utf8Length(text), static_cast<std::size_t>(placeholder.precision));
    return IPadR(text, length);
  }

  static std::string IntegerText(const TPlaceholder& placeholder, std::int64_t value) {
    const bool negative = placeholder.type == 'd' && value < 0;
    auto magnitude = static_cast<std::uint64_t>(value);
    if (negative) magnitude = 0 - magnitude;
    char buffer[24];
    const auto end =
        std::to_chars(buffer, std::end(buffer), magnitude, placeholder.type == 'x' ? 16 : 10).ptr;
    const std::string digits = AsciiUpperCase({buffer, static_cast<std::size_t>(end - buffer)});
    const auto wanted = static_cast<std::size_t>(std::max(placeholder.precision, 0));
    return (negative ? "-" : "") + std::string(wanted - std::min(wanted, digits.size()), '0') +
           digits;
  }

  static std::string NumberText(const TPlaceholder& placeholder, double value) {
    const bool fixed = placeholder.type == 'f';
    const int precision = placeholder.precision >= 0 ? placeholder.precision : fixed ? 2 : 15;
    char buffer[kMaxNumber + 330];  // the largest double has 309 digits before the point
    const auto end =
        fixed ? std::to_chars(buffer, std::end(buffer), value, std::chars_format::fixed, precision)
                    .ptr
        : placeholder.type == 'e'
            ? std::to_chars(buffer, std::end(buffer), value, std::chars_format::scientific,
                            std::max(precision - 1, 0))
                  .ptr
            : std::to_chars(buffer, std::end(buffer), value, std::chars_format::general, precision)
                  .ptr;
    return std::string(buffer, end);
  }

  const std::string_view FPattern;
  const std::span<const TFormatArg> FArgs;
  std::size_t FPosition = 0;
  std::size_t FNext = 0;
  std::string FResult;
};

}  // namespace

std::string FormatArgs(std::string_view pattern, std::span<const TFormatArg> args) {
  return TFormatter(pattern, args).Run();
}

}  // namespace perlayer
