#include "RetainerTrace.h"

#include <cxxabi.h>
#include <dlfcn.h>
#include <execinfo.h>

#include <algorithm>
#include <cstdlib>
#include <map>
#include <memory>

#include "TextTable.h"
#include "perlayer/list/TPlBoList.h"
#include "perlayer/object/THold.h"
#include "perlayer/platform/Text.h"

namespace ward {

namespace {

// The function that the address lies in, without its parameters; empty where the program does not
// tell its name.
std::string FunctionAt(const void* address) {
  Dl_info info;
  if (dladdr(address, &info) == 0 || info.dli_sname == nullptr) return "";
  int status = 0;
  const std::unique_ptr<char, decltype(&std::free)> name(
      abi::__cxa_demangle(info.dli_sname, nullptr, nullptr, &status), &std::free);
  std::string function = status == 0 ? name.get() : info.dli_sname;
  function.resize(std::min(function.size(), function.find_first_of("(<")));
  // Templates have what they return in front.
  return function.substr(function.rfind(' ') + 1);
}

// What a holder is, in words.
std::string Description(TObject* holder) {
  if (holder == nullptr) return "(gone without letting go)";
  if (auto* const object = As<TplPerObject>(holder)) return object->GetTextDescription();
  if (const auto* const list = As<TPlBoList>(holder)) {
    return Counted(static_cast<std::size_t>(list->Count()), "object") + ": " +
           (list->aiFetchSpec().empty() ? "all" : list->aiFetchSpec());
  }
  if (Is<TScopeRetainer>(holder)) return "for the length of a scope";
  return "";
}

}  // namespace

TRetainerTrace::TRetainerTrace() : FBefore(PerLayerStatistics()->aiOnRefChangedEvent()) {
  PerLayerStatistics()->aiOnRefChangedEvent(
      TIPerLayerRefereceCountChangedNotifyEvent::Bind<&TRetainerTrace::Heard>(this));
}

TRetainerTrace::~TRetainerTrace() { PerLayerStatistics()->aiOnRefChangedEvent(FBefore); }

// What is known of the object, and of the twins that have ended in its favour.
std::vector<TRetainerTrace::TReference>& TRetainerTrace::ReferencesTo(TPlBaseObject* object) {
  std::vector<TReference>& references = FReferences[TObjectHandle(object).Value()];
  auto* const row = As<TplPerObject>(object);
  const auto made = row == nullptr ? FMade.end() : FMade.find(row->GetGlobalID());
  if (made == FMade.end()) return references;
  std::erase_if(made->second, [&](const TObjectHandle& twin) {
    if (twin.IsAlive()) return false;
    const auto last = FReferences.find(twin.Value());
    if (last != FReferences.end()) {
      references.insert(references.end(), last->second.begin(), last->second.end());
      FReferences.erase(last);
    }
    return true;
  });
  return references;
}

void TRetainerTrace::Heard(TPlBaseObject* object, TIReferenceEventType type, TObject* holder) {
  std::vector<TReference>& references = ReferencesTo(object);
  const TObjectHandle handle(holder);
  if (type == TIReferenceEventType::reRelease) {
    // A retainer list lets go of a holder's first entry.
    const auto first =
        std::find_if(references.begin(), references.end(),
                     [&](const TReference& reference) { return reference.holder == handle; });
    if (first != references.end()) references.erase(first);
    if (references.empty()) FReferences.erase(TObjectHandle(object).Value());
    return;
  }
  if (type == TIReferenceEventType::reCreate) {
    if (auto* const row = As<TplPerObject>(object)) FMade[row->GetGlobalID()].emplace_back(row);
  }
  TReference reference{handle, Now(), {}, 0};
  reference.depth = backtrace(reference.frames.data(), kFrames);
  references.push_back(reference);
}

TRetainerTrace::TTaken TRetainerTrace::Taken(TplDomainObject* object, const TObject* holder,
                                             int n) {
  for (const TReference& reference : ReferencesTo(object)) {
    if (reference.holder != TObjectHandle(holder) || n-- > 0) continue;
    TTaken taken{TimeToStr(reference.time), ""};
    for (int i = 0; i < reference.depth && taken.caller.empty(); ++i) {
      const std::string name = FunctionAt(reference.frames[static_cast<std::size_t>(i)]);
      if (name.starts_with("ward::") && !name.starts_with("ward::TRetainerTrace")) {
        taken.caller = name;
      }
    }
    return taken;
  }
  return {};
}

std::vector<std::string> HolderTable(TplDomainObject* object, TRetainerTrace* trace) {
  TTextTable table({{"holder"}, {"which"}, {"since"}, {"taken by"}});
  TplRetainerList* holders = object->aiRetainerList();
  std::map<TObject*, int> seen;
  for (int i = 0; i < holders->Count(); ++i) {
    TObject* holder = holders->Objects(i);
    TRetainerTrace::TTaken taken;
    if (trace != nullptr) taken = trace->Taken(object, holder, seen[holder]++);
    table.Add({holders->Strings(i), Description(holder), taken.time, taken.caller});
  }
  return table.Lines(104);
}

}  // namespace ward
