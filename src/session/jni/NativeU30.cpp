// Resource sessions of accelerator cards.
//
// The cards' resource manager isn't reached yet, so no context can be made and every other entry answers as
// for a session that doesn't exist.

#include <cstdio>

#include "hardware/HardwareInspector.h"
#include "session/jni/NativeEntry.h"

#define QVS_U30_NATIVE(name) \
  extern "C" JNIEXPORT jlong JNICALL Java_com_zarvo_qvs_transcoder_model_TranscoderVideoU30MXBean_##name

using namespace qvs;

QVS_U30_NATIVE(createContext)(JNIEnv*, jobject, jlong) {
  return kEntryFailure;
}

QVS_U30_NATIVE(destroyContext)(JNIEnv*, jobject, jlong) {
  std::puts("ERROR: XilinxU30Utils::destroyContext - Session not found");
  return kEntryFailure;
}

QVS_U30_NATIVE(cuPoolReserve)(JNIEnv*, jobject, jlong) {
  return kEntryFailure;
}

QVS_U30_NATIVE(cuPoolRelinquish)(JNIEnv*, jobject, jlong, jlong) {
  std::puts("xrmCuPoolRelinquish: fail to relinquish cu pool");
  return 0;
}

QVS_U30_NATIVE(checkCuPoolAvailableNum)(JNIEnv*, jobject, jlong) {
  return kEntryFailure;
}

QVS_U30_NATIVE(execPluginFunc)(JNIEnv*, jobject, jstring, jstring, jlong) {
  std::puts("ERROR: execPluginFunx");
  return kEntryFailure;
}

QVS_U30_NATIVE(u30XboUsage)(JNIEnv*, jobject, jlong) {
  const HardwareInspector* inspector = HardwareInspector::getInstance();
  if (inspector == nullptr) {
    std::fputs("JNI u30XboUsage(): HardwareInspector instance not available\n", stderr);
    return -2;
  }
  if (!inspector->isXilinxU30Available()) {
    std::fputs("JNI u30XboUsage(): U30 Xilinx board(s) not available\n", stderr);
    return -1;
  }
  const auto trackReport = inspector->getU30Shared().symbol<void (*)()>("track_report");
  if (trackReport == nullptr) {
    std::fputs("JNI u30XboUsage(): No shared library entry point for track_report()\n", stderr);
    return -3;
  }
  trackReport();
  return 0;
}
