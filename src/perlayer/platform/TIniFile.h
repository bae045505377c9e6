#pragma once
// TIniFile: texts by section and key, kept in a file that people may edit.
//
//   TIniFile ini("QORDATA.INI");              // reads the file
//   ini.WriteString("Form:0", "Name", "Moj pogled");
//   ini.UpdateFile();                         // replaces it; without this, nothing has happened
//
// A line is one of
//   [section]          begins a section; a comment may follow
//   key=value          blanks around the key do not count; the value is every byte behind the first
//                      "=", blanks and quotes included, so that what was written is what is read
//   ; or # and text    a comment
//   anything else      which is kept, and that is all
// and ends with LF or CR LF; marks of UTF-8 in front of it do not count. Whatever no operation
// touches stays in its place, byte for byte.
//
// Sections and keys are equal in any case. A section that stands in several places is one section;
// of a key that stands there several times, the first counts.
//
// Main thread only. Two that write the same file: the last one to write wins.

#include <string>
#include <string_view>
#include <vector>

namespace perlayer {

class TIniFile {
 public:
  // Reads the file; one that does not exist is empty. A name without "/" lies in UserDirectory().
  // Raises EStreamError when it cannot be read.
  explicit TIniFile(const std::string& name);
  // The same on a text that the caller has; no file is read.
  TIniFile(const std::string& name, std::string_view contents);
  const std::string& FileName() const { return FPath; }
  // What UpdateFile writes: the text that was read, with the changes made since.
  std::string Contents() const;

  // `otherwise` when there is no such section or key.
  std::string ReadString(std::string_view section, std::string_view key,
                         std::string_view otherwise) const;
  bool SectionExists(std::string_view section) const;
  bool ValueExists(std::string_view section, std::string_view key) const;
  // In the order of the file, each once.
  std::vector<std::string> ReadSections() const;
  std::vector<std::string> ReadSection(std::string_view section) const;  // its keys

  // Changes the value in its place, or adds the key behind the last one of the section, or a
  // section at the end of the file. Raises EConvertError, and nothing has changed, for what would
  // not read back the same: a line break in any of the three, a section or key with blanks around
  // it, a key that is empty, holds "=" or begins as a comment or a section does.
  void WriteString(std::string_view section, std::string_view key, std::string_view value);
  // Absent: nothing happens. A section goes with everything up to its last key; comments below that
  // stay, for they tend to belong to what follows.
  void DeleteKey(std::string_view section, std::string_view key);
  void EraseSection(std::string_view section);

  bool Modified() const { return FModified; }
  // Replaces the file whole when something has changed since the last time. Raises EStreamError
  // when that fails; the old file stands then, and another call tries again. The directory of bare
  // names is made when it is missing, for its owner alone (mode 0700).
  void UpdateFile();

  // Where files with a bare name lie: "perlayer" in the user's directory of settings
  // (XDG_CONFIG_HOME, else .config in HOME) until it is set. Raises EStreamError when neither is
  // known. Set it before the first file is opened; it lasts as long as the layer.
  static std::string UserDirectory();
  static void UserDirectory(std::string path);

 private:
  enum class TKind { section, entry, blank, other };
  struct TLine {
    TKind kind = TKind::other;
    std::string text;  // with its end
    std::string name;  // of the section or the key
    std::size_t valueAt = 0;
    std::size_t valueEnd = 0;
  };

  static TLine Parse(std::string text);
  std::size_t EndOfSection(std::size_t header) const;
  // The index of the line, or the number of lines.
  std::size_t FindSection(std::string_view section) const;
  std::size_t FindEntry(std::string_view section, std::string_view key) const;
  void InsertLines(std::size_t at, std::vector<TLine> lines);
  void KeepLines(std::vector<TLine> lines);

  const std::string FPath;
  const bool FBareName;
  std::string FMark;            // of UTF-8, at the beginning of the file
  std::string FLineEnd = "\n";  // of new lines: that of the first line of the file
  std::vector<TLine> FLines;
  bool FModified = false;
};

}  // namespace perlayer
