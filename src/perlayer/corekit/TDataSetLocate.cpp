// Looking for rows by the values of fields. Rows are read into the spare buffer, so that the ring
// stays as it is until one is found.

#include "perlayer/corekit/TDataSet.h"
#include "perlayer/corekit/TField.h"
#include "perlayer/platform/Exception.h"
#include "perlayer/platform/Format.h"
#include "perlayer/platform/Text.h"
#include "perlayer/platform/Variant.h"

namespace perlayer {

namespace {

// One value for each key field.
std::vector<Variant> KeyList(const Variant& values, std::size_t fields) {
  std::vector<Variant> list;
  if (!values.IsArray()) {
    list.push_back(values);
  } else if (VarArrayDimCount(values) == 1) {
    for (int i = VarArrayLowBound(values, 1); i <= VarArrayHighBound(values, 1); ++i) {
      list.push_back(values[i]);
    }
  }
  if (list.size() != fields) {
    throw EListError(Format("Locate: there are %d key fields and %d values", fields, list.size()));
  }
  return list;
}

bool TextMatches(const std::string& text, const std::string& key, TLocateOptions options) {
  const bool anyCase = options.has(TLocateOption::loCaseInsensitive);
  if (options.has(TLocateOption::loPartialKey)) {
    return anyCase ? StartsText(key, text) : text.starts_with(key);
  }
  return anyCase ? SameText(text, key) : text == key;
}

bool Matches(const TField& field, const Variant& key, TLocateOptions options) {
  try {
    if (key.IsNull() || key.IsUnassigned()) return field.IsNull();
    const bool isText = field.DataType() == TFieldType::ftString || field.IsBlob();
    if (field.IsNull()) return isText && key.AsText().empty();  // an empty text is null
    if (isText || options.has(TLocateOption::loPartialKey)) {
      return TextMatches(field.AsString(), key.AsText(), options);
    }
    return field.AsVariant() == key;
  } catch (const EConvertError&) {
    return false;
  }
}

}  // namespace

std::vector<TField*> TDataSet::FieldList(std::string_view names) const {
  std::vector<TField*> fields;
  for (const std::string& name : SplitText(names, ";")) {
    fields.push_back(FieldByName(Trim(name)));
  }
  return fields;
}

// Runs `found` with the cursor and the fields on the first row that matches; then true.
template <class TFound>
bool TDataSet::Scan(std::string_view keyFields, const Variant& keyValues, TLocateOptions options,
                    TFound found) {
  const std::vector<TField*> fields = FieldList(keyFields);
  const std::vector<Variant> keys = KeyList(keyValues, fields.size());
  const TRecordBuffer row = FRing.Spare();
  const TRecordBuffer outer = std::exchange(FFilterBuffer, row);
  const auto matches = [&] {
    for (std::size_t i = 0; i < fields.size(); ++i) {
      if (!Matches(*fields[i], keys[i], options)) return false;
    }
    return true;
  };
  CursorPosChanged();
  return TryFinally(
      [&] {
        InternalFirst();
        while (GetRecord(row, TGetMode::gmNext, true) == TGetResult::grOK) {
          const TDataSetState state = SetTempState(TDataSetState::dsFilter);
          const bool match = TryFinally(
              [&] {
                if (!matches()) return false;
                found();
                return true;
              },
              [&] { RestoreState(state); });
          if (match) return true;
        }
        return false;
      },
      [&] { FFilterBuffer = outer; });
}

bool TDataSet::Locate(std::string_view keyFields, const Variant& keyValues,
                      TLocateOptions options) {
  if (!EnterBrowse()) return false;
  NeedBuffers();
  if (!BeforeScrolling()) return false;
  const TAlive alive(this);
  bool found = false;
  TryFinally([&] { found = Scan(keyFields, keyValues, options, [] {}); },
             [&] {
               if (!found) UpdateCursorPos();
             });
  if (!found) return false;
  Resync({TResyncOption::rmExact, TResyncOption::rmCenter});
  if (alive && Active()) DoAfterScroll();
  return true;
}

Variant TDataSet::Lookup(std::string_view keyFields, const Variant& keyValues,
                         std::string_view resultFields) {
  Variant result = Variant::Null();
  if (!EnterBrowse()) return result;
  NeedBuffers();
  const std::vector<TField*> fields = FieldList(resultFields);
  TryFinally(
      [&] {
        Scan(keyFields, keyValues, {}, [&] {
          std::vector<Variant> values;
          for (const TField* field : fields) values.push_back(field->AsVariant());
          result = values.size() == 1 ? std::move(values[0]) : VarArrayOf(std::move(values));
        });
      },
      [&] { UpdateCursorPos(); });
  return result;
}

}  // namespace perlayer
