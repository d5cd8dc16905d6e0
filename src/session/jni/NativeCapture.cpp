// Capture.
//
// There is no capture manager yet, which every entry of the family answers with -1 and a line.

#include "session/jni/NativeEntry.h"

namespace qvs {

static constexpr Failure kNoCapture = {.reason = "Capture is not built in"};

}  // namespace qvs

#define QVS_WITHOUT_MANAGER(name, ...)                            \
  QVS_NATIVE(name)(JNIEnv*, jobject __VA_OPT__(, ) __VA_ARGS__) { \
    return qvs::failEntry(QVS_LABEL(name), qvs::kNoCapture);      \
  }

QVS_WITHOUT_MANAGER(captureManagerInit)
QVS_WITHOUT_MANAGER(captureManagerSetPath, jlong, jstring)
QVS_WITHOUT_MANAGER(captureManagerInspectHardware)
QVS_WITHOUT_MANAGER(captureManagerGetHardwareInfoJSON, jobject)
QVS_WITHOUT_MANAGER(captureManagerGetDeviceIds, jobject)
QVS_WITHOUT_MANAGER(captureManagerShutdown)

QVS_WITHOUT_MANAGER(captureDeviceGetInfo, jlong, jobject)
QVS_WITHOUT_MANAGER(captureDeviceGetSessionInfo, jlong, jobject)
QVS_WITHOUT_MANAGER(captureDeviceSetActiveState, jlong, jobject)
QVS_WITHOUT_MANAGER(captureDeviceResetTimecodeSyncToWallClock, jlong)
QVS_WITHOUT_MANAGER(captureDeviceSetAncillaryDataLineNumberRange, jlong, jlong, jlong, jlong, jlong)
QVS_WITHOUT_MANAGER(captureDeviceAddAncillaryDataFilter, jlong, jobject)
QVS_WITHOUT_MANAGER(captureDeviceSetVideoCaptureTarget, jlong, jobject)
QVS_WITHOUT_MANAGER(captureDeviceGetVideoCaptureTarget, jlong, jobject)
QVS_WITHOUT_MANAGER(captureDeviceStartSessionParameterValues, jlong, jobject)
QVS_WITHOUT_MANAGER(captureDeviceEndSessionParameterValues, jlong, jlong)
QVS_WITHOUT_MANAGER(captureDeviceSetParameterValues, jlong, jlong, jobjectArray)
QVS_WITHOUT_MANAGER(captureDeviceGetParameterValues, jlong, jlong, jobjectArray)
QVS_WITHOUT_MANAGER(captureDeviceSaveParameterValues, jlong, jlong)
QVS_WITHOUT_MANAGER(captureDeviceSetVideoCaptureParams, jlong, jobject)
QVS_WITHOUT_MANAGER(captureDeviceGetVideoFrame, jlong, jobject)
QVS_WITHOUT_MANAGER(captureDeviceSetVideoCaptureInput, jlong, jobject)
QVS_WITHOUT_MANAGER(captureDeviceGetVideoCaptureInput, jlong, jobject)
QVS_WITHOUT_MANAGER(captureDeviceSetAudioCaptureParams, jlong, jobject)
QVS_WITHOUT_MANAGER(captureDeviceSetAudioLevelParams, jlong, jobject)
QVS_WITHOUT_MANAGER(captureDeviceGetAudioLevelData, jlong, jobject)
QVS_WITHOUT_MANAGER(captureDeviceGetAudioLevelDataLast, jlong, jobject)
QVS_WITHOUT_MANAGER(captureDeviceGetAudioAllLevelDataLast, jlong, jobject)
QVS_WITHOUT_MANAGER(captureDeviceSetAudioVolume, jlong, jlong)
QVS_WITHOUT_MANAGER(captureDeviceSetAudioChannelMap, jlong, jobject)
QVS_WITHOUT_MANAGER(captureDeviceGetAudioChannelMap, jlong, jobject)
QVS_WITHOUT_MANAGER(captureDeviceSetOverlayInfo, jlong, jobject)
