// The audio calls of a session, driven the way a server drives it, without a virtual machine: Opus in,
// resampled for one rendition, AAC and Opus out. Prints what came out as one JSON line; a build without the
// stages says so there.
//
//   qvs-bench-audio-session INPUT.opus [--memory]

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <memory>
#include <string_view>

#include "audio/AudioResampler.h"
#include "audio/AudioSpec.h"
#include "audio/IAudioEncoder.h"
#include "audio/OpusFile.h"
#include "contract/StageIds.h"
#include "frames/AudioFrameEncoded.h"
#include "session/TranscoderSession.h"

namespace qvs::bench {
namespace {

constexpr uint32_t kDefault = 0;  // implementation
constexpr uint32_t kDecoderBlocks = 1;

[[noreturn]] void leave(const char* what) {
  std::printf("{\"missing\": \"%s\"}\n", what);
  std::exit(0);
}

void check(uint32_t status, const char* what) {
  if (status == 0) return;
  std::fprintf(stderr, "qvs-bench-audio-session: %s gave %u\n", what, status);
  std::exit(1);
}

#define QVS_BENCH_CALL(call) check(session.call, #call)

struct Rendition {
  const char* name;
  uint32_t codec;
  uint32_t rate;
  uint32_t bitrate;
};

constexpr Rendition kRenditions[] = {{"aac", kAudioCodecAAC, kAacRate, kAacBitrate},
                                     {"opus", kAudioCodecOpus, kSourceRate, kOpusBitrate}};

class SessionAudio {
 public:
  explicit SessionAudio(const OpusFile& file) {
    session.initialize();
    if (session.audioDecoderCreate(0, kAudioCodecOpus, kDefault) != 0) leave("the Opus decoder");
    QVS_BENCH_CALL(audioDecoderInitialize());
    Packet head = file.head;
    QVS_BENCH_CALL(audioDecoderDecodeCodecConfig(head.data(), 0, static_cast<uint32_t>(head.size())));
    Packet first = file.packets[0];
    QVS_BENCH_CALL(audioDecoderDecodeFirstFrame(first.data(), 0, static_cast<uint32_t>(first.size())));
    QVS_BENCH_CALL(audioDecoderBuffersCreate(kDecoderBlocks));
    QVS_BENCH_CALL(audioDecoderBuffersAllocate(kSourceRate * kPacketMs / 1000, kChannels, kSourceRate));
    for (const Rendition& rendition : kRenditions) add(rendition);
  }

  void transcode(const Packet& packet) {
    // A server's call copies the packet out of its virtual machine; so is it copied here.
    const auto size = static_cast<uint32_t>(packet.size());
    const uint32_t room = session.getAudioDecodeFrameHeaderSize();
    uint8_t* copy = session.getAudioDecoderWorkingBuffer(room + size);
    std::memcpy(copy + room, packet.data(), size);
    QVS_BENCH_CALL(audioDecoderDecodeFrame(copy, room, size, timecode, 0));
    QVS_BENCH_CALL(audioDecoderResampleFrame(timecode, 0));
    for (uint32_t i = 0; i < std::size(kRenditions); ++i) encode(i);
    timecode += kPacketMs;
  }

  void print() const {
    std::printf("{\"aac_bytes\": %zu, \"opus_bytes\": %zu, \"aac_packets\": %zu, \"opus_packets\": %zu}\n",
                bytes[0], bytes[1], packets[0], packets[1]);
  }

 private:
  void add(const Rendition& rendition) {
    int32_t added = -1;
    if (session.audioEncoderAdd(rendition.codec, kDefault, &added) != 0) {
      leave(rendition.codec == kAudioCodecAAC ? "the AAC encoder" : "the Opus encoder");
    }
    const auto encoder = static_cast<uint32_t>(added);
    QVS_BENCH_CALL(audioEncoderSetSampleRate(encoder, rendition.rate));
    QVS_BENCH_CALL(audioEncoderSetChannels(encoder, kChannels));
    QVS_BENCH_CALL(audioEncoderSetBitrate(encoder, rendition.bitrate));
    QVS_BENCH_CALL(audioEncoderInitialize(encoder));
    if (rendition.rate == kSourceRate) return;
    auto resampler = std::make_unique<AudioResampler>();
    resampler->setTargetSampleRate(rendition.rate);
    resampler->setTargetChannels(kChannels);
    session.getAudioEncoder(encoder)->setAudioResampler(resampler.release());
  }

  void encode(uint32_t rendition) {
    QVS_BENCH_CALL(audioEncoderEncodeBufferStart(rendition, 0));
    session.audioEncoderResampleFrame(rendition, 0);  // fails where there is no resampler, as a server knows
    encoded.clear();
    QVS_BENCH_CALL(audioEncoderAddSampleBuffer(rendition, 0, encoded));
    for (const AudioFrameEncoded& frame : encoded) {
      bytes[rendition] += frame.getLen();
      ++packets[rendition];
    }
  }

  TranscoderSession session;
  EncodedAudioUnits encoded;
  uint64_t timecode = 0;  ///< milliseconds
  size_t bytes[2] = {};
  size_t packets[2] = {};
};

double residentMiB() {
  std::ifstream statm("/proc/self/statm");
  uint64_t pages = 0, resident = 0;
  statm >> pages >> resident;
  return static_cast<double>(resident) * 4096 / (1 << 20);
}

/// A resampler with some sound behind it.
std::unique_ptr<AudioResampler> usedResampler() {
  auto resampler = std::make_unique<AudioResampler>();
  resampler->setTargetSampleRate(kSourceRate);
  resampler->setTargetChannels(kChannels);
  AudioSampleBuffer in, out;
  in.allocBuffer(kAacFrame, kChannels, kAacRate);
  for (uint64_t block = 0; block < 500; ++block) {
    in.setTimecode(block * kAacFrame);
    resampler->resample(in, out);
  }
  return resampler;
}

/// Resident memory that each step adds, in the order in which a process would take them.
void printMemory(const OpusFile& file) {
  double before = residentMiB();
  const auto grown = [&](const char* name) {
    const double now = residentMiB();
    std::printf("{\"name\": \"%s\", \"value\": %.3f}\n", name, now - before);
    std::fflush(stdout);
    before = residentMiB();
  };
  const auto first = usedResampler();
  grown("resample.first_stream_mib");
  const auto second = usedResampler();
  grown("resample.further_stream_mib");
  const auto transcodeSome = [&] {
    auto session = std::make_unique<SessionAudio>(file);
    for (size_t i = 0; i < std::min<size_t>(file.packets.size(), 500); ++i)
      session->transcode(file.packets[i]);
    return session;
  };
  const auto one = transcodeSome();
  grown("audio_road.first_stream_mib");
  const auto two = transcodeSome();
  grown("audio_road.further_stream_mib");
}

}  // namespace
}  // namespace qvs::bench

int main(int argc, char** argv) {
  using namespace qvs::bench;
  if (argc < 2) {
    std::fprintf(stderr, "usage: %s INPUT.opus [--memory]\n", argv[0]);
    return 2;
  }
  const OpusFile file(argv[1]);
  if (argc > 2 && std::string_view(argv[2]) == "--memory") {
    printMemory(file);
    return 0;
  }
  SessionAudio session(file);
  for (const Packet& packet : file.packets) session.transcode(packet);
  session.print();
  return 0;
}
