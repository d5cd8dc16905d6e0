// Capture: what a device is told and what it tells, record by record.
#include <algorithm>
#include <array>
#include <vector>

#include "session/jni/CaptureObjects.h"

namespace qvs {
namespace {

/// Reads a record of the host and hands it to the device with the object, which has the arrays.
template <typename Record, size_t N, typename Apply>
jlong setRecord(JNIEnv* env, const char* label, const char* entry, jlong deviceId, jobject from,
                const JavaRecord<Record, N>& table, Apply apply) {
  return withDevice(label, deviceId, [&](ICaptureDevice& device) {
    const CaptureObject object(env, entry, from, table);
    if (!object) return kEntryFailure;
    Record record;
    object.read(record);
    apply(device, record, object);
    return jlong{0};
  });
}

template <typename Record, size_t N, typename Get>
jlong getRecord(JNIEnv* env, const char* label, const char* entry, jlong deviceId, jobject to,
                const JavaRecord<Record, N>& table, Get get) {
  return withDevice(label, deviceId, [&](ICaptureDevice& device) {
    const CaptureObject object(env, entry, to, table);
    if (!object) return kEntryFailure;
    const Record record = get(device, object);
    object.write(record);
    return jlong{0};
  });
}

constexpr Failure kNoList = {.reason = "The list or class of the records can't be used"};

}  // namespace
}  // namespace qvs

using namespace qvs;

QVS_NATIVE(captureDeviceSetAncillaryDataLineNumberRange)
(JNIEnv*, jobject, jlong deviceId, jlong start, jlong mid1, jlong mid2, jlong stop) {
  return withDevice(
      QVS_LABEL(captureDeviceSetAncillaryDataLineNumberRange), deviceId, [&](ICaptureDevice& device) {
        device.setAncillaryDataLineNumberRange(static_cast<int32_t>(start), static_cast<int32_t>(mid1),
                                               static_cast<int32_t>(mid2), static_cast<int32_t>(stop));
        return 0;
      });
}

QVS_NATIVE(captureDeviceAddAncillaryDataFilter)(JNIEnv* env, jobject, jlong deviceId, jobject filter) {
  return setRecord(env, QVS_LABEL(captureDeviceAddAncillaryDataFilter), "captureDeviceAddAncillaryDataFilter",
                   deviceId, filter, kCaptureAncillaryDataFilter,
                   [](auto& device, auto& record, auto&) { device.addAncillaryDataFilter(record); });
}

QVS_NATIVE(captureDeviceSetVideoCaptureTarget)(JNIEnv* env, jobject, jlong deviceId, jobject target) {
  return setRecord(env, QVS_LABEL(captureDeviceSetVideoCaptureTarget), "captureDeviceSetVideoCaptureTarget",
                   deviceId, target, kCaptureVideoTarget, [&](auto& device, auto& record, auto& object) {
                     const LocalRef<jobject> crop = object.get(kCaptureVideoTarget.index("crop"));
                     const IndexList values(env, static_cast<jlongArray>(crop.get()), record.crop.size());
                     std::copy(values.get().begin(), values.get().end(), record.crop.begin());
                     device.setCaptureTargetVideo(record);
                   });
}

QVS_NATIVE(captureDeviceGetVideoCaptureTarget)(JNIEnv* env, jobject, jlong deviceId, jobject target) {
  return getRecord(env, QVS_LABEL(captureDeviceGetVideoCaptureTarget), "captureDeviceGetVideoCaptureTarget",
                   deviceId, target, kCaptureVideoTarget, [&](auto& device, auto& object) {
                     const CaptureDeviceCaptureTargetVideoData record = device.getCaptureTargetVideo();
                     const std::vector<int64_t> crop(record.crop.begin(), record.crop.end());
                     const auto array = newNumberArray<int64_t>(env, crop);
                     if (array) object.set(kCaptureVideoTarget.index("crop"), array.get());
                     return record;
                   });
}

QVS_NATIVE(captureDeviceSetVideoCaptureParams)(JNIEnv* env, jobject, jlong deviceId, jobject params) {
  return setRecord(env, QVS_LABEL(captureDeviceSetVideoCaptureParams), "captureDeviceSetVideoCaptureParams",
                   deviceId, params, kCaptureVideoParams,
                   [](auto& device, auto& record, auto&) { device.setCaptureParamsVideo(record); });
}

QVS_NATIVE(captureDeviceSetVideoCaptureInput)(JNIEnv* env, jobject, jlong deviceId, jobject input) {
  return setRecord(env, QVS_LABEL(captureDeviceSetVideoCaptureInput), "captureDeviceSetVideoCaptureInput",
                   deviceId, input, kCaptureVideoInput, [&](auto& device, auto& record, auto& object) {
                     const LocalRef<jobject> list = object.get(kCaptureVideoInput.index("input"));
                     const size_t there = readIntArray(env, static_cast<jintArray>(list.get()), record.input);
                     record.inputCount = std::min(record.inputCount, static_cast<uint32_t>(there));
                     device.setVideoInputsActive(record);
                   });
}

QVS_NATIVE(captureDeviceGetVideoCaptureInput)(JNIEnv* env, jobject, jlong deviceId, jobject input) {
  return getRecord(env, QVS_LABEL(captureDeviceGetVideoCaptureInput), "captureDeviceGetVideoCaptureInput",
                   deviceId, input, kCaptureVideoInput, [&](auto& device, auto& object) {
                     const TranscoderCaptureDeviceCaptureInputVideoData record =
                         device.getVideoInputsActive();
                     const auto array = newIntArray(env, std::span(record.input).first(record.inputCount));
                     if (array) object.set(kCaptureVideoInput.index("input"), array.get());
                     return record;
                   });
}

QVS_NATIVE(captureDeviceSetAudioCaptureParams)(JNIEnv* env, jobject, jlong deviceId, jobject params) {
  return setRecord(env, QVS_LABEL(captureDeviceSetAudioCaptureParams), "captureDeviceSetAudioCaptureParams",
                   deviceId, params, kCaptureAudioParams,
                   [](auto& device, auto& record, auto&) { device.setCaptureParamsAudio(record); });
}

QVS_NATIVE(captureDeviceSetAudioLevelParams)(JNIEnv* env, jobject, jlong deviceId, jobject params) {
  return setRecord(env, QVS_LABEL(captureDeviceSetAudioLevelParams), "captureDeviceSetAudioLevelParams",
                   deviceId, params, kCaptureLevelParams, [](auto& device, auto& record, auto&) {
                     device.setAudioLevelSamplesPerData(record.audioLevelSamplesPerData);
                     device.setAudioLevelTotalDataPoints(record.audioLevelTotalDataPoints);
                   });
}

QVS_NATIVE(captureDeviceGetAudioLevelData)(JNIEnv* env, jobject, jlong deviceId, jobject levels) {
  return withDevice(
      QVS_LABEL(captureDeviceGetAudioLevelData), deviceId, [&](ICaptureDevice& device) -> jlong {
        const CaptureObject object(env, "captureDeviceGetAudioLevelData", levels, kCaptureLevelList);
        if (!object) return kEntryFailure;
        uint32_t count = device.getAudioLevelTotalDataPoints();
        std::vector<uint64_t> times(count);
        std::vector<int32_t> average(count), peak(count);
        JavaCaptureLevelList list;
        const uint32_t result =
            device.getAudioLevelData(times.data(), average.data(), peak.data(), &count, &list.sampleId);
        object.write(list);
        const std::vector<int64_t> timecodes(times.begin(), times.begin() + count);
        const auto timesArray = newNumberArray<int64_t>(env, timecodes);
        const auto averageArray = newIntArray(env, std::span<const int32_t>(average).first(count));
        const auto peakArray = newIntArray(env, std::span<const int32_t>(peak).first(count));
        if (!timesArray || !averageArray || !peakArray) return kEntryFailure;
        object.set(kCaptureLevelList.index("timecodes"), timesArray.get());
        object.set(kCaptureLevelList.index("average"), averageArray.get());
        object.set(kCaptureLevelList.index("peak"), peakArray.get());
        return result;
      });
}

QVS_NATIVE(captureDeviceGetAudioLevelDataLast)(JNIEnv* env, jobject, jlong deviceId, jobject level) {
  return getRecord(env, QVS_LABEL(captureDeviceGetAudioLevelDataLast), "captureDeviceGetAudioLevelDataLast",
                   deviceId, level, kCaptureAudioLevel,
                   [](auto& device, auto&) { return device.getAudioLastLevelData(); });
}

QVS_NATIVE(captureDeviceGetAudioAllLevelDataLast)(JNIEnv* env, jobject, jlong deviceId, jobject levels) {
  return withDevice(QVS_LABEL(captureDeviceGetAudioAllLevelDataLast), deviceId,
                    [&](ICaptureDevice& device) -> jlong {
                      std::array<AudioLevelSingleChannelData, CaptureSessionInfoData::kChannelsMax> channels;
                      auto count = static_cast<uint32_t>(channels.size());
                      const uint32_t result = device.getAudioLastAllLevelData(channels.data(), &count);
                      const std::span<const AudioLevelSingleChannelData> there(channels.data(), count);
                      if (appendRecords(env, levels, kCaptureChannelLevel, there)) return result;
                      return failEntry(QVS_LABEL(captureDeviceGetAudioAllLevelDataLast), kNoList);
                    });
}

QVS_NATIVE(captureDeviceSetAudioVolume)(JNIEnv*, jobject, jlong deviceId, jlong volume) {
  return withDevice(QVS_LABEL(captureDeviceSetAudioVolume), deviceId, [&](ICaptureDevice& device) {
    device.setAudioVolume(static_cast<uint32_t>(volume));
    return 0;
  });
}

QVS_NATIVE(captureDeviceSetAudioChannelMap)(JNIEnv* env, jobject, jlong deviceId, jobject map) {
  return setRecord(env, QVS_LABEL(captureDeviceSetAudioChannelMap), "captureDeviceSetAudioChannelMap",
                   deviceId, map, kCaptureAudioChannelMap,
                   [](auto& device, auto& record, auto&) { device.setAudioChannelMap(record); });
}

QVS_NATIVE(captureDeviceGetAudioChannelMap)(JNIEnv* env, jobject, jlong deviceId, jobject map) {
  return getRecord(env, QVS_LABEL(captureDeviceGetAudioChannelMap), "captureDeviceGetAudioChannelMap",
                   deviceId, map, kCaptureAudioChannelMap,
                   [](auto& device, auto&) { return device.getAudioChannelMap(); });
}

QVS_NATIVE(captureDeviceSetOverlayInfo)(JNIEnv* env, jobject, jlong deviceId, jobject info) {
  return setRecord(env, QVS_LABEL(captureDeviceSetOverlayInfo), "captureDeviceSetOverlayInfo", deviceId, info,
                   kCaptureOverlayInfo,
                   [](auto& device, auto& record, auto&) { device.setOverlayInfo(record); });
}
