// Drives a session of an encoder plug-in and watches every byte and number that comes out of it.
#include "encoder/EncoderRun.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <map>
#include <set>

#include "common/CodecRow.h"
#include "common/ReferenceCodec.h"

namespace qvs::validator {
namespace {

constexpr uint32_t kRoom = QVS_VIDEO_ENCODER_FRAMES_MAX;
constexpr const char* kBorrowed = "a picture whose call has returned";
constexpr const char* kReadOnly = "a picture, to write it, which is borrowed to be read";
constexpr size_t kPastPictures = 64;
constexpr double kDecibels = 24;

template <typename T>
T* as(GuardedBytes& bytes) {
  return reinterpret_cast<T*>(bytes.data());
}

bool roundsTo(uint32_t coded, uint32_t asked) {
  return coded == asked || (asked % 2 != 0 && (coded == asked - 1 || coded == asked + 1));
}

}  // namespace

EncoderRun::EncoderRun(const EncoderUnderTest& plugin, const RunSettings& first)
    : subject(plugin),
      settings(first),
      arrays{{"the array of frames", kRoom * sizeof(void*)},
             {"the array of sizes", kRoom * sizeof(uint32_t)},
             {"the array of frame types", kRoom * sizeof(uint32_t)},
             {"the array of timecodes", kRoom * sizeof(uint64_t)},
             {"the array of timecode offsets", kRoom * sizeof(uint64_t)}},
      counter("the count of frames", sizeof(uint32_t)) {
  const pluginVideoEncoder& table = subject.table;
  if (const int32_t status = table.func_create(&session); status != 0 || session == nullptr) {
    complain("create gives status " + std::to_string(status) + (session == nullptr ? " and no session" : ""));
    return;
  }
  using A = CountingAllocator;
  if (table.func_setAllocator2 != nullptr) {
    QVS_VALIDATOR_CALL(*this, setAllocator2, &allocator, A::create, A::release, A::lock, A::unlock);
  } else {
    QVS_VALIDATOR_CALL(*this, setAllocator, &allocator, A::create, A::lock, A::unlock);
  }
  const CodecRow& codec = codecRow(subject.codec);
  QVS_VALIDATOR_CALL(*this, setCodecAndVersion, codec.id, codec.version);
  QVS_VALIDATOR_CALL(*this, createDone);
}

EncoderRun::~EncoderRun() {
  if (session != nullptr) subject.table.func_destroy(session);
}

int32_t EncoderRun::open(const RunSettings& changed) {
  settings = changed;
  index = 0;
  asked.clear();
  frames.clear();
  using Step = int32_t (*)(EncoderRun&);
  constexpr Step kSteps[] = {
      [](EncoderRun& it) { return QVS_VALIDATOR_CALL(it, setGPUID, -1); },
      [](EncoderRun& it) { return QVS_VALIDATOR_CALL(it, setDefaults, 0, 0); },
      [](EncoderRun& it) {
        return QVS_VALIDATOR_CALL(it, setFrameSize, it.settings.width, it.settings.height);
      },
      [](EncoderRun& it) { return QVS_VALIDATOR_CALL(it, setFrameRate, 1000.0 / kFrameTime); },
      [](EncoderRun& it) { return QVS_VALIDATOR_CALL(it, setBitrate, it.settings.bitRate); },
      [](EncoderRun& it) {
        return QVS_VALIDATOR_CALL(it, setKeyFrameFollow, it.settings.keyFrameFollow ? 1u : 0u);
      },
      [](EncoderRun& it) { return QVS_VALIDATOR_CALL(it, applyParameters); },
      [](EncoderRun& it) { return QVS_VALIDATOR_CALL(it, checkSettings); },
      [](EncoderRun& it) { return QVS_VALIDATOR_CALL(it, initialize); }};
  for (const Step step : kSteps) {
    if (const int32_t status = step(*this); status != 0) return status;
  }
  return 0;
}

int32_t EncoderRun::add(bool key) {
  if (!complaint.empty()) return kGivenUp;
  const uint32_t stride = settings.width + settings.slack;
  past.push_back(std::make_unique<GuardedBytes>("a picture", blockSize(stride, settings.height)));
  GuardedBytes& block = *past.back();
  toBlock(pattern(settings.width, settings.height, index, settings.seed), stride, block.data());
  block.makeReadOnly(kReadOnly);
  const uint32_t frameType = key ? QVS_FRAME_KEY : QVS_FRAME_UNKNOWN;
  const int32_t status =
      subject.table.func_addFrame2 != nullptr ? addBlock(block, frameType) : addRecord(block, frameType);
  block.revoke(kBorrowed);
  if (past.size() > kPastPictures) past.pop_front();
  if (status == 0) asked.push_back({static_cast<int64_t>(settings.firstTimecode + kFrameTime * index), key});
  ++index;
  return status;
}

int32_t EncoderRun::add(uint32_t pictures) {
  for (uint32_t i = 0; i < pictures; ++i) {
    if (const int32_t status = add(); status != 0) return status;
  }
  return 0;
}

void EncoderRun::resetArrays() {
  for (GuardedBytes& array : arrays) memset(array.data(), 0xEE, array.size());
  *as<uint32_t>(counter) = kRoom;
}

int32_t EncoderRun::addBlock(GuardedBytes& block, uint32_t frameType) {
  resetArrays();
  const int32_t status = QVS_VALIDATOR_CALL(
      *this, addFrame2, block.data(), settings.width + settings.slack, settings.width, settings.height,
      frameType, settings.firstTimecode + kFrameTime * index, as<void*>(arrays[0]), as<uint32_t>(arrays[1]),
      as<uint32_t>(arrays[2]), as<uint64_t>(arrays[3]), as<uint64_t>(arrays[4]), as<uint32_t>(counter));
  takeArrays(status);
  return status;
}

// For plug-ins without addFrame2.
int32_t EncoderRun::addRecord(GuardedBytes& block, uint32_t frameType) {
  PluginVideoFrameBuffer frame{};
  frame.buffer = block.data();
  frame.stride = settings.width + settings.slack;
  frame.width = settings.width;
  frame.height = settings.height;
  frame.frameType = frameType;
  frame.timecode = settings.firstTimecode + kFrameTime * index;
  memcpy(&frame.four_cc, "YV12", sizeof frame.four_cc);
  frame.locations = QVS_LOCATION_SYSTEM_MEMORY;
  GuardedBytes records("the array of frame records", kRoom * sizeof(VideoFrameEncodedData));
  memset(records.data(), 0, records.size());
  PluginVideoEncoderOutput output{as<VideoFrameEncodedData>(records), 0, kRoom};
  const int32_t status = QVS_VALIDATOR_CALL(*this, addFrame3, &frame, &output);
  if (status == 0 && output.frameCount > kRoom) {
    complain("addFrame3 tells " + std::to_string(output.frameCount) + " frames where " +
             std::to_string(kRoom) + " fit");
  }
  for (uint32_t i = 0; status == 0 && complaint.empty() && i < output.frameCount; ++i) {
    const VideoFrameEncodedData& it = output.frames[i];
    take(it.buffer, {{}, it.frameType, it.timecode, it.timecodeOffset}, it.len);
  }
  return status;
}

void EncoderRun::takeArrays(int32_t status) {
  for (const GuardedBytes& array : arrays) {
    if (!array.slackIntact()) return complain("writes in front of an output array");
  }
  const uint32_t given = *as<uint32_t>(counter);
  if (status != 0 || !complaint.empty()) return;
  if (given > kRoom) {
    return complain("tells " + std::to_string(given) + " frames where " + std::to_string(kRoom) + " fit");
  }
  for (uint32_t i = 0; i < given; ++i) {
    take(as<void*>(arrays[0])[i],
         {{},
          as<uint32_t>(arrays[2])[i],
          as<uint64_t>(arrays[3])[i],
          static_cast<int64_t>(as<uint64_t>(arrays[4])[i])},
         as<uint32_t>(arrays[1])[i]);
  }
}

void EncoderRun::take(void* array, CodedFrame frame, uint32_t size) {
  if (array == nullptr) return complain("hands out a frame without bytes");
  std::string wrong;
  if (subject.table.func_setAllocator2 != nullptr || subject.table.func_setAllocator != nullptr) {
    frame.bytes = allocator.take(array, size, wrong);
  } else {
    const auto* bytes = static_cast<const uint8_t*>(array);
    frame.bytes.assign(bytes, bytes + size);
    free(array);
  }
  if (!wrong.empty()) return complain(wrong);
  frames.push_back(std::move(frame));
}

int32_t EncoderRun::drain() {
  if (subject.table.func_drain == nullptr) return 0;
  for (uint32_t before = 0; complaint.empty(); before = static_cast<uint32_t>(frames.size())) {
    if (frames.size() > asked.size()) complain("drain gives more frames than pictures went in");
    resetArrays();
    const int32_t status = QVS_VALIDATOR_CALL(*this, drain, as<void*>(arrays[0]), as<uint32_t>(arrays[1]),
                                              as<uint32_t>(arrays[2]), as<uint64_t>(arrays[3]),
                                              as<uint64_t>(arrays[4]), as<uint32_t>(counter));
    takeArrays(status);
    if (status != 0) return status;
    if (*as<uint32_t>(counter) == 0 || frames.size() == before) break;
  }
  return 0;
}

void EncoderRun::close() {
  if (session == nullptr) return;
  const int32_t status = QVS_VALIDATOR_CALL(*this, destroy);
  session = nullptr;
  if (status != 0) complain("destroy gives " + statusText(status));
  if (const std::string wrong = allocator.wrong(); !wrong.empty()) complain(wrong + " behind destroy");
}

std::string EncoderRun::problem() {
  if (subject.table.func_getProblem == nullptr || session == nullptr) return {};
  GuardedBytes text("the room for getProblem's text", 256);
  memset(text.data(), 'x', text.size());
  subject.table.func_getProblem(session, as<char>(text), 256);
  if (memchr(text.data(), 0, text.size()) == nullptr) {
    complain("getProblem leaves no zero at the end");
    return {};
  }
  return as<char>(text);
}

std::string EncoderRun::statusText(int32_t status) {
  if (!complaint.empty()) return complaint;
  const std::string words = problem();
  return "status " + std::to_string(status) + (words.empty() ? "" : " (" + words + ")");
}

std::string EncoderRun::wrongAnswers() const {
  if (!complaint.empty()) return complaint;
  std::multiset<int64_t> open;
  std::map<int64_t, bool> key;
  for (const Asked& picture : asked) {
    open.insert(picture.time);
    key[picture.time] = picture.key;
  }
  const CodedFrame* last = nullptr;
  for (const CodedFrame& frame : frames) {
    const std::string who = "the frame of " + std::to_string(frame.presentation()) + " ms ";
    if (frame.offset < 0)
      return who + "is to be shown before it is decoded: offset " + std::to_string(frame.offset);
    if (last != nullptr && frame.timecode <= last->timecode) {
      return who + "has the timecode " + std::to_string(frame.timecode) + " behind " +
             std::to_string(last->timecode);
    }
    last = &frame;
    const auto found = open.find(frame.presentation());
    if (found == open.end()) return who + "answers no picture, or one that is answered already";
    open.erase(found);
    if (key[frame.presentation()] && frame.type != QVS_FRAME_KEY)
      return who + "is no key frame, which was asked for";
    if (settings.keyFrameFollow && !key[frame.presentation()] && frame.type == QVS_FRAME_KEY) {
      return who + "is a key frame, which nobody asked for";
    }
  }
  if (!frames.empty() && frames.front().type != QVS_FRAME_KEY) return "the first frame is no key frame";
  // Without drain an encoder may keep what it holds back.
  if (!open.empty() && subject.table.func_drain != nullptr) {
    return std::to_string(open.size()) + " pictures are not answered, the first that of " +
           std::to_string(*open.begin()) + " ms";
  }
  return {};
}

std::string EncoderRun::wrongStream() const {
  if (std::string wrong = wrongAnswers(); !wrong.empty()) return wrong;
  for (const CodedFrame& frame : frames) {
    const std::string wrong = wrongBytes(subject.codec, frame);
    if (!wrong.empty()) return "the frame of " + std::to_string(frame.presentation()) + " ms " + wrong;
  }
  if (subject.codec == kUnknownCodec) return {};
  std::string error;
  const auto pictures = decodeForReference({subject.codec, {}, frames}, error);
  if (!error.empty()) return error;
  if (pictures.size() != frames.size()) {
    return std::to_string(frames.size()) + " frames decode to " + std::to_string(pictures.size()) +
           " pictures";
  }
  for (const PlainPicture& picture : pictures) {
    const auto number = static_cast<uint64_t>(picture.time) - settings.firstTimecode;
    // 4:2:0 has even sizes only in some codecs, which then leave out or repeat the last of an odd one.
    const bool even = roundsTo(picture.width, settings.width) && roundsTo(picture.height, settings.height);
    const PlainPicture wanted =
        pattern(even ? picture.width : settings.width, even ? picture.height : settings.height,
                static_cast<uint32_t>(number / kFrameTime), settings.seed);
    const std::string wrong = difference(picture, wanted, kDecibels);
    if (!wrong.empty()) return "the decoded picture of " + std::to_string(picture.time) + " ms " + wrong;
  }
  return {};
}

}  // namespace qvs::validator
