#pragma once
// Class maps as text: one file NAME.classmap for each map, described in docs/classmaps.md.
// All functions are pure and safe on every thread.

#include <string>
#include <string_view>
#include <vector>

#include "perlayer/provider/TClassMapDefinition.h"

namespace perlayer {

// The definition that `text` says. `fileName` gives the map its name and the errors their place.
// Raises EClassMapError for the first thing that is not right.
TClassMapDefinition ParseClassMap(std::string_view text, std::string_view fileName);

// Reads and parses a file. Raises EClassMapError when it is not called NAME.classmap, cannot be
// read or does not parse.
TClassMapDefinition ReadClassMapFile(const std::string& path);

// What a file that may be faulty says, for checks: reading goes on behind a fault.
struct TClassMapReading {
  TClassMapDefinition definition;
  std::vector<TClassMapFault> faults;  // ClassMapFaults among them
  // Queries and updates that are left out of the definition, since a fault cut them short. A faulty
  // field is no such fault: it stays, with what could be read of it.
  std::vector<std::string> unread;
};
// Raises EClassMapError when the file is not called NAME.classmap or cannot be read.
TClassMapReading ReadWholeClassMapFile(const std::string& path);

// The text of a definition: ParseClassMap gives an equal one back. Raises EClassMapError for a
// definition that CheckClassMap refuses.
std::string WriteClassMap(const TClassMapDefinition& definition);

}  // namespace perlayer
