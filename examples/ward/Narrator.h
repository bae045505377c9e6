#pragma once
// Tells the tour on the standard output: numbered scenes, in them what is asked and what the layer
// answers.

#include <concepts>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "perlayer/object/TplPerObject.h"
#include "perlayer/platform/Exception.h"
#include "perlayer/platform/Text.h"
#include "perlayer/provider/TplProvider.h"

namespace ward {

using namespace perlayer;

class TNarrator {
 public:
  static constexpr std::size_t kTableWidth = 104;

  void Title(std::string_view title);
  void Act(std::string_view title);
  void Scene(std::string_view title);
  void Say(std::string_view text);     // explains
  void Ask(std::string_view line);     // "  > line"
  void Answer(std::string_view text);  // below it, line by line
  void Answer(const char* text) { Answer(std::string_view(text)); }
  void Answer(TIObjectExistsInDatabaseResult result);
  void Answer(TIPersistentObjectState state);
  void Answer(const std::vector<std::string>& table);
  template <std::integral T>
  void Answer(T value) {
    Answer(std::is_same_v<T, bool> ? (value ? "true" : "false") : IntToStr(value));
  }
  // A message of the layer, with its English below each line that is Slovene.
  void Message(std::string_view text);
  // Runs what is to be refused and tells the refusal.
  template <class F>
  void Refused(F&& ask) {
    try {
      ask();
      Answer("(it was not refused)");
    } catch (const Exception& e) {
      Message(e.Message());
    }
  }

 private:
  int FScene = 0;
};

// Shows a piece of C++ as asked, then runs it, so that what is shown is what runs.
#define WARD_ASK(narrator, ...) \
  (narrator).Ask(#__VA_ARGS__); \
  __VA_ARGS__
// The same for an expression whose value is the answer.
#define WARD_ANSWER(narrator, ...) \
  (narrator).Ask(#__VA_ARGS__);    \
  (narrator).Answer(__VA_ARGS__)

}  // namespace ward
