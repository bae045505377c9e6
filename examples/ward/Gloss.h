#pragma once
// What the Slovene messages of the layer and of the ward mean in English.

#include <string>
#include <string_view>
#include <vector>

namespace ward {

// Of a line of a message; empty when there is nothing to say about it.
std::string EnglishOf(std::string_view line);

// The lines of a message that are not empty, each with its English below it: "  = ...".
std::vector<std::string> WithEnglish(std::string_view message);

}  // namespace ward
