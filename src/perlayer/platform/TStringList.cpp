#include "perlayer/platform/TStringList.h"

#include "perlayer/platform/Exception.h"

namespace perlayer {

namespace {

// Every character up to the space counts as a blank. Unsigned: a byte of a letter beyond ASCII is
// none.
bool IsBlank(char c) { return static_cast<unsigned char>(c) <= ' '; }

void AppendQuoted(std::string& text, std::string_view item, char quote) {
  text += quote;
  for (const char c : item) {
    if (c == quote) text += quote;
    text += c;
  }
  text += quote;
}

std::string JoinDelimited(const TTextList<TObjectHandle>& items, char delimiter, char quote) {
  const auto needsQuotes = [&](std::string_view item) {
    if (quote == 0) return false;
    // An empty item shows by the delimiters around it, if there are any and they are no blanks.
    if (item.empty()) return items.Count() == 1 || IsBlank(delimiter);
    return std::any_of(item.begin(), item.end(),
                       [&](char c) { return IsBlank(c) || c == delimiter || c == quote; });
  };
  std::string text;
  for (int i = 0; i < items.Count(); ++i) {
    if (i > 0) text += delimiter;
    const std::string& item = items.TextAt(i);
    if (needsQuotes(item)) {
      AppendQuoted(text, item, quote);
    } else {
      text += item;
    }
  }
  return text;
}

class TDelimitedReader {
 public:
  TDelimitedReader(std::string_view text, char delimiter, char quote, bool strict)
      : FText(text), FDelimiter(delimiter), FQuote(quote), FStrict(strict) {}

  std::vector<std::string> Read() {
    std::vector<std::string> items;
    SkipBlanks();
    while (!AtEnd()) {
      items.push_back(FQuote != 0 && Here() == FQuote ? ReadQuoted() : ReadPlain());
      SkipBlanks();
      if (AtEnd() || Here() != FDelimiter) continue;
      ++FPosition;
      SkipBlanks();
      // A text that ends with a delimiter has an empty item behind it.
      if (AtEnd()) items.emplace_back();
    }
    return items;
  }

 private:
  bool AtEnd() const { return FPosition == FText.size(); }
  char Here() const { return FText[FPosition]; }

  void SkipBlanks() {
    if (FStrict) return;
    while (!AtEnd() && IsBlank(Here())) ++FPosition;
  }

  std::string ReadPlain() {
    const std::size_t begin = FPosition;
    while (!AtEnd() && Here() != FDelimiter && (FStrict || !IsBlank(Here()))) ++FPosition;
    return std::string(FText.substr(begin, FPosition - begin));
  }

  std::string ReadQuoted() {
    std::string item;
    for (++FPosition; !AtEnd(); ++FPosition) {
      if (Here() == FQuote) {
        ++FPosition;
        if (AtEnd() || Here() != FQuote) break;
      }
      item += Here();
    }
    return item;
  }

  const std::string_view FText;
  const char FDelimiter;
  const char FQuote;
  const bool FStrict;
  std::size_t FPosition = 0;
};

// The text before the first "=", or nothing to compare with when there is none.
bool HasName(std::string_view entry, std::string_view name) {
  const std::size_t end = entry.find('=');
  return end != std::string_view::npos && SameText(entry.substr(0, end), name);
}

}  // namespace

void TStringList::Changed() {
  if (FUpdateCount > 0) {
    FChangedInUpdate = true;
  } else if (FOnChange) {
    FOnChange(this);  // may free the list: nothing follows
  }
}

void TStringList::EndUpdate() {
  Assert(FUpdateCount > 0, "TStringList.EndUpdate without BeginUpdate");
  if (--FUpdateCount == 0 && std::exchange(FChangedInUpdate, false)) Changed();
}

void TStringList::Strings(int index, std::string_view text) {
  FItems.SetText(index, text);
  ChangedThroughout();
}

void TStringList::Objects(int index, TObject* object) {
  FItems.PayloadAt(index) = object;
  Entered(index);
  Changed();
}

int TStringList::AddItem(std::string_view text, TObjectHandle object) {
  const int before = FItems.Count();
  const int index = FItems.Add(text, object);
  if (FItems.Count() != before) Entered(index);
  return index;
}

int TStringList::AddObject(std::string_view text, TObject* object) {
  const int before = FItems.Count();
  const int index = AddItem(text, object);
  if (FItems.Count() != before) Changed();
  return index;
}

void TStringList::InsertObject(int index, std::string_view text, TObject* object) {
  FItems.Insert(index, text, object);
  ChangedThroughout();
}

void TStringList::Exchange(int a, int b) {
  FItems.Exchange(a, b);
  ChangedThroughout();
}

void TStringList::Move(int from, int to) {
  FItems.Move(from, to);
  ChangedThroughout();
}

void TStringList::Delete(int index) {
  if (index >= 0 && index < Count()) Leaving(index);
  FItems.Delete(index);
  Changed();
}

void TStringList::Clear() {
  if (Count() == 0) return;
  FItems.Clear();
  ChangedThroughout();
}

void TStringList::AddStrings(const TStringList& other) {
  if (&other == this) {
    AddItems(TTextList<TObjectHandle>(FItems));
  } else {
    AddItems(other.FItems);
  }
}

void TStringList::AddItems(const TTextList<TObjectHandle>& items) {
  const int before = Count();
  const auto add = [&] {
    for (int i = 0; i < items.Count(); ++i) AddItem(items.TextAt(i), items.PayloadAt(i));
  };
  TryFinally(add, [&] {
    if (Count() != before) Changed();
  });
}

void TStringList::AddStrings(const std::vector<std::string>& texts) {
  TTextList<TObjectHandle> items;
  for (const std::string& text : texts) items.Add(text, nullptr);
  AddItems(items);
}

void TStringList::Assign(const TStringList& other) {
  if (&other == this) return;
  FItems = other.FItems;
  FDelimiter = other.FDelimiter;
  FQuoteChar = other.FQuoteChar;
  FStrictDelimiter = other.FStrictDelimiter;
  ChangedThroughout();
}

bool TStringList::Equals(const TStringList& other) const {
  if (Count() != other.Count()) return false;
  for (int i = 0; i < Count(); ++i) {
    if (Strings(i) != other.Strings(i)) return false;
  }
  return true;
}

int TStringList::IndexOf(std::string_view text) const { return FItems.IndexOf(text); }

bool TStringList::Find(std::string_view text, int& index) const { return FItems.Find(text, index); }

int TStringList::IndexOfObject(const TObject* object) const {
  const TObjectHandle handle(object);
  for (int i = 0; i < Count(); ++i) {
    if (FItems.PayloadAt(i) == handle) return i;
  }
  return -1;
}

int TStringList::IndexOfName(std::string_view name) const {
  for (int i = 0; i < Count(); ++i) {
    if (HasName(Strings(i), name)) return i;
  }
  return -1;
}

std::string TStringList::Names(int index) const {
  const std::string& entry = Strings(index);
  const std::size_t end = entry.find('=');
  return end == std::string::npos ? std::string() : entry.substr(0, end);
}

std::string TStringList::ValueFromIndex(int index) const {
  const std::string& entry = Strings(index);
  const std::size_t end = entry.find('=');
  return end == std::string::npos ? std::string() : entry.substr(end + 1);
}

std::string TStringList::Values(std::string_view name) const {
  const int index = IndexOfName(name);
  return index < 0 ? std::string() : ValueFromIndex(index);
}

void TStringList::Values(std::string_view name, std::string_view value) {
  const int index = IndexOfName(name);
  if (value.empty()) {
    if (index >= 0) Delete(index);
    return;
  }
  std::string entry(name);
  entry += '=';
  entry += value;
  if (index < 0) {
    Add(entry);
  } else {
    Strings(index, entry);
  }
}

std::string TStringList::Text() const {
  std::size_t size = 0;
  for (int i = 0; i < Count(); ++i) size += Strings(i).size() + 2;
  std::string text;
  text.reserve(size);
  for (int i = 0; i < Count(); ++i) {
    text += Strings(i);
    text += "\r\n";
  }
  return text;
}

void TStringList::Text(std::string_view text) {
  std::vector<std::string> lines;
  while (!text.empty()) {
    const std::size_t end = text.find_first_of("\r\n");
    lines.emplace_back(text.substr(0, end));
    if (end == std::string_view::npos) break;
    text.remove_prefix(text.substr(end, 2) == "\r\n" ? end + 2 : end + 1);
  }
  ReplaceTexts(lines);
}

std::string TStringList::CommaText() const { return JoinDelimited(FItems, ',', '"'); }

void TStringList::CommaText(std::string_view text) {
  ReplaceTexts(TDelimitedReader(text, ',', '"', false).Read());
}

std::string TStringList::DelimitedText() const {
  return JoinDelimited(FItems, FDelimiter, FQuoteChar);
}

void TStringList::DelimitedText(std::string_view text) {
  ReplaceTexts(TDelimitedReader(text, FDelimiter, FQuoteChar, FStrictDelimiter).Read());
}

void TStringList::ReplaceTexts(const std::vector<std::string>& texts) {
  TTextList<TObjectHandle> items = FItems.EmptyCopy();
  for (const std::string& text : texts) items.Add(text, nullptr);
  FItems = std::move(items);
  ChangedThroughout();
}

void TStringList::Sorted(bool sorted) {
  if (sorted == Sorted()) return;
  FItems.Sorted(sorted);
  Rearranged();
  if (sorted) Changed();
}

void TStringList::CaseSensitive(bool sensitive) {
  if (sensitive == CaseSensitive()) return;
  FItems.CaseSensitive(sensitive);
  Rearranged();
  if (Sorted()) Changed();
}

void TStringList::Sort() {
  if (Sorted()) return;
  FItems.Sort();
  ChangedThroughout();
}

}  // namespace perlayer
