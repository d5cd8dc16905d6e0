// Runs the movers of the native boundary on data that no stage in the tests gives.

#include <algorithm>
#include <cstring>
#include <map>
#include <variant>

#include "frames/EncodedUnits.h"
#include "session/jni/DecodeReport.h"
#include "session/jni/Packets.h"
#include "session/jni/Parameters.h"

using namespace qvs;

namespace {

/// Keeps what it is sent and tells it again; the type of a key is that of its last value.
class EchoStage {
 public:
  uint32_t setParameterValue(uint32_t key, int64_t value) { return keep(key, value); }
  uint32_t setParameterValue(uint32_t key, double value) { return keep(key, value); }
  uint32_t setParameterValue(uint32_t key, int64_t* list, uint32_t count) {
    return keep(key, std::vector<int64_t>(list, list + count));
  }
  uint32_t setParameterValue(uint32_t key, double* list, uint32_t count) {
    return keep(key, std::vector<double>(list, list + count));
  }

  /// Key 7 is a list that is empty, key 8 one that claims more than it gives.
  uint32_t getParameterValueType(uint32_t key, uint32_t* length) {
    if (key == 7 || key == 8) {
      *length = key == 7 ? 0 : 4;
      return kParameterLongArray;
    }
    const auto found = values.find(key);
    if (found == values.end()) return kParameterUnknown;
    *length = std::visit([](const auto& value) { return lengthOf(value); }, found->second);
    constexpr uint32_t kTypes[] = {kParameterLong, kParameterDouble, kParameterLongArray,
                                   kParameterDoubleArray};
    return kTypes[found->second.index()];
  }
  uint32_t getParameterValue(uint32_t key, int64_t* value) { return tell(key, value); }
  uint32_t getParameterValue(uint32_t key, double* value) { return tell(key, value); }
  uint32_t getParameterValue(uint32_t key, int64_t* list, uint32_t* count) {
    if (key == 8) {
      *list = 88;
      *count = 1;
      return 0;
    }
    return tellList(key, list, count);
  }
  uint32_t getParameterValue(uint32_t key, double* list, uint32_t* count) {
    return tellList(key, list, count);
  }

 private:
  using Value = std::variant<int64_t, double, std::vector<int64_t>, std::vector<double>>;

  template <typename Single>
  static uint32_t lengthOf(const Single&) {
    return 0;
  }
  template <typename Item>
  static uint32_t lengthOf(const std::vector<Item>& list) {
    return static_cast<uint32_t>(list.size());
  }
  uint32_t keep(uint32_t key, Value value) {
    values[key] = std::move(value);
    return 0;
  }
  template <typename Single>
  uint32_t tell(uint32_t key, Single* value) {
    *value = std::get<Single>(values.at(key));
    return 0;
  }
  template <typename Item>
  uint32_t tellList(uint32_t key, Item* list, uint32_t* count) {
    const auto& kept = std::get<std::vector<Item>>(values.at(key));
    *count = static_cast<uint32_t>(kept.size());
    std::copy(kept.begin(), kept.end(), list);
    return 0;
  }

  std::map<uint32_t, Value> values;
};

uint8_t* bytesOf(const char* text) {
  auto* bytes = static_cast<uint8_t*>(std::malloc(std::strlen(text)));
  std::copy_n(text, std::strlen(text), bytes);
  return bytes;
}

}  // namespace

/// Sends the first array to a stage and fills the second from it.
extern "C" JNIEXPORT void JNICALL Java_com_zarvo_qvs_transcoder_test_Marshalling_echo(JNIEnv* env, jclass,
                                                                                      jobjectArray sent,
                                                                                      jobjectArray asked) {
  EchoStage stage;
  ParameterArray(env, sent).set(stage);
  ParameterArray(env, asked).get(stage);
}

/// Reports a picture of 7x5 with that many timecode and ancillary records, the i-th with numbers that start
/// at 10 * i.
extern "C" JNIEXPORT jboolean JNICALL Java_com_zarvo_qvs_transcoder_test_Marshalling_report(
    JNIEnv* env, jclass, jobject frameInfo, jint timecodes, jint packets) {
  TranscoderVideoDecoderFrameInfo info;
  info.frameWidth = 7;
  info.frameHeight = 5;
  info.frameRate = 29.97;
  info.timecodeInfoCount = static_cast<uint32_t>(timecodes);
  for (uint32_t i = 0; i < info.timecodeInfo.size(); ++i) {
    info.timecodeInfo[i] = {10 * i,     10 * i + 1, 0xFFFFFFFFu, 10 * i + 3,
                            10 * i + 4, 10 * i + 5, 10 * i + 6,  10 * i + 7};
  }
  std::vector<VideoFrameAncillaryData> ancillary(static_cast<size_t>(packets));
  for (int i = 0; i < packets; ++i) {
    VideoFrameAncillaryData& packet = ancillary[static_cast<size_t>(i)];
    packet.did = 10 * i;
    packet.checksum = -1;
    packet.bufferLen = i == 0 ? 0 : VideoFrameAncillaryData::kWordsMax;
    for (uint32_t word = 0; word < packet.bufferLen; ++word) packet.buffer[word] = static_cast<int32_t>(word);
  }
  return reportDecode(env, frameInfo, info, ancillary) ? JNI_TRUE : JNI_FALSE;
}

/// Adds a packet of video, one without bytes that is passed over, one whose bytes are the Java array, and a
/// packet of audio.
extern "C" JNIEXPORT void JNICALL Java_com_zarvo_qvs_transcoder_test_Marshalling_packets(JNIEnv* env, jclass,
                                                                                         jobject list,
                                                                                         jbyteArray array) {
  EncodedVideoUnits video;
  video.list().emplace_back(bytesOf("video"), 5, 1ull << 40, -40, 3, true);
  video.list().emplace_back(nullptr, 5, 1, 1, true);
  video.list().emplace_back(nullptr, 3, 7, 1, false);
  video.list().back().setJBuffer(array);
  addPackets(env, list, video);
  EncodedAudioUnits audio;
  audio.list().emplace_back(bytesOf("sound"), 5, 48000, 2, 44100);
  addPackets(env, list, audio);
}
