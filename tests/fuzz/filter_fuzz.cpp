// A filter without an object ends in an answer or in a message that quotes it, and the same again
// the second time, when it is compiled already. What is not nested too deeply for the naive
// evaluator has that one's answer.

#include "fuzz/Fuzz.h"
#include "perlayer/list/TListFilter.h"
#include "support/NaiveFilter.h"

namespace perlayer {
namespace {

template <class TFilter>
std::string Answer(TFilter& filter, const std::string& text) {
  try {
    return filter.Evaluate(nullptr, text) ? "true" : "false";
  } catch (const Exception& e) {
    return e.Message();
  }
}

}  // namespace

bool Takes(std::string_view input) {
  const std::string text(input);
  TListFilter filter;
  const std::string answer = Answer(filter, text);
  const bool accepted = answer == "true" || answer == "false";
  Require(accepted || answer.starts_with("Napačen filter: " + text + "! (podrobnosti: "),
          "a message quotes the filter", answer);
  Require(Answer(filter, text) == answer, "a compiled filter answers alike", answer);
  TNaiveFilter naive;
  const std::string expected = Answer(naive, text);
  Require(answer == expected, "filters answer like the naive evaluator", expected);
  return accepted;
}

}  // namespace perlayer
