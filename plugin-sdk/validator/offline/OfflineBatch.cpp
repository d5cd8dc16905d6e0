// Drives a session of an off-line plug-in and watches what comes out of it.
#include "offline/OfflineBatch.h"

#include <algorithm>
#include <cstring>

#include "common/CodecRow.h"

namespace qvs::validator {
namespace {

constexpr uint32_t kCodec = 7;  ///< the transcoder's number of H.264
constexpr uint32_t kHeld = 50;  ///< the room's rule: two for each frame and for so many that were held
constexpr uint8_t kDelimiter[] = {0, 0, 0, 1, 9, 0x30};
constexpr uint8_t kDelimiterOfKey[] = {0, 0, 0, 1, 9, 0x10};
constexpr double kDecibels = 25;

/// The sets of an AVC record behind start codes.
std::vector<uint8_t> setsOf(const std::vector<uint8_t>& record) {
  std::vector<uint8_t> sets;
  size_t at = 5;
  for (const uint8_t mask : {uint8_t{0x1F}, uint8_t{0xFF}}) {
    if (at >= record.size()) break;
    for (int left = record[at++] & mask; left > 0 && at + 2 <= record.size(); --left) {
      const size_t size = std::min<size_t>(size_t{record[at]} << 8 | record[at + 1], record.size() - at - 2);
      sets.insert(sets.end(), {0, 0, 0, 1});
      const auto from = record.begin() + static_cast<ptrdiff_t>(at) + 2;
      sets.insert(sets.end(), from, from + static_cast<ptrdiff_t>(size));
      at += 2 + size;
    }
  }
  return sets;
}

}  // namespace

OfflineBatch::OfflineBatch(const OfflineUnderTest& plugin)
    : subject(plugin), header(setsOf(plugin.clip.config)) {
  const pluginVODTranscoder& table = subject.table;
  enter("create");
  if (const int32_t status = table.func_create(&session); status != 0 || session == nullptr) {
    complain("create gives status " + std::to_string(status) + (session == nullptr ? " and no session" : ""));
    return;
  }
  using A = CountingAllocator;
  if (table.func_setAllocator2 != nullptr) {
    enter("setAllocator2");
    table.func_setAllocator2(session, &allocator, A::create, A::release, A::lock, A::unlock);
  } else if (table.func_setAllocator != nullptr) {
    enter("setAllocator");
    table.func_setAllocator(session, &allocator, A::create, A::lock, A::unlock);
  } else {
    complain("takes no allocator");
  }
}

VODTranscoderVideoSettings OfflineBatch::settings() {
  VODTranscoderVideoSettings wanted{};
  wanted.videoCodec = kCodec;
  wanted.videoGPUID = -1;
  wanted.videoWidth = subject.wanted.empty() ? 0 : subject.wanted[0].width;
  wanted.videoHeight = subject.wanted.empty() ? 0 : subject.wanted[0].height;
  wanted.videoBitrate = 4'000'000;
  wanted.videoFrameRate = 25;
  wanted.videoHeader = header.data();
  wanted.videoHeaderLen = static_cast<uint32_t>(header.size());
  wanted.vodPacketsIndexCodecConfig = -1;
  return wanted;
}

int32_t OfflineBatch::transcode(std::vector<CodedFrame> frames, uint32_t room) {
  std::vector<VideoFrameEncodedData> in(frames.size());
  for (size_t i = 0; i < frames.size(); ++i) {
    CodedFrame& frame = frames[i];
    const bool key = frame.type == QVS_FRAME_KEY;
    std::vector<uint8_t> head = key ? std::vector(std::begin(kDelimiterOfKey), std::end(kDelimiterOfKey))
                                    : std::vector(std::begin(kDelimiter), std::end(kDelimiter));
    if (key) head.insert(head.end(), header.begin(), header.end());
    const std::vector<uint8_t> units = lengthsToStartCodes(frame.bytes);
    head.insert(head.end(), units.begin(), units.end());
    frame.bytes = std::move(head);
    in[i].buffer = frame.bytes.data();
    in[i].len = static_cast<uint32_t>(frame.bytes.size());
    in[i].timecode = frame.timecode;
    in[i].timecodeOffset = frame.offset;
    in[i].frameType = frame.type;
    in[i].vodPacketsIndex = kFirstIndex + static_cast<int32_t>(i);
  }
  const auto count = static_cast<uint32_t>(in.size());
  if (room == 0) room = (count + kHeld) * 2;
  GuardedBytes memory("the array of the frames that come out", room * sizeof(VideoFrameEncodedData));
  memset(memory.data(), 0, memory.size());
  auto* out = reinterpret_cast<VideoFrameEncodedData*>(memory.data());
  VODTranscoderVideoSettings wanted = settings();
  told = room;
  enter("transcode");
  const int32_t status = subject.table.func_transcode(session, &wanted, in.data(), count, out, &told);
  enter(nullptr);
  if (told > room) complain("tells " + std::to_string(told) + " frames in room for " + std::to_string(room));
  for (uint32_t i = 0; i < std::min(told, room); ++i) {
    CodedFrame frame{{}, out[i].frameType, out[i].timecode, out[i].timecodeOffset};
    std::string wrong;
    frame.bytes = allocator.take(out[i].jbuffer, out[i].len, wrong);
    complain(wrong);
    if (!made.emplace(out[i].vodPacketsIndex, frame).second)
      complain("gives two pictures one packet's index");
    inOrder.push_back(std::move(frame));
  }
  return status;
}

int32_t OfflineBatch::configure(std::vector<uint8_t>& sets) {
  VODTranscoderVideoSettings wanted = settings();
  VideoFrameEncodedData frame{};
  enter("getCodecConfig");
  const int32_t status = subject.table.func_getCodecConfig(session, &wanted, &frame);
  enter(nullptr);
  std::string wrong;
  if (status == 0) sets = allocator.take(frame.jbuffer, frame.len, wrong);
  complain(wrong);
  return status;
}

void OfflineBatch::close() {
  if (session == nullptr) return;
  enter("destroy");
  subject.table.func_destroy(session);
  enter(nullptr);
  session = nullptr;
  complain(allocator.wrong());
}

std::string OfflineBatch::wrongPictures() const {
  const std::vector<CodedFrame>& frames = subject.clip.frames;
  if (made.size() != frames.size())
    return "makes " + std::to_string(made.size()) + " pictures of " + std::to_string(frames.size());
  for (size_t i = 0; i < frames.size(); ++i) {
    const auto found = made.find(kFirstIndex + static_cast<int32_t>(i));
    if (found == made.end()) return "gives no picture the index of packet " + std::to_string(i);
    if (found->second.presentation() != frames[i].presentation())
      return "shows the picture of packet " + std::to_string(i) + " at another time";
    if (std::string wrong = wrongBytes(kH264, found->second); !wrong.empty()) return wrong;
  }
  Clip coded;
  coded.codec = kH264;
  coded.frames = inOrder;
  std::string error;
  const std::vector<PlainPicture> got = decodeForReference(coded, error);
  if (!error.empty()) return "writes what libavcodec refuses: " + error;
  if (got.size() != subject.wanted.size())
    return "writes " + std::to_string(got.size()) + " pictures that can be decoded";
  for (size_t i = 0; i < got.size(); ++i) {
    if (got[i].width != subject.wanted[i].width || got[i].height != subject.wanted[i].height)
      return "makes pictures of another size";
    if (std::string wrong = difference(got[i], subject.wanted[i], kDecibels); !wrong.empty())
      return "picture " + std::to_string(i) + ": " + wrong;
  }
  return {};
}

}  // namespace qvs::validator
