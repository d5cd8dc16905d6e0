// Coded sound and configurations into one audio decoder, named by QVS_FUZZ_CODEC. Input: the room of the
// block in two bytes, in samples; then steps, each one byte that chooses it and its bytes behind their length
// in two bytes.

#include "FuzzInput.h"
#include "support/AudioDecoderRun.h"

namespace {

using namespace qvs;

constexpr int kMostSteps = 48;

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzz::FuzzInput input(data, size);
  test::AudioDecoderRun run(test::makeAudioDecoder(QVS_FUZZ_CODEC));
  IAudioDecoder& decoder = run.decoder();
  const uint32_t head = decoder.getDecodeFrameHeaderSize();
  decoder.setDecodeParameters(0);
  decoder.initialize();
  run.block().allocBuffer(input.take<uint16_t>(), 1, 8000);
  for (uint64_t step = 0; step < kMostSteps && !input.empty(); ++step) {
    const auto action = input.take<uint8_t>();
    const auto taken = input.bytes(input.take<uint16_t>());
    std::vector<uint8_t> bytes(head);
    bytes.insert(bytes.end(), taken.begin(), taken.end());
    const auto len = static_cast<uint32_t>(bytes.size());
    switch (action % 8) {
      case 1:
        decoder.decodeCodecConfig(bytes.data(), head, len - head);
        break;
      case 2:
        decoder.decodeFirstFrame(bytes.data(), 0, len);
        break;
      case 3:
        decoder.resetDecodedFrameState();
        break;
      case 4:
        decoder.close();
        break;
      case 5:
        decoder.initialize();
        break;
      case 6:
        decoder.setParameterValue(taken.size() % 2, static_cast<int64_t>(taken.size() / 2));
        break;
      default:
        run.feed(taken, step * 20);
    }
    // What a server reads of a block lies in it.
    const AudioSampleBuffer& block = run.block();
    if (uint64_t{2} * block.getChannels() * block.getSampleCount() > block.getLen()) __builtin_trap();
  }
  return 0;
}
