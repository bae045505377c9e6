#pragma once
// The attributes of an object, for people to read.

#include <string>
#include <vector>

namespace perlayer {
class TplPerObject;
}

namespace ward {

// A line for each attribute, calculated ones behind the others: name, label, type, text, and the
// typed value of those that are no texts.
std::vector<std::string> AttributeTable(perlayer::TplPerObject* object);

}  // namespace ward
