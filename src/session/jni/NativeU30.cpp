// Resource sessions of accelerator cards.
//
// The cards' resource manager isn't reached yet, so no context can be made and every other entry answers as
// for a session that doesn't exist.

#include <cstdio>

#include "hardware/HardwareInspector.h"
#include "session/jni/NativeEntry.h"

#define QVS_U30_NATIVE(name) \
  extern "C" JNIEXPORT jlong JNICALL Java_com_zarvo_qvs_transcoder_model_TranscoderVideoU30MXBean_##name

#define QVS_U30_LABEL(name) "TranscoderVideoU30MXBean::" #name

namespace qvs {
namespace {

constexpr Failure kNoManager = {.reason = "The cards' resource manager is not built in"};

/// What reading a card's usage lacks, on standard error too.
jlong usageFailure(jlong number, const char* reason) {
  std::fprintf(stderr, "JNI u30XboUsage(): %s\n", reason);
  LogGlobalLogger::getInstance()->tell(QVS_U30_LABEL(u30XboUsage), {.reason = reason});
  return number;
}

}  // namespace
}  // namespace qvs

using namespace qvs;

QVS_U30_NATIVE(createContext)(JNIEnv*, jobject, jlong) {
  return failEntry(QVS_U30_LABEL(createContext), kNoManager);
}

QVS_U30_NATIVE(destroyContext)(JNIEnv*, jobject, jlong) {
  std::puts("ERROR: XilinxU30Utils::destroyContext - Session not found");
  return failEntry(QVS_U30_LABEL(destroyContext), kNoManager);
}

QVS_U30_NATIVE(cuPoolReserve)(JNIEnv*, jobject, jlong) {
  return failEntry(QVS_U30_LABEL(cuPoolReserve), kNoManager);
}

QVS_U30_NATIVE(cuPoolRelinquish)(JNIEnv*, jobject, jlong, jlong) {
  std::puts("xrmCuPoolRelinquish: fail to relinquish cu pool");
  failEntry(QVS_U30_LABEL(cuPoolRelinquish), kNoManager);
  return 0;
}

QVS_U30_NATIVE(checkCuPoolAvailableNum)(JNIEnv*, jobject, jlong) {
  return failEntry(QVS_U30_LABEL(checkCuPoolAvailableNum), kNoManager);
}

QVS_U30_NATIVE(execPluginFunc)(JNIEnv*, jobject, jstring, jstring, jlong) {
  std::puts("ERROR: execPluginFunx");
  return failEntry(QVS_U30_LABEL(execPluginFunc), kNoManager);
}

QVS_U30_NATIVE(u30XboUsage)(JNIEnv*, jobject, jlong) {
  const HardwareInspector* inspector = HardwareInspector::getInstance();
  if (inspector == nullptr) {
    return usageFailure(-2, "HardwareInspector instance not available");
  }
  if (!inspector->isXilinxU30Available()) {
    return usageFailure(-1, "U30 Xilinx board(s) not available");
  }
  const auto trackReport = inspector->getU30Shared().symbol<void (*)()>("track_report");
  if (trackReport == nullptr) {
    return usageFailure(-3, "No shared library entry point for track_report()");
  }
  trackReport();
  return 0;
}
