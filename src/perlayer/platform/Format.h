#pragma once
// Format: texts with placeholders, as the messages of the system are written.

#include <concepts>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace perlayer {

// One argument: a text, an integer or a float.
class TFormatArg {
 public:
  enum class TKind : std::uint8_t { text, integer, number };
  TFormatArg(std::string_view text) : FKind(TKind::text), FText(text) {}
  TFormatArg(const std::string& text) : FKind(TKind::text), FText(text) {}
  TFormatArg(const char* text) : FKind(TKind::text), FText(text == nullptr ? "" : text) {}
  template <std::integral T>
  requires(!std::same_as<T, bool> && !std::same_as<T, char>) TFormatArg(T value)
      : FKind(TKind::integer), FInteger(static_cast<std::int64_t>(value)) {}
  template <std::floating_point T>
  TFormatArg(T value) : FKind(TKind::number), FNumber(value) {}

  TKind Kind() const { return FKind; }
  std::string_view Text() const { return FText; }
  std::int64_t Integer() const { return FInteger; }
  double Number() const { return FNumber; }

 private:
  TKind FKind;
  std::string_view FText;
  std::int64_t FInteger = 0;
  double FNumber = 0;
};

// Placeholders are %[index:][-][width][.precision]type; %% is a percent sign. An argument without
// an index is the one behind the last used. Width pads with blanks in front, or behind after "-".
// Types, in either case, and what the precision means:
//   s        text: the most characters; takes a number too and writes it in decimal
//   d u x    integers (signed, unsigned, hexadecimal in capitals): the fewest digits
//   f e g    numbers: decimals (2 unless told), significant digits (15 unless told)
// Widths and precisions of texts count code points. The decimal separator is always ".", so that a
// message can be made on any thread. Raises EConvertError, which names the pattern, when the
// pattern is malformed, an argument is missing, or a placeholder and its argument do not fit;
// arguments that are left over are no error.
std::string FormatArgs(std::string_view pattern, std::span<const TFormatArg> args);

template <class... TArgs>
std::string Format(std::string_view pattern, const TArgs&... args) {
  const TFormatArg list[] = {TFormatArg(args)..., TFormatArg("")};
  return FormatArgs(pattern, std::span(list, sizeof...(TArgs)));
}

}  // namespace perlayer
