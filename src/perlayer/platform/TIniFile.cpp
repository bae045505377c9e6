#include "perlayer/platform/TIniFile.h"

#include <cstdlib>
#include <filesystem>
#include <set>
#include <utility>

#include "perlayer/platform/Exception.h"
#include "perlayer/platform/Files.h"
#include "perlayer/platform/TLayer.h"
#include "perlayer/platform/Text.h"

namespace perlayer {

namespace {

constexpr std::string_view kMark = "\xEF\xBB\xBF";

struct TDirectoryPart {
  std::string path;
};

std::string& SetDirectory() { return TLayer::Part<TDirectoryPart>(TLayerPart::iniDirectory).path; }

std::string PathOf(const std::string& name) {
  if (name.empty()) throw EStreamError("TIniFile: a file name is expected");
  if (name.find('/') != std::string::npos) return name;
  return TIniFile::UserDirectory() + "/" + name;
}

bool BeginsComment(std::string_view text) {
  return !text.empty() && (text.front() == ';' || text.front() == '#');
}

// The name in a line "[name]", behind which only a comment may stand. The name may hold brackets.
bool ParseHeader(std::string_view line, std::string& name) {
  line = Trim(line);
  if (line.empty() || line.front() != '[') return false;
  for (std::size_t end = line.find(']'); end != line.npos; end = line.find(']', end + 1)) {
    const std::string_view rest = TrimLeft(line.substr(end + 1));
    if (!rest.empty() && !BeginsComment(rest)) continue;
    name = Trim(line.substr(1, end - 1));
    return true;
  }
  return false;
}

bool HasLineBreak(std::string_view text) { return text.find_first_of("\r\n") != text.npos; }

}  // namespace

TIniFile::TLine TIniFile::Parse(std::string text) {
  TLine line;
  std::string_view body = text;
  if (body.ends_with('\n')) body.remove_suffix(1);
  // Also at the end of a file, where the line that is written next completes the line end.
  if (body.ends_with('\r')) body.remove_suffix(1);
  // A file that was joined of two has a mark inside, whose line may become the first one.
  while (body.starts_with(kMark)) body.remove_prefix(kMark.size());
  const std::size_t begin = static_cast<std::size_t>(body.data() - text.data());
  const std::string_view start = TrimLeft(body);
  const std::size_t equals = body.find('=');
  if (start.empty()) {
    line.kind = TKind::blank;
  } else if (ParseHeader(body, line.name)) {
    line.kind = TKind::section;
  } else if (!BeginsComment(start) && start.front() != '[' && start.front() != '=' &&
             equals != body.npos) {
    line.kind = TKind::entry;
    line.name = Trim(body.substr(0, equals));
    line.valueAt = begin + equals + 1;
    line.valueEnd = begin + body.size();
  }
  line.text = std::move(text);
  return line;
}

TIniFile::TIniFile(const std::string& name)
    : TIniFile(name, ReadFileIfThere(PathOf(name)).value_or("")) {}

TIniFile::TIniFile(const std::string& name, std::string_view contents)
    : FPath(PathOf(name)), FBareName(name.find('/') == std::string::npos) {
  std::string_view rest = contents;
  if (rest.substr(0, kMark.size()) == kMark) {
    FMark = kMark;
    rest.remove_prefix(kMark.size());
  }
  if (const std::size_t end = rest.find('\n');
      end != rest.npos && end > 0 && rest[end - 1] == '\r') {
    FLineEnd = "\r\n";
  }
  while (!rest.empty()) {
    const std::size_t end = rest.find('\n');
    const std::size_t size = end == rest.npos ? rest.size() : end + 1;
    FLines.push_back(Parse(std::string(rest.substr(0, size))));
    rest.remove_prefix(size);
  }
}

std::size_t TIniFile::EndOfSection(std::size_t header) const {
  std::size_t end = header + 1;
  while (end < FLines.size() && FLines[end].kind != TKind::section) ++end;
  return end;
}

std::size_t TIniFile::FindSection(std::string_view section) const {
  std::size_t i = 0;
  while (i < FLines.size() &&
         !(FLines[i].kind == TKind::section && SameText(FLines[i].name, section))) {
    ++i;
  }
  return i;
}

std::size_t TIniFile::FindEntry(std::string_view section, std::string_view key) const {
  bool inside = false;
  for (std::size_t i = 0; i < FLines.size(); ++i) {
    const TLine& line = FLines[i];
    if (line.kind == TKind::section) {
      inside = SameText(line.name, section);
    } else if (inside && line.kind == TKind::entry && SameText(line.name, key)) {
      return i;
    }
  }
  return FLines.size();
}

std::string TIniFile::ReadString(std::string_view section, std::string_view key,
                                 std::string_view otherwise) const {
  const std::size_t at = FindEntry(section, key);
  if (at == FLines.size()) return std::string(otherwise);
  const TLine& line = FLines[at];
  return line.text.substr(line.valueAt, line.valueEnd - line.valueAt);
}

bool TIniFile::SectionExists(std::string_view section) const {
  return FindSection(section) < FLines.size();
}

bool TIniFile::ValueExists(std::string_view section, std::string_view key) const {
  return FindEntry(section, key) < FLines.size();
}

std::vector<std::string> TIniFile::ReadSections() const {
  std::vector<std::string> names;
  std::set<std::string> seen;
  for (const TLine& line : FLines) {
    if (line.kind == TKind::section && seen.insert(FoldCase(line.name)).second) {
      names.push_back(line.name);
    }
  }
  return names;
}

std::vector<std::string> TIniFile::ReadSection(std::string_view section) const {
  std::vector<std::string> names;
  std::set<std::string> seen;
  bool inside = false;
  for (const TLine& line : FLines) {
    if (line.kind == TKind::section) {
      inside = SameText(line.name, section);
    } else if (inside && line.kind == TKind::entry && seen.insert(FoldCase(line.name)).second) {
      names.push_back(line.name);
    }
  }
  return names;
}

void TIniFile::WriteString(std::string_view section, std::string_view key, std::string_view value) {
  // What is written is parsed as it will be read: only what comes back the same is taken.
  TLine header = Parse("[" + std::string(section) + "]" + FLineEnd);
  TLine entry = Parse(std::string(key) + "=" + std::string(value) + FLineEnd);
  if (HasLineBreak(section) || header.kind != TKind::section || header.name != section) {
    throw EConvertError("\"" + std::string(section) + "\" cannot be a section of " + FPath);
  }
  if (HasLineBreak(key) || entry.kind != TKind::entry || entry.name != key) {
    throw EConvertError("\"" + std::string(key) + "\" cannot be a key of " + FPath);
  }
  if (HasLineBreak(value)) {
    throw EConvertError("A value with a line break cannot be written to " + FPath + " as [" +
                        std::string(section) + "] " + std::string(key));
  }

  if (const std::size_t at = FindEntry(section, key); at < FLines.size()) {
    TLine& line = FLines[at];
    const std::size_t size = line.valueEnd - line.valueAt;
    if (std::string_view(line.text).substr(line.valueAt, size) == value) return;
    line.text.replace(line.valueAt, size, value);
    line.valueEnd = line.valueAt + value.size();
    FModified = true;
    return;
  }
  if (const std::size_t at = FindSection(section); at < FLines.size()) {
    std::size_t last = at;
    const std::size_t end = EndOfSection(at);
    for (std::size_t i = at + 1; i < end; ++i) {
      if (FLines[i].kind == TKind::entry) last = i;
    }
    InsertLines(last + 1, {std::move(entry)});
    return;
  }
  std::vector<TLine> lines;
  if (!FLines.empty() && FLines.back().kind != TKind::blank) lines.push_back(Parse(FLineEnd));
  lines.push_back(std::move(header));
  lines.push_back(std::move(entry));
  InsertLines(FLines.size(), std::move(lines));
}

void TIniFile::InsertLines(std::size_t at, std::vector<TLine> lines) {
  FLines.reserve(FLines.size() + lines.size());
  if (at > 0 && FLines[at - 1].text.back() != '\n') {
    std::string text = FLines[at - 1].text;
    text += text.back() == '\r' ? "\n" : FLineEnd;
    FLines[at - 1] = Parse(std::move(text));
  }
  FLines.insert(FLines.begin() + static_cast<std::ptrdiff_t>(at),
                std::make_move_iterator(lines.begin()), std::make_move_iterator(lines.end()));
  FModified = true;
}

void TIniFile::KeepLines(std::vector<TLine> lines) {
  if (lines.size() == FLines.size()) return;
  FLines = std::move(lines);
  FModified = true;
}

void TIniFile::DeleteKey(std::string_view section, std::string_view key) {
  std::vector<TLine> kept;
  bool inside = false;
  for (const TLine& line : FLines) {
    if (line.kind == TKind::section) inside = SameText(line.name, section);
    if (!inside || line.kind != TKind::entry || !SameText(line.name, key)) kept.push_back(line);
  }
  KeepLines(std::move(kept));
}

void TIniFile::EraseSection(std::string_view section) {
  std::vector<TLine> kept;
  std::size_t i = 0;
  while (i < FLines.size()) {
    const TLine& line = FLines[i];
    if (line.kind != TKind::section || !SameText(line.name, section)) {
      kept.push_back(line);
      ++i;
      continue;
    }
    // Up to the last key, and the blank lines below it.
    const std::size_t end = EndOfSection(i);
    std::size_t next = i + 1;
    for (std::size_t j = next; j < end; ++j) {
      if (FLines[j].kind == TKind::entry) next = j + 1;
    }
    while (next < end && FLines[next].kind == TKind::blank) ++next;
    i = next;
  }
  KeepLines(std::move(kept));
}

std::string TIniFile::Contents() const {
  std::string contents = FMark;
  for (const TLine& line : FLines) contents += line.text;
  return contents;
}

void TIniFile::UpdateFile() {
  if (!FModified) return;
  if (FBareName) MakePrivateDirectory(std::filesystem::path(FPath).parent_path().string());
  ReplaceFile(FPath, Contents());
  FModified = false;
}

std::string TIniFile::UserDirectory() {
  if (!SetDirectory().empty()) return SetDirectory();
  const char* const settings = std::getenv("XDG_CONFIG_HOME");
  if (settings != nullptr && settings[0] == '/') return std::string(settings) + "/perlayer";
  const char* const home = std::getenv("HOME");
  if (home != nullptr && home[0] == '/') return std::string(home) + "/.config/perlayer";
  throw EStreamError(
      "Cannot find the user's directory of settings: neither XDG_CONFIG_HOME nor HOME names one");
}

void TIniFile::UserDirectory(std::string path) { SetDirectory() = std::move(path); }

}  // namespace perlayer
