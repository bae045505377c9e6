#include "perlayer/corekit/TOracleQuery.h"

#include <utility>

#include "perlayer/corekit/TIDatabase.h"
#include "perlayer/platform/Format.h"
#include "perlayer/platform/Text.h"

namespace perlayer {

void TOracleQuery::Destroy() {
  Close();
  TComponent::Destroy();
}

void TOracleQuery::Raise(const std::string& message) const {
  throw EDatabaseError(TDatabaseErrorKind::other, 0, message, FSQL);
}

TIDatabase* TOracleQuery::Session() const { return FSession.GetAs<TIDatabase>(); }

void TOracleQuery::SetSession(TIDatabase* session) {
  Close();
  FSession = session;
}

void TOracleQuery::SQLText(std::string_view text) {
  Close();
  FSQL = text;
}

// A statement goes with its session: then there is nobody to give it back to.
void TOracleQuery::Close() noexcept {
  FFields.clear();
  FOnRow = false;
  TDriverStatement* const statement = std::exchange(FStatement, nullptr);
  TIDatabase* const session = Session();
  if (statement != nullptr && session != nullptr) session->Session().GiveBack(statement);
}

TOracleQuery::TVariable* TOracleQuery::Find(std::string_view name) {
  for (TVariable& variable : FVariables) {
    if (SameText(variable.name, name)) return &variable;
  }
  return nullptr;
}

TOracleQuery::TVariable& TOracleQuery::Declared(std::string_view name) {
  TVariable* const variable = Find(name);
  if (variable == nullptr) Raise(Format("Variable '%s' is not declared", name));
  return *variable;
}

void TOracleQuery::DeclareVariable(std::string_view name, int type) {
  TVariable declared{std::string(name), type, {}, nullptr};
  if (TVariable* const variable = Find(name)) {
    *variable = std::move(declared);
  } else {
    FVariables.push_back(std::move(declared));
  }
}

void TOracleQuery::SetVariable(std::string_view name, const Variant& value) {
  Declared(name).value = value;
}

void TOracleQuery::SetComplexVariable(std::string_view name, TLOBLocator* locator) {
  TVariable& variable = Declared(name);
  if (locator != nullptr && locator->LOBType() != variable.type) {
    Raise(Format("Variable '%s' is declared as another kind of large object", name));
  }
  variable.locator = locator;
}

void TOracleQuery::Execute() {
  Close();
  TIDatabase* const session = Session();
  if (session == nullptr) Raise("The query has no session");
  FText = TStatementText::Of(FSQL);
  FStatement = session->Session().TakeForLargeObjects(FText);
  try {
    Bind();
    FOnRow = FStatement->Step();
    if (FOnRow) return;
    TakeReturned();
  } catch (...) {
    Close();
    throw;
  }
  Close();
}

void TOracleQuery::Bind() {
  const std::vector<std::string>& names = FText->Parameters();
  FBound.assign(names.size(), {});
  for (std::size_t i = 0; i < names.size(); ++i) {
    const int parameter = static_cast<int>(i);
    const TVariable& variable = Declared(names[i]);
    if (variable.locator != nullptr) {
      if (variable.locator->FSession != FSession) {
        Raise(Format("Variable '%s' is a large object of another session", variable.name));
      }
      variable.locator->PointAt(nullptr);
    }
    std::string& text = FBound[i];
    if (!variable.value.IsNull()) text = variable.value.AsText();
    std::int64_t whole = 0;
    if (text.empty()) {
      FStatement->BindNull(parameter);
    } else if (variable.type == otInteger) {
      if (!TryStrToInt(Trim(text), whole)) {
        throw EConvertError(Format("Variable '%s' takes a whole number", variable.name));
      }
      FStatement->BindNumber(parameter, static_cast<double>(whole));
    } else if (variable.type == otFloat) {
      FStatement->BindNumber(parameter, variable.value.AsFloat());
    } else {
      FStatement->BindText(parameter, text);
    }
  }
}

void TOracleQuery::TakeReturned() {
  for (const int parameter : FStatement->Returns()) {
    TLOBLocator* const locator =
        Declared(FText->Parameters()[static_cast<std::size_t>(parameter)]).locator;
    if (locator != nullptr) locator->PointAt(FStatement->OpenReturned(parameter));
  }
}

TLOBLocator* TOracleQuery::LOBField(std::string_view name) {
  TIDatabase* const session = Session();
  if (!FOnRow || session == nullptr) Raise("No row was found");
  const int column = FStatement->Layout()->IndexOf(name);
  if (column < 0) Raise(Format("Field '%s' not found", name));
  auto field = std::make_unique<TLOBLocator>(session, otBLOB);
  field->PointAt(FStatement->OpenLargeObject(column));
  FFields.push_back(std::move(field));
  return FFields.back().get();
}

}  // namespace perlayer
