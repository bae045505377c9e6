#include "CsvFile.h"

#include <utility>

#include "perlayer/platform/Files.h"
#include "perlayer/platform/Format.h"
#include "perlayer/platform/Text.h"

namespace ward {

namespace {

class TCsvParser {
 public:
  TCsvParser(std::string_view text, const std::string& path) : FText(text), FPath(path) {
    static constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
    if (FText.starts_with(kByteOrderMark)) FText.remove_prefix(kByteOrderMark.size());
  }

  bool AtEnd() const { return FAt == FText.size(); }

  TCsvRow Row() {
    TCsvRow row;
    row.line = FLine;
    do {
      row.fields.push_back(At('"') ? QuotedField() : PlainField());
    } while (Take(","));
    if (!Take("\r\n") && !Take("\n") && !AtEnd()) {
      RaiseCsv(FPath, FLine, "expected a comma or the line's end behind a closing quote");
    }
    ++FLine;
    return row;
  }

 private:
  bool At(char c) const { return !AtEnd() && FText[FAt] == c; }
  bool Take(std::string_view what) {
    if (!FText.substr(FAt).starts_with(what)) return false;
    FAt += what.size();
    return true;
  }

  std::string PlainField() {
    const std::size_t begin = FAt;
    while (!AtEnd() && !At(',') && !At('\n') && !FText.substr(FAt).starts_with("\r\n")) {
      if (At('"')) RaiseCsv(FPath, FLine, "a quote stands inside a field that begins without one");
      ++FAt;
    }
    return std::string(FText.substr(begin, FAt - begin));
  }

  std::string QuotedField() {
    const int opened = FLine;
    std::string field;
    for (++FAt;; ++FAt) {
      if (AtEnd()) RaiseCsv(FPath, opened, "the quote that opens a field here is never closed");
      if (At('"')) {
        if (!FText.substr(FAt).starts_with("\"\"")) break;
        ++FAt;
      }
      if (At('\n')) ++FLine;
      field += FText[FAt];
    }
    ++FAt;
    return field;
  }

  std::string_view FText;
  const std::string& FPath;
  std::size_t FAt = 0;
  int FLine = 1;
};

void CheckCharacters(std::string_view text, const std::string& path) {
  int line = 1;
  for (std::size_t at = 0; at < text.size();) {
    const char32_t c = DecodeUtf8(text, at);
    if (c == '\n') ++line;
    const bool isText = c >= ' ' ? c < kStrayByte : c == '\n' || c == '\r' || c == '\t';
    if (!isText) {
      RaiseCsv(path, line,
               Format("expected UTF-8 text, found byte 0x%.2x",
                      static_cast<unsigned char>(text[at - 1])));
    }
  }
}

}  // namespace

void RaiseCsv(const std::string& path, int line, const std::string& message) {
  throw ECsvError(Format("%s:%d: %s", path, line, message));
}

TCsvFile ParseCsv(std::string_view text, const std::string& path) {
  CheckCharacters(text, path);
  TCsvFile file;
  file.path = path;
  TCsvParser parser(text, file.path);
  if (parser.AtEnd()) RaiseCsv(path, 1, "expected the names of the columns, found an empty file");
  file.header = parser.Row().fields;
  while (!parser.AtEnd()) {
    TCsvRow row = parser.Row();
    if (row.fields.size() != file.header.size()) {
      RaiseCsv(path, row.line,
               Format("expected %d columns, as in the header, found %d", file.header.size(),
                      row.fields.size()));
    }
    file.rows.push_back(std::move(row));
  }
  return file;
}

TCsvFile ReadCsvFile(const std::string& path) { return ParseCsv(ReadFile(path), path); }

}  // namespace ward
