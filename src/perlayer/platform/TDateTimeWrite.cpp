// TDateTime.h: dates and times as text.

#include <algorithm>
#include <span>

#include "perlayer/platform/DatePattern.h"
#include "perlayer/platform/TDateTime.h"
#include "perlayer/platform/TFormatSettings.h"

namespace perlayer {

namespace {

// In a row of pieces, tells when m and mm mean minutes: behind an hour, whatever stands between.
class TMinuteRule {
 public:
  // The letter that the token means.
  char Meaning(const TPatternToken& token) {
    if (token.letter == 'm' && token.text.size() <= 2 && FBehindHour) {
      FBehindHour = false;
      return 'n';
    }
    constexpr std::string_view kLetters = "dmyhnszt";
    if (kLetters.find(token.letter) != kLetters.npos) FBehindHour = token.letter == 'h';
    return token.letter;
  }

 private:
  bool FBehindHour = false;
};

class TDateTimeWriter {
 public:
  TDateTimeWriter(std::string& text, TDateTime value, const TFormatSettings& settings)
      : FText(text), FSettings(settings), FValue(value) {
    DecodeDateTime(value, FDate, FTime);
  }

  void Write(std::string_view pattern) { Write(pattern, 0); }
  void WriteDateAndTime() { WriteDateAndTime(0); }

 private:
  // Formats of the settings may name each other (c, t, ddddd); a circle ends here.
  static constexpr int kMaxDepth = 2;

  // Nearly all values are written by one of these patterns, so that they have a short way.
  bool WriteCommon(std::string_view pattern) {
    constexpr std::size_t kDateSize = 10, kFullSize = 19;
    if (pattern.size() != kDateSize && pattern.size() != kFullSize) return false;
    if (!IsPattern(pattern.substr(0, kDateSize), "dd.mm.yyyy")) return false;
    char buffer[kFullSize];
    PutPair(buffer, FDate.day);
    buffer[2] = '.';
    PutPair(buffer + 3, FDate.month);
    buffer[5] = '.';
    PutPair(buffer + 6, FDate.year / 100);
    PutPair(buffer + 8, FDate.year % 100);
    if (pattern.size() == kFullSize) {
      const std::string_view time = pattern.substr(kDateSize);
      if (!IsPattern(time, " hh:mm:ss") && !IsPattern(time, " hh:nn:ss")) return false;
      buffer[10] = ' ';
      PutPair(buffer + 11, FTime.hour);
      buffer[13] = FSettings.TimeSeparator;
      PutPair(buffer + 14, FTime.minute);
      buffer[16] = FSettings.TimeSeparator;
      PutPair(buffer + 17, FTime.second);
    }
    FText.append(buffer, pattern.size());
    return true;
  }

  static bool IsPattern(std::string_view pattern, std::string_view lower) {
    for (std::size_t i = 0; i < lower.size(); ++i) {
      const char letter = pattern[i] >= 'A' && pattern[i] <= 'Z'
                              ? static_cast<char>(pattern[i] | 0x20)
                              : pattern[i];
      if (letter != lower[i]) return false;
    }
    return true;
  }

  static void PutPair(char* target, int number) {
    target[0] = static_cast<char>('0' + number / 10);
    target[1] = static_cast<char>('0' + number % 10);
  }

  void Write(std::string_view pattern, int depth) {
    if (WriteCommon(pattern)) return;
    const bool twelveHours = HasHalfDay(pattern);
    TMinuteRule minutes;
    while (!pattern.empty()) {
      const TPatternToken token = NextToken(pattern);
      const int length = static_cast<int>(token.text.size());
      switch (minutes.Meaning(token)) {
        case 'd':
          WriteDay(length, depth);
          break;
        case 'm':
          WriteNumberOrName(FDate.month, length, FSettings.ShortMonthNames,
                            FSettings.LongMonthNames, FDate.month);
          break;
        case 'y':
          length <= 2 ? WriteNumber(FDate.year % 100, 2) : WriteNumber(FDate.year, 4);
          break;
        case 'h':
          WriteNumber(twelveHours ? (FTime.hour + 11) % 12 + 1 : FTime.hour, std::min(length, 2));
          break;
        case 'n':
          WriteNumber(FTime.minute, std::min(length, 2));
          break;
        case 's':
          WriteNumber(FTime.second, std::min(length, 2));
          break;
        case 'z':
          WriteNumber(FTime.millisecond, std::min(length, 3));
          break;
        case 't':
          WriteNested(length == 1 ? FSettings.ShortTimeFormat : FSettings.LongTimeFormat, depth);
          break;
        case 'c':
          WriteDateAndTime(depth);
          break;
        case 'a':
          WriteHalfDay(token.text);
          break;
        case '/':
          FText += FSettings.DateSeparator;
          break;
        case ':':
          FText += FSettings.TimeSeparator;
          break;
        default:
          FText += token.text;
      }
    }
  }

  static bool HasHalfDay(std::string_view pattern) {
    if (pattern.find_first_of("aA") == pattern.npos) return false;
    while (!pattern.empty()) {
      if (NextToken(pattern).letter == 'a') return true;
    }
    return false;
  }

  void WriteNested(std::string_view pattern, int depth) {
    if (depth < kMaxDepth) Write(pattern, depth + 1);
  }

  void WriteDateAndTime(int depth) {
    WriteNested(FSettings.ShortDateFormat, depth);
    if (FTime == TTimeParts{}) return;
    FText += ' ';
    WriteNested(FSettings.LongTimeFormat, depth);
  }

  void WriteDay(int length, int depth) {
    if (length >= 5) return WriteNested(FSettings.ShortDateFormat, depth);
    const int dayOfWeek = length >= 3 ? DayOfWeek(FValue) : 0;
    WriteNumberOrName(FDate.day, length, FSettings.ShortDayNames, FSettings.LongDayNames,
                      dayOfWeek);
  }

  void WriteNumberOrName(int number, int length, std::span<const std::string> shortNames,
                         std::span<const std::string> longNames, int name) {
    if (length <= 2) return WriteNumber(number, length);
    FText += (length == 3 ? shortNames : longNames)[static_cast<std::size_t>(name - 1)];
  }

  // At least `digits` digits.
  void WriteNumber(int number, int digits) {
    char buffer[4];  // no part has more
    int count = 0;
    for (; number > 0 || count < digits; number /= 10) {
      buffer[count++] = static_cast<char>('0' + number % 10);
    }
    while (count > 0) FText += buffer[--count];
  }

  // "am/pm" and "a/p" hold both texts, in the case that the pattern gives them.
  void WriteHalfDay(std::string_view both) {
    const std::size_t length = both.size() / 2;
    FText += both.substr(FTime.hour < 12 ? 0 : length + 1, length);
  }

  std::string& FText;
  const TFormatSettings& FSettings;
  const TDateTime FValue;
  TDateParts FDate;
  TTimeParts FTime;
};

}  // namespace

void AppendDateTime(std::string& text, std::string_view pattern, TDateTime value,
                    const TFormatSettings& settings) {
  TDateTimeWriter(text, value, settings).Write(pattern);
}

std::string FormatDateTime(std::string_view pattern, TDateTime value,
                           const TFormatSettings& settings) {
  std::string text;
  text.reserve(pattern.size());
  AppendDateTime(text, pattern, value, settings);
  return text;
}

std::string DateToStr(TDateTime value, const TFormatSettings& settings) {
  return FormatDateTime(settings.ShortDateFormat, value, settings);
}

std::string TimeToStr(TDateTime value, const TFormatSettings& settings) {
  return FormatDateTime(settings.LongTimeFormat, value, settings);
}

std::string DateTimeToStr(TDateTime value, const TFormatSettings& settings) {
  std::string text;
  TDateTimeWriter(text, value, settings).WriteDateAndTime();
  return text;
}

std::string FormatDateTime(std::string_view pattern, TDateTime value) {
  return FormatDateTime(pattern, value, FormatSettings());
}
std::string DateToStr(TDateTime value) { return DateToStr(value, FormatSettings()); }
std::string TimeToStr(TDateTime value) { return TimeToStr(value, FormatSettings()); }
std::string DateTimeToStr(TDateTime value) { return DateTimeToStr(value, FormatSettings()); }

}  // namespace perlayer
