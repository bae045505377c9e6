#pragma once
// The attributes of an object, for people to read.

#include <string>
#include <vector>

namespace perlayer {
class TplPerObject;
}

namespace ward {

// A line for each attribute, calculated ones behind the others: name, label, type, the typed value
// of those that are no texts, and the text. Texts are cut to make lines of at most `width`, unless
// it is 0.
std::vector<std::string> AttributeTable(perlayer::TplPerObject* object, std::size_t width = 0);

}  // namespace ward
