#include "Narrator.h"

#include <iostream>

#include "Gloss.h"
#include "Lines.h"

namespace ward {

namespace {

constexpr std::size_t kWidth = 100;

// Of a line that is too long, the rest stands further in.
void Print(std::string_view text, const std::string& begin) {
  const std::string indent(begin.size(), ' ');
  const std::string hanging = indent + "    ";
  bool first = true;
  for (const std::string& line : Lines(text)) {
    if (line.empty()) std::cout << '\n';
    const std::string* before = first ? &begin : &indent;
    for (const std::string& piece : WrapLine(line, kWidth - hanging.size())) {
      if (!piece.empty()) std::cout << *before << piece << '\n';
      before = begin.empty() ? &begin : &hanging;
    }
    first = false;
  }
}

}  // namespace

void TNarrator::Title(std::string_view title) {
  std::cout << title << '\n' << std::string(Utf8Length(title), '=') << '\n';
}

void TNarrator::Act(std::string_view title) {
  const std::string rule(Utf8Length(title), '=');
  std::cout << '\n' << rule << '\n' << title << '\n' << rule << '\n';
}

void TNarrator::Scene(std::string_view title) {
  const std::string line = std::to_string(++FScene) + ". " + std::string(title);
  std::cout << '\n' << line << '\n' << std::string(Utf8Length(line), '-') << '\n';
}

void TNarrator::Say(std::string_view text) { Print(text, ""); }

void TNarrator::Ask(std::string_view line) {
  // Without what the layout of the source has put in.
  const std::string text = StringReplaceAll(line, "( ", "(");
  Print(text.ends_with(';') ? std::string_view(text).substr(0, text.size() - 1) : text, "  > ");
}

void TNarrator::Answer(std::string_view text) { Print(text.empty() ? "(empty)" : text, "      "); }

void TNarrator::Answer(TIObjectExistsInDatabaseResult result) {
  switch (result) {
    case TIObjectExistsInDatabaseResult::edNotExists:
      return Answer("edNotExists");
    case TIObjectExistsInDatabaseResult::edExists:
      return Answer("edExists");
    case TIObjectExistsInDatabaseResult::edDeleted:
      return Answer("edDeleted");
  }
}

void TNarrator::Answer(TIPersistentObjectState state) {
  static constexpr const char* kNames[] = {"posBrowse", "posEdit", "posCreating", "posCreated",
                                           "posInsert"};
  Answer(kNames[static_cast<std::size_t>(state)]);
}

// Its lines are laid out already; only what is too long is laid out again.
void TNarrator::Answer(const std::vector<std::string>& table) {
  static constexpr std::string_view kIndent = "      ";
  for (const std::string& line : table) {
    if (DisplayWidth(line) > kTableWidth) {
      Answer(line);
    } else {
      std::cout << (line.empty() ? "" : kIndent) << line << '\n';
    }
  }
}

void TNarrator::Message(std::string_view text) {
  for (const std::string& line : Lines(text)) {
    if (Empty(line)) continue;
    Answer(line);
    const std::string english = EnglishOf(line);
    if (!english.empty()) Print(english, "    = ");
  }
}

}  // namespace ward
