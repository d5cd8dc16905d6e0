// The audio decoder classes against their libraries called directly on the same packets. One JSON line a
// codec: the median of the ratios of alternating passes, in CPU time of the process, and the speed against
// real time.
//
//   cmake --build build/release --target audio-decoders-bench && build/release/bench/audio-decoders-bench
#include <opus/opus.h>
#include <speex/speex.h>
#include <vorbis/codec.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <functional>

#include "support/AudioDecoderRun.h"
#include "support/CodedAudio.h"

namespace {

using namespace qvs;
using namespace qvs::test;

constexpr int kPairs = 41;
constexpr int kSeconds = 20;  // of sound in one pass

int16_t block[1 << 16];

double processSeconds() {
  timespec time;
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

double timeOf(const std::function<void()>& work) {
  const double start = processSeconds();
  for (int second = 0; second < kSeconds; ++second) work();
  return processSeconds() - start;
}

void compare(const char* codec, AudioFile file, const std::function<void(std::vector<uint8_t>&)>& direct) {
  AudioDecoderRun run(makeAudioDecoder(codec));
  if (!run.open(file)) return;
  const auto throughClass = [&] {
    for (auto& packet : file.packets) {
      run.decoder().decodeFrame(packet.bytes.data(), 0, static_cast<uint32_t>(packet.bytes.size()),
                                static_cast<uint64_t>(packet.timecodeMs), run.block());
    }
  };
  const auto throughLibrary = [&] {
    for (auto& packet : file.packets) direct(packet.bytes);
  };
  std::vector<double> ratios, speeds;
  for (int pair = 0; pair < kPairs; ++pair) {
    const double library = timeOf(throughLibrary), ours = timeOf(throughClass);
    ratios.push_back(ours / library);
    speeds.push_back(kSeconds / ours);
  }
  std::nth_element(ratios.begin(), ratios.begin() + kPairs / 2, ratios.end());
  std::nth_element(speeds.begin(), speeds.begin() + kPairs / 2, speeds.end());
  std::printf("{\"figure\": \"%s decode\", \"ratio\": %.3f, \"times real time\": %.0f}\n", codec,
              ratios[kPairs / 2], speeds[kPairs / 2]);
}

void compareOpus() {
  int error = 0;
  OpusDecoder* decoder = opus_decoder_create(48000, 2, &error);
  compare("opus", makeOpus(2), [&](std::vector<uint8_t>& packet) {
    if (opus_decode(decoder, packet.data(), static_cast<opus_int32>(packet.size()), block, 5760, 0) < 1)
      std::abort();
  });
  opus_decoder_destroy(decoder);
}

void compareSpeex() {
  void* state = speex_decoder_init(speex_lib_get_mode(SPEEX_MODEID_WB));
  SpeexBits bits;
  speex_bits_init(&bits);
  compare("speex", makeSpeex(2), [&](std::vector<uint8_t>& packet) {
    speex_bits_read_from(&bits, reinterpret_cast<char*>(packet.data()), static_cast<int>(packet.size()));
    for (int16_t* out = block; speex_decode_int(state, &bits, out) == 0; out += 320) {
    }
  });
  speex_bits_destroy(&bits);
  speex_decoder_destroy(state);
}

/// Samples as the library's own example converts them.
void takeVorbisAudio(vorbis_dsp_state& vd, int channels) {
  float** rows = nullptr;
  while (const int count = vorbis_synthesis_pcmout(&vd, &rows)) {
    for (int c = 0; c < channels; ++c) {
      for (int i = 0; i < count; ++i) {
        const int value = static_cast<int>(std::floor(rows[c][i] * 32767.f + .5f));
        block[i * channels + c] = static_cast<int16_t>(std::clamp(value, -32768, 32767));
      }
    }
    vorbis_synthesis_read(&vd, count);
  }
}

void compareVorbis() {
  AudioFile file = makeVorbis(44100, 2);
  vorbis_info vi;
  vorbis_comment vc;
  vorbis_dsp_state vd;
  vorbis_block vb;
  vorbis_info_init(&vi);
  vorbis_comment_init(&vc);
  const long lengths[] = {file.config[1], file.config[2], static_cast<long>(file.config.size())};
  uint8_t* header = &file.config[3];
  for (int i = 0; i < 3; header += lengths[i++]) {
    const long rest = static_cast<long>(file.config.data() + file.config.size() - header);
    ogg_packet packet{header, std::min(lengths[i], rest), i == 0, 0, 0, i};
    vorbis_synthesis_headerin(&vi, &vc, &packet);
  }
  vorbis_synthesis_init(&vd, &vi);
  vorbis_block_init(&vd, &vb);
  compare("vorbis", file, [&](std::vector<uint8_t>& bytes) {
    ogg_packet packet{bytes.data(), static_cast<long>(bytes.size()), 0, 0, -1, 3};
    if (vorbis_synthesis(&vb, &packet) == 0) vorbis_synthesis_blockin(&vd, &vb);
    takeVorbisAudio(vd, vi.channels);
  });
  vorbis_block_clear(&vb);
  vorbis_dsp_clear(&vd);
  vorbis_comment_clear(&vc);
  vorbis_info_clear(&vi);
}

}  // namespace

int main() {
  compareOpus();
  compareVorbis();
  compareSpeex();
  return 0;
}
