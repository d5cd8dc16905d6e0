#pragma once

#include <string>

namespace qvs::probe {

/// A library opened as the transcoder opens plug-ins: lazily and for itself.
class PluginLibrary {
 public:
  /// `trouble` says in words why it can't be opened, empty where it was.
  PluginLibrary(const std::string& path, std::string& trouble);
  ~PluginLibrary();
  PluginLibrary(const PluginLibrary&) = delete;
  PluginLibrary& operator=(const PluginLibrary&) = delete;

  bool exports(const std::string& symbol) const { return find(handle, symbol.c_str()) != nullptr; }
  void* get() const { return handle; }

  /// As a QvsFindSymbol.
  static void* find(void* library, const char* symbol);

 private:
  void* handle;
};

}  // namespace qvs::probe
