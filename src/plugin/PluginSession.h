#pragma once

#include <qvs/plugin.h>

#include <cstdint>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>

#include "platform/SharedLibrary.h"
#include "plugin/PluginStatus.h"

namespace qvs {

/// How a plug-in gets the memory of what it hands out.
struct PluginAllocator {
  QvsByteArrayNew create;
  QvsByteArrayFree release;
  QvsByteArrayLock lock;
  QvsByteArrayUnlock unlock;
};

/// malloc and free, so that whoever takes a coded frame over can free it.
const PluginAllocator& nativePluginAllocator();

/// A plug-in library with one session in it: what every kind of plug-in host is made of. `Table` is the family's
/// record of entry points, whose fields are called func_NAME. A missing library, entry point or session makes the
/// calls no-ops. Not for two threads at once.
template <typename Table>
class PluginSession {
 public:
  using Resolver = int (*)(Table* table, QvsFindSymbol find, void* library, const char* prefix);

  PluginSession() = default;
  ~PluginSession() { close(); }
  PluginSession(const PluginSession&) = delete;
  PluginSession& operator=(const PluginSession&) = delete;

  /// Opens the library lazily and finds what it offers; false, with the reason in `lastError`, where it can't be
  /// loaded. `flags` as for dlopen, 0 for the usual ones.
  bool load(const std::string& path, Resolver resolve, const char* prefix, int flags = 0) {
    close();
    if (!library.open(path, flags != 0 ? flags : SharedLibrary::kLazy)) return false;
    resolve(&table, findSymbol, &library, prefix);
    return true;
  }
  const std::string& lastError() const { return library.lastError(); }
  bool isLoaded() const { return library.isOpen(); }
  const Table& entryPoints() const { return table; }

  /// What a library that is closed again answers when asked for its version, which goes to `major` and `minor`;
  /// nothing where it can't be loaded or lacks the function.
  static std::optional<int32_t> askVersion(const std::string& path, Resolver resolve, const char* prefix,
                                           uint32_t* major, uint32_t* minor) {
    PluginSession plugin;
    if (!plugin.load(path, resolve, prefix) || plugin.table.func_getVersion == nullptr) return std::nullopt;
    return plugin.table.func_getVersion(nullptr, 0, major, minor);
  }

  /// Makes the session and tells it `host` with the allocator, in the form with a free callback where the plug-in has
  /// that. Gives the status of the making.
  int32_t create(void* host, const PluginAllocator& allocator) {
    if (table.func_create == nullptr) return 0;
    const int32_t status = table.func_create(&session);
    if (session == nullptr) return status;
    if (table.func_setAllocator2 != nullptr) {
      table.func_setAllocator2(session, host, allocator.create, allocator.release, allocator.lock,
                               allocator.unlock);
    } else if (table.func_setAllocator != nullptr) {
      table.func_setAllocator(session, host, allocator.create, allocator.lock, allocator.unlock);
    }
    return status;
  }
  void* getSession() const { return session; }

  template <typename Entry>
  bool offers(Entry Table::*entry) const {
    return session != nullptr && table.*entry != nullptr;
  }

  /// Calls an entry point on the session. 0, and nothing done, where one of them is missing.
  template <typename Result, typename... Parameters, typename... Arguments>
  Result call(Result (*Table::*entry)(void*, Parameters...), Arguments&&... arguments) {
    if (offers(entry)) return (table.*entry)(session, std::forward<Arguments>(arguments)...);
    if constexpr (!std::is_void_v<Result>) return Result{};
  }

  /// The plug-in's own words for its last failure; empty where it has none.
  std::string problem() {
    char text[512] = "";
    call(&Table::func_getProblem, text, uint32_t{sizeof text});
    text[sizeof text - 1] = '\0';
    return text;
  }

  /// Calls an entry point that answers a status; for a failure the plug-in's words come with it.
  template <typename Entry, typename... Arguments>
  PluginAnswer ask(Entry entry, Arguments&&... arguments) {
    PluginAnswer answer{static_cast<int32_t>(call(entry, std::forward<Arguments>(arguments)...)), {}};
    if (answer.status != 0) answer.words = problem();
    return answer;
  }

  /// Destroys the session and closes the library.
  void close() {
    if (offers(&Table::func_destroy)) table.func_destroy(session);
    session = nullptr;
    table = {};
    library.close();
  }

 private:
  static void* findSymbol(void* library, const char* symbol) {
    return static_cast<SharedLibrary*>(library)->template symbol<void*>(symbol);
  }

  SharedLibrary library;
  Table table{};
  void* session = nullptr;  ///< owned, freed by the plug-in
};

}  // namespace qvs
