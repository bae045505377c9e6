#pragma once
// TLayer: one loaded layer, and everything in it of which a process has one. Such an instance
// ("part") is made on first use and lives in the layer object, never in a static of its own, so
// that a test loads a fresh layer and leaves nothing behind.
//
// One layer is loaded at a time. It belongs to the main thread, which is the one that loads it:
// parts are made there; a part that other threads use says so itself.

#include <array>
#include <cstddef>
#include <thread>

#include "perlayer/platform/TObject.h"

namespace perlayer {

// Ranks, in the order of unloading: the first to go stands first.
enum class TLayerPart : std::size_t {
  classMaps,         // class maps that the layer was given to keep, with their providers
  databaseSessions,  // TplDatabaseSessionList
  databaseProvider,  // TplDatabaseProvider
  dictionary,        // TplGlobalDictionary
  statistics,        // TIPerLayerStatistics
  settings,          // TIPerLayerSettings
  providerList,      // TplProviderList
  persistantLayer,   // TIPersistantLayer
  callBacks,         // TIProviderCallBacks
  auditEvents,       // the application's audit events
  authManager,       // TAuthManager
  providerState,     // green mode and the temporary-ID counter
  listOrder,         // DefaultSortParam
  foundationState,   // notification switch, last message, memory sequence
  tableOwners,       // TIGetTableOwner
  localizer,         // TILocalizeDisplayLabel
  codeLists,         // TISifranti
  databases,         // registry of TIDatabase by name
  loginInfo,         // ILoginInfo
  systemParameters,  // ISystemParameters
  dialogs,           // message-dialog front end
  application,       // TApplication
  statements,        // parsed SQL texts
  log,               // ILog
  iniDirectory,      // TIniFile::UserDirectory
  formatSettings,    // TFormatSettings
  collation,         // TCollation
  clock,             // TClock
  count
};

class TLayer {
 public:
  TLayer();   // Raises EAssertionFailed when a layer is loaded already.
  ~TLayer();  // Unloads: every part goes, in the order of TLayerPart.
  TLayer(const TLayer&) = delete;
  TLayer& operator=(const TLayer&) = delete;

  static bool IsLoaded() { return FCurrent != nullptr; }
  // Whether the calling thread is the one that loaded the layer. Any thread may ask while a layer
  // is loaded; false with none.
  static bool IsMainThread() {
    return FCurrent != nullptr && FCurrent->FMainThread == std::this_thread::get_id();
  }
  // The loaded layer. Raises EAssertionFailed when there is none.
  static TLayer& Current() {
    if (FCurrent == nullptr) RaiseNotLoaded();
    return *FCurrent;
  }

  // The part of that rank, made by T's default constructor on first use; T's destructor ends it.
  template <class T>
  static T& Part(TLayerPart rank) {
    TSlot& slot = Current().FParts[static_cast<std::size_t>(rank)];
    if (slot.object == nullptr) MakePart<T>(slot);
    return *static_cast<T*>(slot.object);
  }
  // The same for a part that is a TObject: made by New<T>(), ended by Free().
  template <class T>
  static T* ObjectPart(TLayerPart rank) {
    TSlot& slot = Current().FParts[static_cast<std::size_t>(rank)];
    if (slot.object == nullptr) MakeObjectPart<T>(slot);
    return static_cast<T*>(slot.object);
  }
  // The part if it has been made, else nullptr. Answers nullptr with no layer loaded.
  template <class T>
  static T* PartIfMade(TLayerPart rank) {
    return FCurrent == nullptr
               ? nullptr
               : static_cast<T*>(FCurrent->FParts[static_cast<std::size_t>(rank)].object);
  }

 private:
  struct TSlot {
    void* object = nullptr;
    void (*destroy)(void*) = nullptr;
  };
  // Out of the way of those who find the part there.
  template <class T>
  [[gnu::noinline]] static void MakePart(TSlot& slot) {
    slot.object = new T();
    slot.destroy = [](void* object) { delete static_cast<T*>(object); };
  }
  template <class T>
  [[gnu::noinline]] static void MakeObjectPart(TSlot& slot) {
    slot.object = New<T>();
    slot.destroy = [](void* object) { static_cast<T*>(object)->Free(); };
  }
  [[noreturn]] static void RaiseNotLoaded();

  static TLayer* FCurrent;
  const std::thread::id FMainThread = std::this_thread::get_id();
  std::array<TSlot, static_cast<std::size_t>(TLayerPart::count)> FParts{};
};

}  // namespace perlayer
