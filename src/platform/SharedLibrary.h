#pragma once

#include <string>

namespace qvs {

/// A library opened at run time, closed with the object.
class SharedLibrary {
 public:
  static const int kLazy;        ///< functions are bound when they are first called
  static const int kLazyGlobal;  ///< the same, and libraries that are opened later find its symbols

  SharedLibrary() = default;
  ~SharedLibrary() { close(); }
  SharedLibrary(SharedLibrary&& other) noexcept;
  SharedLibrary& operator=(SharedLibrary&& other) noexcept;

  /// Opens `path`, closing what was open before. `flags` as for dlopen; 0 takes RTLD_NOW | RTLD_LOCAL. False
  /// when the library can't be loaded; `lastError` then tells why.
  bool open(const std::string& path, int flags = 0);
  void close();

  bool isOpen() const { return handle != nullptr; }
  const std::string& lastError() const { return error; }

  /// The symbol's address as a pointer of the given type, null where the library lacks it.
  template <typename Pointer>
  Pointer symbol(const char* name) const {
    return reinterpret_cast<Pointer>(find(name));
  }

 private:
  void* find(const char* name) const;

  void* handle = nullptr;
  std::string error;
};

}  // namespace qvs
