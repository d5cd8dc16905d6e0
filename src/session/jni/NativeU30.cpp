// Resource sessions of accelerator cards.

#include <cstdio>

#include "hardware/HardwareInspector.h"
#include "hardware/XilinxU30Utils.h"
#include "session/jni/NativeEntry.h"
#include "session/jni/Utf.h"

#define QVS_U30_NATIVE(name) \
  extern "C" JNIEXPORT jlong JNICALL Java_com_zarvo_qvs_transcoder_model_TranscoderVideoU30MXBean_##name

#define QVS_U30_LABEL(name) "TranscoderVideoU30MXBean::" #name

namespace qvs {
namespace {

/// What reading a card's usage lacks, on standard error too.
jlong usageFailure(jlong number, const char* reason) {
  std::fprintf(stderr, "JNI u30XboUsage(): %s\n", reason);
  LogGlobalLogger::getInstance()->tell(QVS_U30_LABEL(u30XboUsage), {.reason = reason});
  return number;
}

template <typename Call>
jlong resourceCall(const char* label, Call call) {
  return guarded(
      label, [&] { return static_cast<jlong>(call()); }, kEntryFailure);
}

}  // namespace
}  // namespace qvs

using namespace qvs;

QVS_U30_NATIVE(createContext)(JNIEnv*, jobject, jlong) {
  return resourceCall(QVS_U30_LABEL(createContext),
                      [] { return static_cast<int32_t>(XilinxU30Utils::createContext()); });
}

QVS_U30_NATIVE(destroyContext)(JNIEnv*, jobject, jlong sessionId) {
  return resourceCall(QVS_U30_LABEL(destroyContext),
                      [&] { return XilinxU30Utils::destroyContext(static_cast<uint32_t>(sessionId)); });
}

QVS_U30_NATIVE(cuPoolReserve)(JNIEnv*, jobject, jlong sessionId) {
  return resourceCall(QVS_U30_LABEL(cuPoolReserve),
                      [&] { return XilinxU30Utils::cuPoolReserve(static_cast<uint32_t>(sessionId)); });
}

QVS_U30_NATIVE(cuPoolRelinquish)(JNIEnv*, jobject, jlong poolId, jlong sessionId) {
  return resourceCall(QVS_U30_LABEL(cuPoolRelinquish), [&] {
    return XilinxU30Utils::cuPoolRelinquish(static_cast<uint64_t>(poolId), static_cast<uint32_t>(sessionId));
  });
}

QVS_U30_NATIVE(checkCuPoolAvailableNum)(JNIEnv*, jobject, jlong sessionId) {
  return resourceCall(QVS_U30_LABEL(checkCuPoolAvailableNum), [&] {
    return XilinxU30Utils::checkCuPoolAvailableNum(static_cast<uint32_t>(sessionId));
  });
}

QVS_U30_NATIVE(execPluginFunc)(JNIEnv* env, jobject, jstring pluginName, jstring input, jlong sessionId) {
  return resourceCall(QVS_U30_LABEL(execPluginFunc), [&] {
    const Utf plugin(env, pluginName);
    const Utf job(env, input);
    return XilinxU30Utils::execPluginFunc(plugin.get(), job.get(), static_cast<uint32_t>(sessionId));
  });
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
