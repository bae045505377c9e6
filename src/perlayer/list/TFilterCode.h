#pragma once
// TFilterCode: a compiled filter. Steps run one after the other over a stack of values; every one
// of them is taken, whatever the result so far. What is wrong with a text is a step, too: it raises
// when it is reached, after everything before it has been evaluated, and it is the last one.

#include <cstdint>
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
  constant,   // constants[operand]
  attribute,  // the value of attributes[operand], or Null without an object
  // Take two values and push what they give. The second of a comparison is constants[operand - 1]
  // instead, unless the operand is 0.
  equal,
  notEqual,
  less,
  lessEqual,
  greater,
  greaterEqual,
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

struct TFilterCode : std::enable_shared_from_this<TFilterCode> {
  struct TStep {
    TFilterOp op;
    std::uint32_t operand;
  };
  struct TConstant {
    TValueView value;  // whose text is the one here
    std::string text;
  };

  // Whether the filter accepts the object, which may be nil. Raises what evaluation raises.
  // Before anybody is called, who may change the list and the object, `kept` takes a share in this
  // code; until then it stays because its list does.
  bool Run(TplPerObject* object, std::shared_ptr<TFilterCode>& kept);

  std::string text;
  std::vector<TStep> steps;
  std::vector<TConstant> constants;
  std::vector<TBoundAttribute> attributes;
  std::vector<TLikePattern> patterns;
  std::vector<std::string> messages;
  std::size_t depth = 0;  // the most values on the stack
};

// Never refuses a text.
TFilterCode CompileFilter(std::string_view text);

}  // namespace perlayer
