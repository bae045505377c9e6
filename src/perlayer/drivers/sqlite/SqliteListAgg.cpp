// listagg(text, separator, order, key, ...): the texts of a group that are not NULL, in the order
// of the keys. `order` is a sum: 1 for descending, 2 for NULL in front.

#include <algorithm>
#include <exception>
#include <memory>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include "perlayer/drivers/sqlite/SqliteErrors.h"
#include "perlayer/drivers/sqlite/TSqliteCall.h"

namespace perlayer {

namespace {

constexpr int kDescending = 1;
constexpr int kNullsFirst = 2;

struct TKey {
  int order = 0;
  int type = SQLITE_NULL;
  double number = 0;
  std::string text;
};

struct TItem {
  std::string text;
  std::vector<TKey> keys;
};

struct TGroup {
  std::string separator;
  std::vector<TItem> items;
};

bool Before(const TItem& a, const TItem& b) {
  for (std::size_t i = 0; i < a.keys.size(); ++i) {
    const bool descending = (a.keys[i].order & kDescending) != 0;
    const TKey& x = descending ? b.keys[i] : a.keys[i];
    const TKey& y = descending ? a.keys[i] : b.keys[i];
    const bool aIsNull = a.keys[i].type == SQLITE_NULL;
    if (aIsNull != (b.keys[i].type == SQLITE_NULL)) {
      return aIsNull == ((a.keys[i].order & kNullsFirst) != 0);
    }
    if (x.text != y.text) return x.text < y.text;
    if (x.number != y.number) return x.number < y.number;
  }
  return false;
}

TGroup** GroupOf(sqlite3_context* context, int size) {
  return static_cast<TGroup**>(sqlite3_aggregate_context(context, size));
}

void Step(sqlite3_context* context, int count, sqlite3_value** values) noexcept {
  if (count < 1 || sqlite3_value_type(values[0]) == SQLITE_NULL) return;
  TGroup** const group = GroupOf(context, sizeof(TGroup*));
  try {
    if (group == nullptr) throw std::bad_alloc();
    if (*group == nullptr) *group = new TGroup;
    TSqliteCall call(context, count, values);
    TItem item;
    call.AppendText(0, item.text);
    if (count > 1 && (*group)->items.empty()) call.AppendText(1, (*group)->separator);
    for (int i = 2; i + 1 < count; i += 2) {
      TKey& key = item.keys.emplace_back();
      key.order = sqlite3_value_int(values[i]);
      key.type = sqlite3_value_type(values[i + 1]);
      if (call.IsNumber(i + 1)) {
        key.number = call.Number(i + 1);
      } else {
        call.AppendText(i + 1, key.text);
      }
    }
    (*group)->items.push_back(std::move(item));
  } catch (const std::exception&) {  // nothing but memory can be missing
    sqlite3_result_error_nomem(context);
  }
}

void Finish(sqlite3_context* context) noexcept {
  TGroup** const place = GroupOf(context, 0);
  if (place == nullptr) return;
  const std::unique_ptr<TGroup> group(std::exchange(*place, nullptr));
  if (group == nullptr) return;
  try {
    TSqliteCall call(context, 0, nullptr);
    std::stable_sort(group->items.begin(), group->items.end(), Before);
    std::string text;
    for (const TItem& item : group->items) {
      if (&item != &group->items.front()) text += group->separator;
      text += item.text;
    }
    call.Answer(text);
  } catch (const std::exception&) {
    sqlite3_result_error_nomem(context);
  }
}

}  // namespace

void RegisterSqliteListAgg(sqlite3* database) {
  const int code = sqlite3_create_function_v2(database, "listagg", -1,
                                              SQLITE_UTF8 | SQLITE_DETERMINISTIC | SQLITE_INNOCUOUS,
                                              nullptr, nullptr, Step, Finish, nullptr);
  if (code != SQLITE_OK) throw SqliteError(database, code, "");
}

}  // namespace perlayer
