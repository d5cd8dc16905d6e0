// An AAC library that holds frames back, in place of the one that doesn't: blocks keep their frames'
// timecodes.

#include <gtest/gtest.h>
#include <mc_dec_aac.h>

#include <cstring>

#include "audio/AudioDecoderAAC.h"
#include "frames/AudioSampleBuffer.h"

namespace {

/// What the library is to do; one decoder at a time.
struct Script {
  uint32_t delay = 1;     ///< frames
  uint32_t rate = 44100;  ///< of the header
  bool openFails = false;
  bool initFails = false;
  bool headerIsLate = false;  ///< it comes with the first block
  bool damaged = false;       ///< the next frame is refused
} script;

struct LateLibrary {
  bufstream_tt record{};
  aud_bfr_tt* target = nullptr;
  mc_aud_frame_hdr_t header{};
  const mc_aud_frame_hdr_t* known = nullptr;
  uint32_t held = 0;
  uint32_t state = 0;
};

LateLibrary& of(bufstream_tt* stream) {
  return *static_cast<LateLibrary*>(stream->Buf_IO_struct);
}

uint32_t copyBytes(bufstream_tt* stream, uint8_t*, uint32_t size) {
  LateLibrary& library = of(stream);
  library.header = {script.rate, 2, 128000, 4, 0, 1024};
  if (!script.headerIsLate || library.held >= script.delay) library.known = &library.header;
  library.state = 0;
  if (library.target == nullptr) return size;
  library.target->bfr_size = 0;
  if (script.damaged) {
    library.state = PARSE_ERR_FLAG;
  } else if (library.held < script.delay) {
    ++library.held;
  } else {
    library.target->bfr_size = 4096;
    std::memset(library.target->bfr, 1, 4096);
    library.state = PARSE_DONE_FLAG;
  }
  return size;
}

uint32_t auxInfo(bufstream_tt* stream, uint32_t, uint32_t code, void* info, uint32_t size) {
  LateLibrary& library = of(stream);
  switch (code) {
    case PARSE_FRAMES:
      EXPECT_EQ(size, sizeof(aud_bfr_tt));
      library.target = static_cast<aud_bfr_tt*>(info);
      return 0;
    case GET_PARSE_STATE:
      return library.state;
    case GET_PIC_PARAMSP:
      std::memcpy(info, &library.known, sizeof library.known);
      return 0;
    case INIT_FRAME_PARSER:
      EXPECT_EQ(size, sizeof(aac_decoder_config));
      return script.initFails ? 1 : 0;
    default:
      return 0;
  }
}

}  // namespace

extern "C" bufstream_tt* createDecoderAAC(const callbacks_t* callbacks, uint32_t, uint32_t) {
  EXPECT_NE(callbacks->malloc, nullptr);
  if (script.openFails) return nullptr;
  auto* library = new LateLibrary;
  library->record.copybytes = copyBytes;
  library->record.auxinfo = auxInfo;
  library->record.done = [](bufstream_tt*, int32_t) {};
  library->record.free = [](bufstream_tt* stream) { delete &of(stream); };
  library->record.Buf_IO_struct = library;
  return &library->record;
}

namespace qvs {
namespace {

class LateAacLibrary : public testing::Test {
 protected:
  LateAacLibrary() {
    script = {};
    uint8_t config[] = {0x12, 0x10};
    decoder.decodeCodecConfig(config, 0, 2);
    decoder.initialize();
    out.allocBuffer(1024, 2, 44100);
  }
  uint32_t feed(uint64_t timecode) {
    uint8_t packet[20] = {};
    return decoder.decodeFrame(packet, 0, sizeof packet, timecode, out);
  }

  AudioDecoderAAC decoder;
  AudioSampleBuffer out;
};

TEST_F(LateAacLibrary, GivesEachBlockItsOwnFramesTimecode) {
  EXPECT_EQ(feed(1000), 0u);
  EXPECT_EQ(out.getSampleCount(), 0u) << "nothing yet";
  EXPECT_EQ(out.getTimecode(), 0u);
  for (uint64_t i = 0; i < 5; ++i) {
    EXPECT_EQ(feed(1023 + i * 23), 0u);
    EXPECT_EQ(out.getSampleCount(), 1024u);
    EXPECT_EQ(out.getTimecode(), 44100 + i * 1024);
  }
  EXPECT_EQ(feed(9000), 0u);
  EXPECT_EQ(out.getTimecode(), 44100u + 5 * 1024) << "the jump belongs to the frame still held";
  EXPECT_EQ(feed(9023), 0u);
  EXPECT_EQ(out.getTimecode(), 9000u * 441 / 10);
}

TEST_F(LateAacLibrary, KeepsTheOrderOverADamagedFrame) {
  feed(1000);
  script.damaged = true;
  EXPECT_EQ(feed(1023), 0xFFFFFFFFu);
  EXPECT_EQ(out.getSampleCount(), 0u);
  script.damaged = false;
  EXPECT_EQ(feed(1046), 0u);
  EXPECT_EQ(out.getTimecode(), 44100u) << "the block of the first frame";
}

TEST_F(LateAacLibrary, StartsAnewWhereTheRateChanges) {
  feed(1000);
  feed(1023);
  script.rate = 48000;
  EXPECT_EQ(feed(1046), 0u);
  EXPECT_EQ(out.getSampleRate(), 48000u);
  EXPECT_EQ(out.getTimecode(), 48u * 1046);
}

TEST_F(LateAacLibrary, TakesTheFormatThatComesWithTheBlock) {
  script.headerIsLate = true;
  feed(1000);
  EXPECT_EQ(feed(1023), 0u);
  EXPECT_EQ(out.getSampleCount(), 1024u);
  EXPECT_EQ(out.getSampleRate(), 44100u);
  EXPECT_EQ(out.getTimecode(), 44100u);
}

TEST_F(LateAacLibrary, FailuresOfTheLibraryAreTold) {
  uint8_t packet[20] = {};
  script.initFails = true;
  EXPECT_EQ(decoder.decodeFirstFrame(packet, 0, sizeof packet), 0xFFFFFFFFu);
  EXPECT_FALSE(decoder.isFirstFrameDecoded());
  script.openFails = true;
  EXPECT_EQ(decoder.initialize(), 0xFFFFFFFFu);
  EXPECT_EQ(feed(0), 0xFFFFFFFFu);
}

}  // namespace
}  // namespace qvs
