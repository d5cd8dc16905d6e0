// Configuration records into the decoders. Input: one byte for the codec, then the record; a second record
// and a unit behind it show that the decoder goes on.

#include "DecoderChoice.h"
#include "FuzzInput.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace qvs;
  fuzz::FuzzInput input(data, size);
  const auto decoder = fuzz::makeDecoder(input.take<uint8_t>());
  // Own blocks to the byte, so that a sanitizer sees a read behind them.
  const auto bytes = input.bytes(input.size());
  std::vector<uint8_t> record(bytes.begin(), bytes.end());
  const auto len = static_cast<uint32_t>(record.size());
  decoder->decodeCodecConfig(record.data(), 0, len);
  decoder->decodeCodecConfig(record.data(), len / 2, len - len / 2);
  decoder->addFrame(record.data(), 0, len, 40, 1);
  uint32_t flags = 0;
  for (int step = 0; step < 16 && decoder->isFrameDone() == 0; ++step) decoder->decode(&flags);
  return 0;
}
