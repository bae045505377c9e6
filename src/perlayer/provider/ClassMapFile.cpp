#include "perlayer/provider/ClassMapFile.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <deque>
#include <filesystem>
#include <memory>
#include <optional>
#include <utility>

#include "perlayer/platform/Format.h"
#include "perlayer/platform/Text.h"
#include "perlayer/provider/ClassMapLines.h"

namespace perlayer {

namespace {

constexpr std::string_view kExtension = ".classmap";

// The map's name from the name of its file.
std::string MapName(std::string_view fileName) {
  const std::string_view name = fileName.substr(fileName.rfind('/') + 1);
  if (!name.ends_with(kExtension) || name.size() == kExtension.size()) {
    RaiseExpected(fileName, "a file called NAME.classmap", Quoted(name));
  }
  return std::string(name.substr(0, name.size() - kExtension.size()));
}

// The words of a line outside SQL; "#" at the beginning of a word makes the rest a comment.
struct TWord {
  std::string text;
  bool quoted = false;
};

// What is raised for one line.
class EParseFault : public EClassMapError {
 public:
  EParseFault(std::string_view source, TClassMapFault fault)
      : EClassMapError(Format("%s:%d: %s", source, fault.line, fault.text)),
        FFault(std::move(fault)) {}
  const TClassMapFault& Fault() const { return FFault; }

 private:
  TClassMapFault FFault;
};

class TParser {
 public:
  TParser(std::string_view text, std::string_view fileName) {
    FDefinition.name = MapName(fileName);
    FDefinition.source = fileName;
    constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
    if (text.starts_with(kByteOrderMark)) text.remove_prefix(kByteOrderMark.size());
    FLines = TextLines(text);
  }

  // Up to the first fault, which is raised.
  TClassMapDefinition Run() {
    CheckLines();
    while (ReadWords()) ReadPart();
    CheckClassMap(FDefinition);
    return std::move(FDefinition);
  }

  // Through all faults.
  TClassMapReading RunOn() {
    TClassMapReading reading;
    FFaults = &reading.faults;
    CheckLines();
    while (!Go([&] {
      while (ReadWords()) ReadPart();
    })) {
      LeavePart(reading.unread);
    }
    const bool none = FDefinition.queries.empty() && FDefinition.updateSqls.empty();
    if (!none || reading.faults.empty()) {
      const auto faults = ClassMapFaults(FDefinition);
      reading.faults.insert(reading.faults.end(), faults.begin(), faults.end());
    }
    reading.definition = std::move(FDefinition);
    return reading;
  }

 private:
  // Runs a step of reading. In a reading that goes on a fault is noted, and the answer is false.
  template <class TStep>
  bool Go(TStep&& step) {
    if (FFaults == nullptr) {
      step();
      return true;
    }
    try {
      step();
      return true;
    } catch (const EParseFault& e) {
      FFaults->push_back(e.Fault());
      return false;
    }
  }

  // Goes on behind a fault: to the next line that begins a query or an update, as far left as the
  // one that ends here.
  void LeavePart(std::vector<std::string>& unread) {
    if (FInQuery) {
      unread.push_back(FDefinition.queries.back().name);
      FDefinition.queries.pop_back();
    } else if (FInUpdate) {
      unread.push_back(FDefinition.updateSqls.back().name);
      FDefinition.updateSqls.pop_back();
    }
    FInQuery = FInUpdate = false;
    FLine = std::max(FLine, FPartLine + 1);
    while (FLine <= FLines.size() &&
           (!BeginsPart() || Indentation(Line()).size() > FPartIndentation)) {
      ++FLine;
    }
    --FLine;
  }

  bool BeginsPart() const {
    const std::string_view text = Trim(Line());
    const std::string_view word = text.substr(0, text.find_first_of(" \t"));
    return SameText(word, "query") || SameText(word, "update");
  }

  void ReadPart() {
    const std::string keyword = LowerCase(TakeWord("a keyword").text);
    if (keyword == "query") {
      BeginQuery();
    } else if (keyword == "update") {
      BeginUpdate();
    } else if (FInQuery && keyword == "sql") {
      auto& query = FDefinition.queries.back();
      ReadStatement(query.sql, query.sqlLine, keyword);
    } else if (FInQuery && keyword == "fields") {
      ReadFields(FDefinition.queries.back());
    } else if (FInUpdate && keyword == "insert") {
      auto& update = FDefinition.updateSqls.back();
      ReadStatement(update.insertSql, update.insertLine, keyword);
    } else if (FInUpdate && keyword == "modify") {
      auto& update = FDefinition.updateSqls.back();
      ReadStatement(update.modifySql, update.modifyLine, keyword);
    } else if (FInUpdate && keyword == "delete") {
      auto& update = FDefinition.updateSqls.back();
      ReadStatement(update.deleteSql, update.deleteLine, keyword);
    } else {
      Expected(FInQuery    ? "sql, fields, query or update"
               : FInUpdate ? "insert, modify, delete, query or update"
                           : "query or update",
               Quoted(FWords[0].text));
    }
  }

  // Raises for line FLine, the one read last.
  [[noreturn]] void Expected(std::string_view expected, std::string_view found) const {
    throw EParseFault(FDefinition.source, {LineNumber(), ExpectedText(expected, found)});
  }

  // Where reading goes on, what is no text reads as question marks.
  void CheckLines() {
    for (auto& line : FLines) {
      ++FLine;
      const auto fault = LineFault(line);
      if (fault.empty() || Go([&] { Expected("UTF-8 text", fault); })) continue;
      std::string& readable = FReadable.emplace_back(line);
      for (char& c : readable) {
        const auto byte = static_cast<unsigned char>(c);
        if ((byte < ' ' && c != '\t') || byte >= 0x7F) c = '?';
      }
      line = readable;
    }
    FLine = 0;
  }

  std::string_view Line() const { return FLines[FLine - 1]; }

  // False at the end of the file.
  bool ReadLine() {
    if (FLine == FLines.size()) return false;
    ++FLine;
    return true;
  }

  // The next line that has words.
  bool ReadWords() {
    while (ReadLine()) {
      if (BeginsPart()) {
        FPartLine = FLine;
        FPartIndentation = Indentation(Line()).size();
        FInQuery = FInUpdate = false;
      }
      SplitWords();
      if (!FWords.empty()) return true;
    }
    return false;
  }

  void SplitWords() {
    FWords.clear();
    FNextWord = 0;
    std::string_view rest = Trim(Line());
    while (!rest.empty() && rest[0] != '#') {
      TWord word;
      std::size_t end = 0;
      if (rest[0] == '"') {
        word.quoted = true;
        end = ReadQuoted(rest, word.text);
      } else {
        end = std::min(rest.find_first_of(" \t"), rest.size());
        word.text = rest.substr(0, end);
      }
      FWords.push_back(std::move(word));
      rest = TrimLeft(rest.substr(end));
    }
  }

  // Reads a text in quotes, an inner quote doubled; answers the position behind it.
  std::size_t ReadQuoted(std::string_view text, std::string& content) const {
    for (std::size_t i = 1; i < text.size(); ++i) {
      if (text[i] != '"') {
        content += text[i];
      } else if (text.substr(i + 1).starts_with('"')) {
        content += '"';
        ++i;
      } else if (i + 1 == text.size() || text[i + 1] == ' ' || text[i + 1] == '\t') {
        return i + 1;
      } else {
        Expected("a blank behind the closing quote", Quoted(text.substr(i + 1)));
      }
    }
    Expected("a closing quote", "the end of the line");
  }

  const TWord* PeekWord() const { return FNextWord < FWords.size() ? &FWords[FNextWord] : nullptr; }

  // The next word, which must not be in quotes.
  const TWord& TakeWord(std::string_view expected) {
    const TWord* word = PeekWord();
    if (word == nullptr) Expected(expected, "the end of the line");
    if (word->quoted) Expected(expected, "the text " + Quoted(word->text));
    ++FNextWord;
    return *word;
  }

  // The next word if that is in quotes, else nothing.
  std::string TakeText() {
    const TWord* word = PeekWord();
    if (word == nullptr || !word->quoted) return "";
    ++FNextWord;
    return word->text;
  }

  void EndOfWords() const {
    if (const TWord* word = PeekWord()) Expected("the end of the line", Quoted(word->text));
  }

  int LineNumber() const { return static_cast<int>(FLine); }

  void BeginQuery() {
    FInQuery = true;
    FInUpdate = false;
    auto& query = FDefinition.queries.emplace_back();
    query.line = LineNumber();
    query.name = TakeWord("a query name").text;
    query.caption = TakeText();
    EndOfWords();
  }

  void BeginUpdate() {
    FInQuery = false;
    FInUpdate = true;
    auto& update = FDefinition.updateSqls.emplace_back();
    update.line = LineNumber();
    update.name = TakeWord("an update name").text;
    EndOfWords();
  }

  // A section goes from its keyword to an "end" below it; what it holds is indented deeper. So no
  // line of SQL, whatever it says, is taken for the end.
  struct TSection {
    std::string_view keyword;
    std::string_view indentation;
    std::size_t line;
  };

  TSection BeginSection(std::string_view keyword) const {
    EndOfWords();
    return {keyword, Indentation(Line()), FLine};
  }

  void ReadSectionLine(const TSection& section) {
    if (ReadLine()) return;
    Expected(Format("the end of \"%s\" of line %d", section.keyword, section.line),
             "the end of the file");
  }

  bool IsEnd(const TSection& section) const {
    const std::string_view line = Line();
    return Indentation(line) == section.indentation &&
           SameText(Trim(line.substr(0, line.find('#'))), "end");
  }

  bool IsDeeper(const TSection& section) const {
    const std::string_view indentation = Indentation(Line());
    return indentation.size() > section.indentation.size() &&
           indentation.starts_with(section.indentation);
  }

  [[noreturn]] void ExpectedInside(const TSection& section, std::string_view content) const {
    Expected(Format("%s, or \"end\" right below \"%s\" of line %d", content, section.keyword,
                    section.line),
             Quoted(Trim(Line())));
  }

  // `lines` is empty unless the section has been read already.
  void ReadStatement(std::vector<std::string>& lines, int& firstLine, std::string_view keyword) {
    if (!lines.empty()) Expected(Format("one \"%s\"", keyword), "a second one");
    const TSection section = BeginSection(keyword);
    firstLine = LineNumber() + 1;
    std::vector<std::string_view> read;
    std::optional<std::string_view> indentation;  // of the first line of SQL
    std::size_t first = 0;
    for (ReadSectionLine(section); !IsEnd(section); ReadSectionLine(section)) {
      read.push_back(Line());
      if (!IsSql(Line())) continue;  // blank and comment lines may stand anywhere
      if (!indentation) {
        if (!IsDeeper(section)) ExpectedInside(section, "SQL indented deeper");
        indentation = Indentation(Line());
        first = FLine;
      } else if (!Line().starts_with(*indentation)) {
        ExpectedInside(section, Format("SQL indented at least as in line %d", first));
      }
    }
    if (!indentation) Expected(Format("SQL in \"%s\" of line %d", keyword, section.line), "none");
    for (const auto line : read) lines.emplace_back(Unindented(line, *indentation));
  }

  void ReadFields(TClassMapQuery& query) {
    if (!query.fields.empty()) Expected("one \"fields\"", "a second one");
    const TSection section = BeginSection("fields");
    for (ReadSectionLine(section); !IsEnd(section); ReadSectionLine(section)) {
      const std::string_view text = Trim(Line());
      if (text.empty() || text[0] == '#') continue;
      if (!IsDeeper(section)) ExpectedInside(section, "a field indented deeper");
      TClassMapField field;
      if (!Go([&] {
            SplitWords();
            ReadField(field);
          })) {
        // Its name is enough for what else there is to check.
        if (field.name.empty()) continue;
        if (field.type == TClassMapFieldType::string) field.size = std::max(field.size, 1);
      }
      query.fields.push_back(std::move(field));
    }
    if (query.fields.empty()) {
      Expected(Format("a field in \"fields\" of line %d", section.line), "none");
    }
  }

  // NAME TYPE [SIZE] ["LABEL"] and options in any order.
  void ReadField(TClassMapField& field) {
    field.line = LineNumber();
    field.name = TakeWord("a field name").text;
    field.type = TakeType();
    if (const TWord* size = PeekWord(); size != nullptr && !size->quoted) {
      const char c = size->text[0];
      if ((c >= '0' && c <= '9') || c == '-' || c == '+') field.size = TakeSize();
    }
    field.label = TakeText();
    while (PeekWord() != nullptr) {
      const std::string& option = TakeWord("required, codelist or calculated").text;
      const std::string keyword = LowerCase(option);
      bool again = false;
      if (keyword == "required") {
        again = std::exchange(field.required, true);
      } else if (keyword == "calculated") {
        again = std::exchange(field.calculated, true);
      } else if (keyword == "codelist") {
        again = !field.codeList.empty();
        field.codeList = TakeWord("the code of a code list").text;
      } else {
        Expected("\"LABEL\", required, codelist or calculated", Quoted(option));
      }
      if (again) Expected("each option once", Format("%s again", Quoted(option)));
    }
  }

  TClassMapFieldType TakeType() {
    constexpr std::string_view kExpected =
        "a field type (string, memo, float, integer, datetime or blob)";
    const std::string& name = TakeWord(kExpected).text;
    using enum TClassMapFieldType;
    for (const auto type : {string, memo, floating, integer, dateTime, blob}) {
      if (SameText(name, ClassMapFieldTypeName(type))) return type;
    }
    Expected(kExpected, Quoted(name));
  }

  int TakeSize() {
    const std::string& text = TakeWord("a size").text;
    const char* end = text.data() + text.size();
    int size = 0;
    const auto result = std::from_chars(text.data(), end, size);
    if (result.ec != std::errc() || result.ptr != end || size < 1) {
      Expected(Format("a size from 1 to %d", kMaxStringSize), Quoted(text));
    }
    return size;
  }

  TClassMapDefinition FDefinition;
  std::vector<std::string_view> FLines;
  std::deque<std::string> FReadable;               // stand in FLines for lines that are no text
  std::vector<TClassMapFault>* FFaults = nullptr;  // of a reading that goes on
  std::size_t FPartLine = 0;                       // where the query or update begins
  std::size_t FPartIndentation = 0;
  std::size_t FLine = 0;  // number of the line read last, from 1; 0 before the first
  std::vector<TWord> FWords;
  std::size_t FNextWord = 0;
  bool FInQuery = false;
  bool FInUpdate = false;
};

class TWriter {
 public:
  explicit TWriter(const TClassMapDefinition& definition) : FDefinition(definition) {}

  // Each query is followed by its update SQL as far as the order of the updates allows that.
  std::string Run() {
    auto update = FDefinition.updateSqls.begin();
    const auto end = FDefinition.updateSqls.end();
    for (const auto& query : FDefinition.queries) {
      WriteQuery(query);
      const std::string primary = "us" + query.name.substr(2);
      while (update != end &&
             (update->name == primary || update->name.starts_with(primary + "_"))) {
        WriteUpdate(*update++);
      }
    }
    while (update != end) WriteUpdate(*update++);
    return std::move(FText);
  }

 private:
  static std::string InQuotes(std::string_view text) {
    return '"' + StringReplaceAll(text, "\"", "\"\"") + '"';
  }

  void WriteLine(std::string_view line) {
    FText += line;
    FText += '\n';
  }

  void WriteQuery(const TClassMapQuery& query) {
    if (!FText.empty()) WriteLine("");
    std::string head = "query " + query.name;
    if (!query.caption.empty()) head += ' ' + InQuotes(query.caption);
    WriteLine(head);
    WriteStatement("sql", query.sql);
    WriteFields(query.fields);
  }

  void WriteUpdate(const TClassMapUpdateSql& update) {
    if (!FText.empty()) WriteLine("");
    WriteLine("update " + update.name);
    WriteStatement("insert", update.insertSql);
    WriteStatement("modify", update.modifySql);
    WriteStatement("delete", update.deleteSql);
  }

  void WriteStatement(const std::string& keyword, const std::vector<std::string>& lines) {
    if (lines.empty()) return;
    WriteLine("");
    WriteLine("  " + keyword);
    for (const auto& line : lines) WriteLine(line.empty() ? "" : "    " + line);
    WriteLine("  end");
  }

  // A table: each column is as wide as its longest entry.
  void WriteFields(const std::vector<TClassMapField>& fields) {
    if (fields.empty()) return;
    WriteLine("");
    WriteLine("  fields");
    std::vector<std::vector<std::string>> rows;
    std::vector<std::size_t> widths(4, 0);
    for (const auto& field : fields) {
      auto& row = rows.emplace_back();
      row.push_back(field.name);
      row.emplace_back(ClassMapFieldTypeName(field.type));
      row.push_back(field.size == 0 ? "" : IPadL(IntToStr(field.size), 5));
      row.push_back(field.label.empty() ? "" : InQuotes(field.label));
      for (std::size_t i = 0; i < row.size(); ++i) {
        widths[i] = std::max(widths[i], Utf8Length(row[i]));
      }
    }
    for (std::size_t i = 0; i < rows.size(); ++i) {
      std::string line = "    ";
      for (std::size_t column = 0; column < widths.size(); ++column) {
        if (widths[column] > 0) line += IPadR(rows[i][column], widths[column]) + "  ";
      }
      if (fields[i].required) line += "required  ";
      if (!fields[i].codeList.empty()) line += "codelist " + fields[i].codeList + "  ";
      if (fields[i].calculated) line += "calculated";
      WriteLine(TrimRight(line));
    }
    WriteLine("  end");
  }

  const TClassMapDefinition& FDefinition;
  std::string FText;
};

struct TCloseFile {
  void operator()(std::FILE* file) const { std::fclose(file); }
};

std::string ReadFile(const std::string& path) {
  constexpr std::string_view kReadable = "a file that can be read";
  std::error_code error;
  const auto status = std::filesystem::status(path, error);
  if (!std::filesystem::status_known(status) || !std::filesystem::exists(status)) {
    RaiseExpected(path, kReadable, error ? error.message() : "none of that name");
  }
  // Opening a pipe would wait for somebody to write to it.
  if (!std::filesystem::is_regular_file(status)) {
    RaiseExpected(path, kReadable,
                  std::filesystem::is_directory(status) ? "a directory" : "a device or pipe");
  }
  const std::unique_ptr<std::FILE, TCloseFile> file(std::fopen(path.c_str(), "rb"));
  if (file == nullptr) RaiseExpected(path, kReadable, std::strerror(errno));
  std::string text;
  char buffer[16384];
  while (const std::size_t count = std::fread(buffer, 1, sizeof buffer, file.get())) {
    text.append(buffer, count);
  }
  if (std::ferror(file.get()) != 0) RaiseExpected(path, kReadable, std::strerror(errno));
  return text;
}

}  // namespace

TClassMapDefinition ParseClassMap(std::string_view text, std::string_view fileName) {
  return TParser(text, fileName).Run();
}

TClassMapDefinition ReadClassMapFile(const std::string& path) {
  MapName(path);
  return ParseClassMap(ReadFile(path), path);
}

TClassMapReading ReadWholeClassMapFile(const std::string& path) {
  MapName(path);
  const std::string text = ReadFile(path);
  return TParser(text, path).RunOn();
}

std::string WriteClassMap(const TClassMapDefinition& definition) {
  CheckClassMap(definition);
  return TWriter(definition).Run();
}

}  // namespace perlayer
