// Capture: the manager, and the life and parameters of a device.
#include <array>
#include <vector>

#include "session/jni/CaptureObjects.h"
#include "session/jni/Holders.h"
#include "session/jni/Parameters.h"
#include "session/jni/Pictures.h"

namespace qvs {
namespace {

/// A device in a parameter session as the stage that a Java array of parameters is moved to and from.
class DeviceParameters {
 public:
  DeviceParameters(ICaptureDevice& device, jlong sessionId)
      : device(device), session(static_cast<uint32_t>(sessionId)) {}

  void setParameterValue(uint32_t key, int64_t value) { device.setParameterValueLong(session, key, value); }
  void setParameterValue(uint32_t key, double value) { device.setParameterValueDouble(session, key, value); }
  void setParameterValue(uint32_t key, int64_t* values, uint32_t count) {
    device.setParameterValueLongArray(session, key, values, count);
  }
  void setParameterValue(uint32_t key, double* values, uint32_t count) {
    device.setParameterValueDoubleArray(session, key, values, count);
  }
  uint32_t getParameterValueType(uint32_t key, uint32_t* length) {
    return device.getParameterValueType(session, key, length);
  }
  void getParameterValue(uint32_t key, int64_t* value) { device.getParameterValueLong(session, key, value); }
  void getParameterValue(uint32_t key, double* value) { device.getParameterValueDouble(session, key, value); }
  void getParameterValue(uint32_t key, int64_t* values, uint32_t* count) {
    device.getParameterValueLongArray(session, key, values, count);
  }
  void getParameterValue(uint32_t key, double* values, uint32_t* count) {
    device.getParameterValueDoubleArray(session, key, values, count);
  }

 private:
  ICaptureDevice& device;
  const uint32_t session;
};

JavaCaptureRendition describe(ICaptureDeviceRendition& rendition) {
  return {.index = rendition.getIndex(),
          .id = rendition.getId(),
          .name = rendition.getName(),
          .flags = rendition.getFlags(),
          .videoFrameWidth = rendition.getVideoFrameWidth(),
          .videoFrameHeight = rendition.getVideoFrameHeight(),
          .videoFrameRate = rendition.getVideoFrameRate(),
          .videoFrameRateEnum = rendition.getVideoFrameRateEnum(),
          .videoFrameRateDen = rendition.getVideoFrameRateDen(),
          .videoColorSpace = rendition.getVideoColorSpace(),
          .videoProgressive = rendition.getVideoProgressive(),
          .videoTopFieldFirst = rendition.getVideoTopFieldFirst(),
          .video3D = rendition.getVideo3D()};
}

JavaCaptureDevice describe(ICaptureDevice& device) {
  return {.id = device.getId(),
          .implementation = device.getImplementation(),
          .hardwareId = device.getHardwareId(),
          .modelName = device.getModelName(),
          .displayName = device.getDisplayName(),
          .inputFormatDetection = device.getInputFormatDetection(),
          .flags = device.getFlags(),
          .active = device.getActive(),
          .running = device.getRunning(),
          .videoInputs = device.getVideoInputs(),
          .audioInputs = device.getAudioInputs()};
}

constexpr Failure kNoList = {.reason = "The list or class of the records can't be used"};

}  // namespace
}  // namespace qvs

using namespace qvs;

QVS_NATIVE(captureManagerInit)(JNIEnv*, jobject) {
  return guarded(
      QVS_LABEL(captureManagerInit),
      []() -> jlong {
        CaptureManager& manager = *CaptureManager::getInstance();
        manager.setLogger(LogGlobalLogger::getLogger());
        return manager.init();
      },
      kEntryFailure);
}

QVS_NATIVE(captureManagerSetPath)(JNIEnv* env, jobject, jlong pathIndex, jstring nativePath) {
  return withManager(QVS_LABEL(captureManagerSetPath), [&](CaptureManager& manager) {
    const Utf path(env, nativePath);
    const auto index =
        pathIndex < 0 || pathIndex > INT32_MAX ? CaptureManager::kPaths : static_cast<uint32_t>(pathIndex);
    if (manager.setPath(index, path.get()) == kSuccess) return jlong{0};
    return failEntry(QVS_LABEL(captureManagerSetPath),
                     {.reason = "No capture path has this index, or it is too long", .number = pathIndex});
  });
}

QVS_NATIVE(captureManagerInspectHardware)(JNIEnv*, jobject) {
  return withManager(QVS_LABEL(captureManagerInspectHardware),
                     [](CaptureManager& manager) { return manager.inspectHardware(); });
}

QVS_NATIVE(captureManagerGetHardwareInfoJSON)(JNIEnv* env, jobject, jobject jsonObj) {
  return withManager(QVS_LABEL(captureManagerGetHardwareInfoJSON), [&](CaptureManager& manager) -> jlong {
    std::string json;
    const uint32_t result = manager.getHardwareInfoJSON(json);
    if (writeHolder(env, jsonObj, json)) return result;
    return failEntry(QVS_LABEL(captureManagerGetHardwareInfoJSON),
                     {.reason = "The object for the report lacks its field"});
  });
}

QVS_NATIVE(captureManagerGetDeviceIds)(JNIEnv* env, jobject, jobject ids) {
  return withManager(QVS_LABEL(captureManagerGetDeviceIds), [&](CaptureManager& manager) -> jlong {
    std::vector<uint32_t> found;
    const uint32_t result = manager.getDeviceIds(found);
    const CaptureObject object(env, "captureManagerGetDeviceIds", ids, kIntArrayHolder);
    if (!object) return kEntryFailure;
    const LocalRef<jintArray> array = newIntArray(env, std::span<const uint32_t>(found));
    if (!array) return kEntryFailure;
    object.set(0, array.get());
    return result;
  });
}

QVS_NATIVE(captureManagerShutdown)(JNIEnv*, jobject) {
  return withManager(QVS_LABEL(captureManagerShutdown),
                     [](CaptureManager& manager) { return manager.shutdown(); });
}

QVS_NATIVE(captureDeviceGetInfo)(JNIEnv* env, jobject, jlong deviceId, jobject info) {
  return withDevice(QVS_LABEL(captureDeviceGetInfo), deviceId, [&](ICaptureDevice& device) {
    const CaptureObject object(env, "captureDeviceGetInfo", info, kCaptureDevice);
    if (!object) return kEntryFailure;
    object.write(describe(device));
    std::vector<JavaCaptureRendition> renditions;
    for (uint32_t i = 0; i < device.renditionCount(); ++i)
      renditions.push_back(describe(*device.getRendition(i)));
    const LocalRef<jobject> list = object.get(kCaptureDevice.index("renditions"));
    if (appendRecords(env, list.get(), kCaptureRendition,
                      std::span<const JavaCaptureRendition>(renditions))) {
      return jlong{0};
    }
    return failEntry(QVS_LABEL(captureDeviceGetInfo), kNoList);
  });
}

QVS_NATIVE(captureDeviceGetSessionInfo)(JNIEnv* env, jobject, jlong deviceId, jobject sessionInfo) {
  return withDevice(QVS_LABEL(captureDeviceGetSessionInfo), deviceId, [&](ICaptureDevice& device) {
    const CaptureObject object(env, "captureDeviceGetSessionInfo", sessionInfo, kCaptureSessionInfo);
    if (!object) return kEntryFailure;
    object.write(device.getCaptureSessionInfo());
    return jlong{0};
  });
}

QVS_NATIVE(captureDeviceSetActiveState)(JNIEnv* env, jobject, jlong deviceId, jobject stateInfo) {
  return withDevice(QVS_LABEL(captureDeviceSetActiveState), deviceId, [&](ICaptureDevice& device) -> jlong {
    const CaptureObject object(env, "captureDeviceSetActiveState", stateInfo, kCaptureStateInfo);
    if (!object) return kEntryFailure;
    CaptureDeviceStateInfoData state;
    object.read(state);
    const uint32_t result = device.setActiveState(&state);
    object.write(state);
    return result;
  });
}

QVS_NATIVE(captureDeviceResetTimecodeSyncToWallClock)(JNIEnv*, jobject, jlong deviceId) {
  return withDevice(QVS_LABEL(captureDeviceResetTimecodeSyncToWallClock), deviceId,
                    [](ICaptureDevice& device) {
                      device.setResetTimecodeSyncToWallClock();
                      return 0;
                    });
}

QVS_NATIVE(captureDeviceStartSessionParameterValues)
(JNIEnv* env, jobject, jlong deviceId, jobject sessionIdObj) {
  return withDevice(QVS_LABEL(captureDeviceStartSessionParameterValues), deviceId,
                    [&](ICaptureDevice& device) -> jlong {
                      uint32_t session = 0;
                      const uint32_t result = device.startSessionParameterValues(&session);
                      if (writeHolder(env, sessionIdObj, int64_t{session})) return result;
                      return failEntry(QVS_LABEL(captureDeviceStartSessionParameterValues), kNoHolder);
                    });
}

QVS_NATIVE(captureDeviceEndSessionParameterValues)(JNIEnv*, jobject, jlong deviceId, jlong sessionId) {
  return withDevice(QVS_LABEL(captureDeviceEndSessionParameterValues), deviceId, [&](ICaptureDevice& device) {
    return device.endSessionParameterValues(static_cast<uint32_t>(sessionId));
  });
}

QVS_NATIVE(captureDeviceSetParameterValues)
(JNIEnv* env, jobject, jlong deviceId, jlong sessionId, jobjectArray parametersArr) {
  return withDevice(QVS_LABEL(captureDeviceSetParameterValues), deviceId, [&](ICaptureDevice& device) {
    DeviceParameters stage(device, sessionId);
    ParameterArray(env, parametersArr).set(stage);
    return 0;
  });
}

QVS_NATIVE(captureDeviceGetParameterValues)
(JNIEnv* env, jobject, jlong deviceId, jlong sessionId, jobjectArray parametersArr) {
  return withDevice(QVS_LABEL(captureDeviceGetParameterValues), deviceId, [&](ICaptureDevice& device) {
    DeviceParameters stage(device, sessionId);
    ParameterArray(env, parametersArr).get(stage);
    return 0;
  });
}

QVS_NATIVE(captureDeviceSaveParameterValues)(JNIEnv*, jobject, jlong deviceId, jlong sessionId) {
  return withDevice(QVS_LABEL(captureDeviceSaveParameterValues), deviceId, [&](ICaptureDevice& device) {
    return device.saveParameterValues(static_cast<uint32_t>(sessionId));
  });
}

QVS_NATIVE(captureDeviceGetVideoFrame)(JNIEnv* env, jobject, jlong deviceId, jobject nativeVideoFrame) {
  return withDevice(QVS_LABEL(captureDeviceGetVideoFrame), deviceId, [&](ICaptureDevice& device) -> jlong {
    uint32_t missing = kSuccess;
    const jlong result = readPicture(
        env, nullptr, QVS_LABEL(captureDeviceGetVideoFrame), nativeVideoFrame,
        [&](uint8_t** bytes, uint32_t* len, uint32_t* width, uint32_t* height, uint64_t* timecode) {
          *len = 0;
          const uint32_t status = device.getFrameBGRA(bytes, width, height, nullptr, timecode);
          if (status != kSuccess) return missing = status;
          // What doesn't fit 32 bits fits no array either.
          const uint64_t size = uint64_t{*width} * *height * 4;
          *len = size <= UINT32_MAX ? static_cast<uint32_t>(size) : UINT32_MAX;
          return status;
        });
    // No picture is no failure of the conversion: the device's own number goes back.
    return missing != kSuccess ? static_cast<int32_t>(missing) : result;
  });
}
