#pragma once

#include <ffi.h>
#include <jni.h>

#include <cstdint>
#include <deque>
#include <string>
#include <vector>

#include "session/jni/recorder/ClassTable.h"

namespace qvs {

/// One native of the library, as its Java class declares it, with the function that stands in for it.
struct Native {
  uint16_t number;
  std::string className;  ///< as JNI wants it, with slashes
  std::string name;
  std::string signature;
  std::string parameters;  ///< one letter each: J, I, Z, D, or L for any object
  void* function;          ///< the library's own
  void* standIn = nullptr;
  std::vector<ffi_type*> types;  ///< of environment, class and parameters
  ffi_cif form{};

  bool takesSession() const;  ///< its first argument is a session's handle
  bool isPerFrame() const;    ///< called for each picture, packet or poll, as opposed to set-up
  bool creates() const { return name == "createInstance"; }
  bool destroys() const { return name == "destroyInstance"; }
};

/// The natives of the library's Java classes, found by reflection, so that none is listed twice. Each gets one function
/// that is called in its place. Made once; never freed, since calls may be under way.
class NativeTable {
 public:
  /// `target` gets each call of a stand-in with the Native as its last argument.
  using Target = void (*)(ffi_cif*, void* result, void** arguments, void* native);

  /// Why not, or empty. A second call does nothing.
  std::string prepare(JNIEnv* env, const ClassTable& classes, Target target);

  /// Binds the Java methods to the stand-ins, or back to the library's own. False where the machine refused one.
  bool bind(JNIEnv* env, bool standIns) const;

  const std::deque<Native>& all() const { return natives; }

 private:
  std::string collect(JNIEnv* env, const ClassTable& classes, jclass cls, const std::string& className);
  bool describe(JNIEnv* env, const ClassTable& classes, jobject method, Native& native) const;
  bool makeStandIn(Native& native, Target target);

  struct Owner {
    std::string name;
    jclass cls;  ///< global
  };
  std::deque<Native> natives;  // entries don't move
  std::vector<Owner> owners;
};

}  // namespace qvs
