#pragma once
// TFilterCode: a compiled filter. Steps run one after the other over a stack of values; every one
// of them is taken, whatever the result so far. What is wrong with a text is a step, too: it raises
// when it is reached, after everything before it has been evaluated, and it is the last one.

#include <cstdint>
#include <deque>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "perlayer/list/TBoundAttribute.h"
#include "perlayer/list/TLikePattern.h"

namespace perlayer {

class TplPerObject;

enum class TFilterOp : std::uint8_t {
  // Push a value.
  constant,
  attribute,  // its value, or Null without an object
  // Push whether the step's comparison holds.
  compare,           // between the two values that are taken
  compareConstant,   // between the value that is taken and the constant
  compareAttribute,  // between the attribute and the constant
  // Take two values and push what they give.
  like,
  logicalOr,
  add,
  logicalAnd,
  // Take one.
  likeConstant,  // patterns[operand]
  logicalNot,
  toDate,
  drop,       // pushes nothing
  toBoolean,  // the answer of the filter
  // Takes none.
  raise  // messages[operand]
};

// How two values stand to each other; a comparison is all the ways in which it holds.
enum TComparison : std::uint8_t {
  kLess = 1,
  kEqual = 2,
  kGreater = 4,
  kUnordered = 8,  // to what is no number
};

struct TFilterCode : std::enable_shared_from_this<TFilterCode> {
  struct TStep {
    TFilterOp op;
    std::uint8_t comparison = 0;  // of TComparison
    std::uint32_t operand = 0;
    TBoundAttribute* attribute = nullptr;
    const TValueView* constant = nullptr;
  };
  struct TConstant {
    TValueView value;  // whose text is the one here
    std::string text;
  };

  TFilterCode() = default;
  TFilterCode(TFilterCode&&) = default;  // steps point into what is moved along
  TFilterCode(const TFilterCode&) = delete;

  // Whether the filter accepts the object, which may be nil. Raises what evaluation raises.
  // Before anybody is called, who may change the list and the object, `kept` takes a share in this
  // code; until then it stays because its list does.
  bool Run(TplPerObject* object, std::shared_ptr<TFilterCode>& kept);

  std::string text;
  std::vector<TStep> steps;
  std::deque<TConstant> constants;
  std::deque<TBoundAttribute> attributes;
  std::vector<TLikePattern> patterns;
  std::vector<std::string> messages;
  std::size_t depth = 0;  // the most values on the stack
};

// Never refuses a text.
TFilterCode CompileFilter(std::string_view text);

}  // namespace perlayer
