#include "perlayer/database/SQLText.h"

#include <string>
#include <vector>

#include "perlayer/corekit/TIQuery.h"
#include "perlayer/corekit/TIUpdateSQL.h"
#include "perlayer/platform/Exception.h"
#include "perlayer/platform/Text.h"

namespace perlayer {

namespace {

constexpr std::string_view kNoKeyword = "SetWhereClause: No where or start clouse in query";

bool LineBegins(std::string_view line, std::string_view keyword) {
  return AsciiUpperCase(line.substr(0, keyword.size())) == keyword;
}

int FindKeywordLine(TIQuery* query, std::string_view keyword, std::string_view other = {}) {
  const TStringList* lines = query->SQL();
  for (int i = 0; i < lines->Count(); ++i) {
    if (LineBegins(lines->Strings(i), keyword)) return i;
    if (!other.empty() && LineBegins(lines->Strings(i), other)) return i;
  }
  return -1;
}

// The text becomes the line behind `keywordLine`.
void WriteLineBehind(TIQuery* query, int keywordLine, std::string_view text) {
  TStringList* lines = query->SQL();
  if (keywordLine + 1 < lines->Count()) {
    lines->Strings(keywordLine + 1, text);
  } else {
    lines->Add(text);
  }
}

struct TBoundCondition {
  std::string text;
  std::vector<std::string> values;
};

// Any "=" counts, that of "<=" and of a literal not behind an "=" included: callers rely on it.
TBoundCondition BindLiterals(std::string_view condition) {
  TBoundCondition result;
  bool likePassed = false;
  const auto bind = [&](std::string value) {
    result.values.push_back(std::move(value));
    result.text += ":" + std::to_string(result.values.size());
  };
  for (std::size_t i = 0; i < condition.size();) {
    const char c = condition[i];
    if ((c == 'L' || c == 'l') && AsciiUpperCase(condition.substr(i, 4)) == "LIKE") {
      likePassed = true;
    }
    result.text += c;
    ++i;
    if (likePassed || c != '=') continue;
    while (i < condition.size() && condition[i] == ' ') ++i;
    if (i == condition.size()) break;
    if (condition[i] == '\'') {
      std::string value;
      for (++i;; ++i) {
        if (i >= condition.size()) {
          throw Exception("[sInternalFetchSpec] Missign right quote");
        }
        if (condition[i] == '\'') {
          if (condition.substr(i + 1, 1) != "'") break;
          value += condition[i++];  // a doubled quote stays doubled in the value
        }
        value += condition[i];
      }
      ++i;
      bind(std::move(value));
    } else if (condition[i] >= '0' && condition[i] <= '9') {
      std::string value;
      while (i < condition.size() && condition[i] >= '0' && condition[i] <= '9') {
        value += condition[i++];
      }
      bind(std::move(value));
    }
  }
  return result;
}

// Splits a whole statement at its keyword, gives it to the query and answers the condition.
std::string TakeWholeStatement(TIQuery* query, std::string_view text) {
  const std::string upper = AsciiUpperCase(text);
  std::string_view keyword = "WHERE";
  std::size_t position = upper.find(keyword);
  if (position == std::string::npos) {
    keyword = "START";
    position = upper.find(keyword);
  }
  if (position == std::string::npos) throw Exception(std::string(kNoKeyword));
  const std::size_t behind = position + keyword.size();
  std::string condition(text.substr(behind));
  // The condition comes behind the keyword as one line, however many it has: were they left here,
  // all but the first would stay when that one is written.
  query->SQLText(std::string(text.substr(0, position)) + "\r\n" +
                 std::string(text.substr(position, keyword.size())));
  return condition;
}

}  // namespace

void SetWhereClause(TIQuery* query, std::string_view text, bool bind) {
  // A copy: the text may be a line of this query.
  const std::string condition(LineBegins(text, "SELECT") ? TakeWholeStatement(query, text)
                                                         : std::string(text));
  const int keywordLine = FindKeywordLine(query, "WHERE", "START");
  if (keywordLine < 0) throw Exception(std::string(kNoKeyword));
  if (!bind) {
    WriteLineBehind(query, keywordLine, condition);
    return;
  }
  const TBoundCondition bound = BindLiterals(condition);
  try {
    WriteLineBehind(query, keywordLine, bound.text);
    for (std::size_t i = 0; i < bound.values.size(); ++i) {
      query->Params(static_cast<int>(i)).AsString(bound.values[i]);
    }
  } catch (const std::exception&) {
    // The values do not fit the parameters: the condition goes in as it stands, unbound.
    WriteLineBehind(query, keywordLine, condition);
  }
}

void SetOrderClause(TIQuery* query, std::string_view text) {
  if (Empty(text)) return;
  int keywordLine = FindKeywordLine(query, "ORDER");
  if (keywordLine < 0) keywordLine = query->SQL()->Add("ORDER BY");
  WriteLineBehind(query, keywordLine, text);
}

void CopyQuery(TIQuery* target, const TIQuery* source) {
  target->Close();
  target->AssignSQL(*source);
  TIUpdateSQL* update = nullptr;
  if (source->UpdateObject() != nullptr) {
    update = New<TIUpdateSQL>(target);
    update->Assign(*source->UpdateObject());
  }
  if (TIUpdateSQL* old = target->UpdateObject(); old != nullptr && old->Owner() == target) {
    old->Free();
  }
  target->UpdateObject(update);
  // A copy is made to be opened and read to its end, and its rows may be written.
  target->SetQueryAllRecords(true);
  target->RequestLive(true);
}

}  // namespace perlayer
