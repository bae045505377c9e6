// ward: a small hospital on the layer. See `ward --help`, or begin with `ward tour`.

#include <iostream>
#include <memory>
#include <optional>

#include "Arguments.h"
#include "Check.h"
#include "Edit.h"
#include "Gloss.h"
#include "Load.h"
#include "ScratchDirectory.h"
#include "Show.h"
#include "Sql.h"
#include "Tour.h"
#include "Who.h"
#include "perlayer/corekit/ILoginInfo.h"
#include "perlayer/corekit/TFileLog.h"
#include "perlayer/platform/TLayer.h"

namespace ward {

namespace {

// Returns the program's status.
int Run(TArguments arguments) {
  // Goes last: the layer writes its log until it is unloaded.
  std::optional<TScratchDirectory> scratch;
  const bool isTour = arguments.command == TCommand::tour;
  if (isTour && arguments.database.empty()) {
    arguments.database = scratch.emplace().File("ward.db");
  }
  if (arguments.database.empty()) arguments.database = "ward.db";

  const TLayer layer;
  InstallLog(std::make_unique<TFileLog>(arguments.database + ".log"));
  ILoginInfo().LogIn("WARD", "");
  switch (arguments.command) {
    case TCommand::help:
      break;
    case TCommand::load:
      Load(arguments.database, arguments.data);
      break;
    case TCommand::show:
      Show(arguments.database, *arguments.change.table, arguments.change.id);
      break;
    case TCommand::check:
      return Check(arguments.database, arguments.maps) ? 0 : 1;
    case TCommand::sql:
      Sql(arguments.database, arguments.sql);
      break;
    case TCommand::list:
      List(arguments.database, *arguments.change.table, arguments.list);
      break;
    case TCommand::who:
      Who(arguments.database, arguments.patient);
      break;
    case TCommand::edit:
      Edit(arguments.database, arguments.change);
      break;
    case TCommand::create:
      New(arguments.database, arguments.change);
      break;
    case TCommand::erase:
      Delete(arguments.database, arguments.change);
      break;
    case TCommand::tour:
      Tour(arguments.database, arguments.data, scratch.has_value());
      break;
  }
  return 0;
}

}  // namespace

}  // namespace ward

int main(int argc, char** argv) {
  try {
    const ward::TArguments arguments = ward::ReadArguments({argv + 1, argv + argc});
    int status = 0;
    if (arguments.command == ward::TCommand::help) {
      std::cout << ward::Usage();
    } else {
      status = ward::Run(arguments);
    }
    if (!std::cout.flush()) throw ward::Exception("the output cannot be written");
    return status;
  } catch (const std::exception& e) {
    std::cout.flush();
    std::cerr << "ward: ";
    for (const std::string& line : ward::WithEnglish(e.what())) std::cerr << line << '\n';
    return 1;
  }
}
