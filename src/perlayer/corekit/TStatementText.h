#pragma once
// TStatementText: an SQL text and the parameters found in it, parsed once and shared by every query
// that has this text. Its address identifies it while it is held; drivers key prepared statements
// by its text and hash.
//
// Parameters are ":name" or ":1" outside quotes and comments; one per distinct name (any case), in
// order of first appearance. "::" and ":=" are no parameters.
//
// Immutable after parsing. Of() belongs to the main thread.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace perlayer {

class TStatementText;
using TStatementTextPtr = std::shared_ptr<const TStatementText>;

class TStatementText {
 public:
  // The shared parse of `text`; the most recently used few hundred are kept.
  static TStatementTextPtr Of(std::string_view text);

  explicit TStatementText(std::string_view text);  // parses; for tests and other threads

  const std::string& Text() const { return FText; }
  std::size_t Hash() const { return FHash; }
  const std::vector<std::string>& Parameters() const { return FParameters; }
  // Index in Parameters() of that name (any case), or -1.
  int IndexOfParameter(std::string_view name) const;

  // Some line's first characters behind blanks are "--".
  bool HasCommentLine() const { return FHasCommentLine; }

  // One place where a parameter stands in Text(): the colon's offset, the length with the colon,
  // and which parameter it is.
  struct TPlace {
    std::uint32_t offset;
    std::uint32_t length;
    std::uint32_t parameter;
  };
  const std::vector<TPlace>& Places() const { return FPlaces; }

 private:
  std::string FText;
  std::size_t FHash;
  std::vector<std::string> FParameters;
  std::vector<TPlace> FPlaces;
  bool FHasCommentLine = false;
};

}  // namespace perlayer
