#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "perlayer/drivers/sqlite/TSqliteCall.h"
#include "perlayer/platform/Exception.h"
#include "perlayer/platform/Text.h"

namespace perlayer {

namespace {

constexpr std::int64_t kMaxPadded = 32767;  // characters

// Where `characters` characters behind `at` end, or the text does.
std::size_t Forward(std::string_view text, std::size_t at, std::int64_t characters) {
  while (characters-- > 0 && at < text.size()) DecodeUtf8(text, at);
  return at;
}

std::int64_t Length(std::string_view text) { return static_cast<std::int64_t>(Utf8Length(text)); }

// Positions count from 1, or from the end when negative; 0 is the first.
void Substr(TSqliteCall& call) {
  const std::string_view text = call.Text(0);
  std::int64_t first = call.Whole(1);
  if (first < 0) {
    first += Length(text);
    if (first < 0) return;
  } else if (first > 0) {
    --first;
  }
  const std::size_t begin = Forward(text, 0, first);
  const std::size_t end = call.Count() > 2 ? Forward(text, begin, call.Whole(2)) : text.size();
  call.Answer(text.substr(begin, end - begin));
}

// A negative start is the last place, from the end, where the part may begin; occurrences are
// counted from there to the front.
void Instr(TSqliteCall& call) {
  const std::string_view text = call.Text(0);
  const std::string_view part = call.Text(1);
  const std::int64_t start = call.Count() > 2 ? call.Whole(2) : 1;
  std::int64_t occurrence = call.Count() > 3 ? call.Whole(3) : 1;
  if (occurrence < 1) throw EConvertError("INSTR counts occurrences from 1");
  if (part.empty()) {  // it would be found everywhere
    call.AnswerWhole(0);
    return;
  }
  std::size_t found = std::string_view::npos;
  if (start > 0) {
    std::size_t from = Forward(text, 0, start - 1);
    while ((found = text.find(part, from)) != std::string_view::npos && --occurrence > 0) {
      from = Forward(text, found, 1);
    }
  } else if (start < 0 && Length(text) + start >= 0) {
    std::size_t from = Forward(text, 0, Length(text) + start);
    while ((found = text.rfind(part, from)) != std::string_view::npos && --occurrence > 0) {
      if (found == 0) {
        found = std::string_view::npos;
        break;
      }
      from = found - 1;
    }
  }
  const bool isFound = found != std::string_view::npos && occurrence == 0;
  call.AnswerWhole(isFound ? Length(text.substr(0, found)) + 1 : 0);
}

void LengthOf(TSqliteCall& call) {
  const bool isBytes = call.IsBytes(0);  // to be asked before it is read as a text
  const std::string_view text = call.Text(0);
  call.AnswerWhole(isBytes ? static_cast<std::int64_t>(text.size()) : Length(text));
}

void LengthInBytes(TSqliteCall& call) {
  call.AnswerWhole(static_cast<std::int64_t>(call.Text(0).size()));
}

template <bool left>
void Pad(TSqliteCall& call) {
  const std::string_view text = call.Text(0);
  const std::string_view pad = call.Count() > 2 ? call.Text(2) : " ";
  const std::int64_t width = call.Whole(1);
  if (width > kMaxPadded) {
    throw EConvertError("LPAD and RPAD make texts of at most " + std::to_string(kMaxPadded) +
                        " characters");
  }
  const std::int64_t missing = width - Length(text);
  if (missing <= 0) {
    call.Answer(text.substr(0, Forward(text, 0, width)));
    return;
  }
  if (pad.empty()) return;  // NULL, as there is nothing to fill up with
  std::string padding;
  const std::int64_t whole = missing / Length(pad);
  for (std::int64_t i = 0; i < whole; ++i) padding += pad;
  padding += pad.substr(0, Forward(pad, 0, missing % Length(pad)));
  call.Answer(left ? padding.append(text) : std::string(text) + padding);
}

std::vector<std::string_view> Characters(std::string_view text) {
  std::vector<std::string_view> characters;
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t first = at;
    DecodeUtf8(text, at);
    characters.push_back(text.substr(first, at - first));
  }
  return characters;
}

std::string_view Trimmed(std::string_view text, std::string_view set, bool left, bool right) {
  const std::vector<std::string_view> characters = Characters(set);
  for (bool more = left; more;) {
    more = false;
    for (const std::string_view c : characters) {
      if (c.empty() || text.substr(0, c.size()) != c) continue;
      text.remove_prefix(c.size());
      more = true;
    }
  }
  for (bool more = right; more;) {
    more = false;
    for (const std::string_view c : characters) {
      if (text.size() < c.size() || text.substr(text.size() - c.size()) != c) continue;
      text.remove_suffix(c.size());
      more = true;
    }
  }
  return text;
}

// (text[, set])
template <bool left, bool right>
void TrimSet(TSqliteCall& call) {
  call.Answer(Trimmed(call.Text(0), call.Count() > 1 ? call.Text(1) : " ", left, right));
}

// (character, text)
template <bool left, bool right>
void TrimCharacter(TSqliteCall& call) {
  const std::string_view character = call.Text(0);
  if (Length(character) != 1) throw EConvertError("TRIM takes away one character");
  call.Answer(Trimmed(call.Text(1), character, left, right));
}

// What is replaced by nothing is taken out.
void Replace(TSqliteCall& call) {
  if (call.IsNull(0)) return;
  const std::string_view text = call.Text(0);
  const std::string_view from = call.IsNull(1) ? std::string_view() : call.Text(1);
  const bool removed = call.Count() < 3 || call.IsNull(2);
  const std::string_view to = removed ? std::string_view() : call.Text(2);
  std::string result;
  std::size_t at = 0;
  while (!from.empty()) {
    const std::size_t next = text.find(from, at);
    if (next == std::string_view::npos) break;
    result.append(text.substr(at, next - at)).append(to);
    if (result.size() > call.MaxBytes()) throw EConvertError("REPLACE makes too long a text");
    at = next + from.size();
  }
  call.Answer(result.append(text.substr(at)));
}

// Each character of the second text becomes the one at its place in the third, or goes.
void Translate(TSqliteCall& call) {
  std::vector<std::pair<std::string_view, std::string_view>> pairs;
  const std::vector<std::string_view> to = Characters(call.Text(2));
  for (const std::string_view from : Characters(call.Text(1))) {
    pairs.emplace_back(from, pairs.size() < to.size() ? to[pairs.size()] : std::string_view());
  }
  // The first of several equal characters counts.
  std::stable_sort(pairs.begin(), pairs.end(),
                   [](const auto& a, const auto& b) { return a.first < b.first; });
  std::string result;
  for (const std::string_view c : Characters(call.Text(0))) {
    const auto pair =
        std::lower_bound(pairs.begin(), pairs.end(), c,
                         [](const auto& a, std::string_view b) { return a.first < b; });
    result += pair != pairs.end() && pair->first == c ? pair->second : c;
  }
  call.Answer(result);
}

void Concat(TSqliteCall& call) {
  std::string text;
  for (int i = 0; i < call.Count(); ++i) call.AppendText(i, text);
  call.Answer(text);
}

void Upper(TSqliteCall& call) { call.Answer(UpperCase(call.Text(0))); }
void Lower(TSqliteCall& call) { call.Answer(LowerCase(call.Text(0))); }

// A letter or digit: outside ASCII everything from the Latin letters on but for blanks and
// punctuation.
bool IsWordCharacter(char32_t c) {
  if (c < 0x80) return (c >= '0' && c <= '9') || ((c | 0x20) >= 'a' && (c | 0x20) <= 'z');
  const bool isSign = c < 0xaa || (c > 0xaa && c < 0xb5) || (c > 0xb5 && c < 0xba) ||
                      (c > 0xba && c < 0xc0) || c == 0xd7 || c == 0xf7 ||
                      (c >= 0x2000 && c < 0x2c00) || (c >= 0x3000 && c < 0x3005);
  return !isSign && c < kStrayByte;
}

void InitCap(TSqliteCall& call) {
  std::string result;
  bool begins = true;
  for (const std::string_view c : Characters(call.Text(0))) {
    std::size_t at = 0;
    const bool isPart = IsWordCharacter(DecodeUtf8(c, at));
    result += !isPart ? std::string(c) : begins ? UpperCase(c) : LowerCase(c);
    begins = !isPart;
  }
  call.Answer(result);
}

// The bytes of the first character as one number, and back.
void Ascii(TSqliteCall& call) {
  const std::string_view text = call.Text(0);
  std::int64_t code = 0;
  for (const char c : text.substr(0, Forward(text, 0, 1))) {
    code = code * 256 + static_cast<unsigned char>(c);
  }
  call.AnswerWhole(code);
}

void Chr(TSqliteCall& call) {
  const std::int64_t code = call.Whole(0);
  std::string bytes;
  for (std::int64_t rest = code; rest > 0 && bytes.size() < 5; rest /= 256) {
    bytes.insert(0, 1, static_cast<char>(rest % 256));
  }
  std::size_t at = 0;
  if (bytes.empty() || DecodeUtf8(bytes, at) >= kStrayByte || at != bytes.size()) {
    throw EConvertError("CHR: " + std::to_string(code) + " is no character");
  }
  call.Answer(bytes);
}

}  // namespace

std::span<const TSqliteFunction> SqliteTextFunctions() {
  static constexpr TSqliteFunction kFunctions[] = {
      {"substr", 2, WithoutNulls<Substr>},
      {"substr", 3, WithoutNulls<Substr>},
      {"instr", 2, WithoutNulls<Instr>},
      {"instr", 3, WithoutNulls<Instr>},
      {"instr", 4, WithoutNulls<Instr>},
      {"length", 1, WithoutNulls<LengthOf>},
      {"lengthb", 1, WithoutNulls<LengthInBytes>},
      {"lpad", 2, WithoutNulls<Pad<true>>},
      {"lpad", 3, WithoutNulls<Pad<true>>},
      {"rpad", 2, WithoutNulls<Pad<false>>},
      {"rpad", 3, WithoutNulls<Pad<false>>},
      {"trim", 1, WithoutNulls<TrimSet<true, true>>},
      {"ltrim", 1, WithoutNulls<TrimSet<true, false>>},
      {"ltrim", 2, WithoutNulls<TrimSet<true, false>>},
      {"rtrim", 1, WithoutNulls<TrimSet<false, true>>},
      {"rtrim", 2, WithoutNulls<TrimSet<false, true>>},
      {"trim_both", 2, WithoutNulls<TrimCharacter<true, true>>},
      {"trim_leading", 2, WithoutNulls<TrimCharacter<true, false>>},
      {"trim_trailing", 2, WithoutNulls<TrimCharacter<false, true>>},
      {"replace", 2, WithNulls<Replace>},
      {"replace", 3, WithNulls<Replace>},
      {"translate", 3, WithoutNulls<Translate>},
      {"concat", -1, WithNulls<Concat>},
      {"upper", 1, WithoutNulls<Upper>},
      {"lower", 1, WithoutNulls<Lower>},
      {"initcap", 1, WithoutNulls<InitCap>},
      {"ascii", 1, WithoutNulls<Ascii>},
      {"chr", 1, WithoutNulls<Chr>},
  };
  return kFunctions;
}

}  // namespace perlayer
