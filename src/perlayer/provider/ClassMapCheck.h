#pragma once
// Checks class maps against what the layer relies on (docs/classmaps.md): the layer changes
// statements by lines and by the places of letters, so a map can be loaded and still give wrong
// statements. The program perlayer-check-maps is made of this.

#include <string>
#include <vector>

namespace perlayer {

class TDriverSession;

struct TClassMapFinding {
  // A fault breaks a rule; a remark tells what is good to know.
  enum class TKind { fault, remark };
  std::string file;
  int line = 0;  // of the file, from 1; 0: the file as a whole
  TKind kind = TKind::fault;
  std::string text;
};

// "FILE:LINE: fault: TEXT" or "FILE:LINE: remark: TEXT", without the line when that is 0.
std::string ClassMapFindingLine(const TClassMapFinding& finding);

// Everything there is to say of one file, in the order of its lines. A file that cannot be read, or
// parsed, gives findings too; reading goes on behind an error. With a session, also which tables
// and columns do not exist there and which statements it refuses; nothing is run or written. Raises
// nothing of its own. The session's thread; without one, any thread.
std::vector<TClassMapFinding> CheckClassMapFile(const std::string& path,
                                                TDriverSession* session = nullptr);

}  // namespace perlayer
