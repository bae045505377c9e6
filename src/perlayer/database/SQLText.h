#pragma once
// Editing a query by lines. A clause keyword opens a line of its own and its text stands on the
// line after it; these functions find the keyword line and write the line behind it. Main thread
// only.

#include <string_view>

namespace perlayer {

class TIQuery;

// Puts a condition into the query, or, when `text` begins with SELECT, the whole statement. With
// `bind`, literals on the right of "=" become parameters :1, :2 ... that carry their text; nothing
// is bound behind the letters LIKE. Raises Exception when the query has no WHERE (or START) line,
// or a literal has no closing quote.
void SetWhereClause(TIQuery* query, std::string_view text, bool bind);

// Puts the order behind the ORDER line, which is added when there is none. A blank text changes
// nothing.
void SetOrderClause(TIQuery* query, std::string_view text);

// Closes the target and gives it the source's SQL, database name and, in a copy that it owns,
// update SQL. Fields are not copied.
void CopyQuery(TIQuery* target, const TIQuery* source);
inline void CopyQueryWithFields(TIQuery* target, const TIQuery* source) {
  CopyQuery(target, source);
}

}  // namespace perlayer
