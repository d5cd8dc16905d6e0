// An H.264 encoder plug-in over libx264 that fails as a script says; it takes the file name of a card's plug-in.
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <deque>
#include <fstream>
#include <map>
#include <memory>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include <x264.h>

#include "EncoderSession.h"

namespace qvs::plugins {
namespace {

/// Words of the file that QVS_FAULTY_ENCODER names, as "error=40 delay=3": what happens, and at which picture.
///
///   refuse      it does not open
///   error, hang the call of that picture, counted from 1, and of those behind it
///   late        the call of that picture takes a second
///   swallow     from that picture on none is answered
///   delay       so many pictures are held back until drained
///   bframes     in a row
///   baseline    the stream's profile is that instead of High
std::map<std::string, int> readScript() {
  std::map<std::string, int> script;
  const char* path = std::getenv("QVS_FAULTY_ENCODER");
  std::ifstream file(path != nullptr ? path : "");
  for (std::string word; file >> word;) {
    const size_t equals = word.find('=');
    script[word.substr(0, equals)] = equals == std::string::npos ? 1 : std::atoi(word.c_str() + equals + 1);
  }
  return script;
}

class FaultyEncoder final : public EncoderSession {
 public:
  int32_t open() override {
    script = readScript();
    if (script.count("refuse") != 0) return fail(QVS_PLUGIN_INIT_ENCODER, "told to refuse");
    x264_param_t settings;
    x264_param_default_preset(&settings, "veryfast", "zerolatency");
    settings.i_threads = 1;
    settings.i_log_level = X264_LOG_NONE;
    settings.i_width = static_cast<int>(common.width);
    settings.i_height = static_cast<int>(common.height);
    settings.i_fps_num = static_cast<uint32_t>(common.frameRate * 1000);
    settings.i_fps_den = settings.i_timebase_den = 1000;
    settings.i_timebase_num = 1;
    settings.i_keyint_max = X264_KEYINT_MAX_INFINITE;
    settings.i_scenecut_threshold = 0;
    settings.i_bframe = script["bframes"];
    settings.i_bframe_adaptive = X264_B_ADAPT_NONE;
    settings.rc.i_rc_method = X264_RC_ABR;
    settings.rc.i_bitrate = static_cast<int>(common.bitRate / 1000);
    settings.b_repeat_headers = 1;
    settings.b_annexb = 0;
    if (script.count("baseline") != 0) x264_param_apply_profile(&settings, "baseline");
    encoder.reset(x264_encoder_open(&settings));
    return encoder ? QVS_PLUGIN_OK : fail(QVS_PLUGIN_INIT_ENCODER, "x264_encoder_open");
  }

  int32_t encode(const Picture& picture) override {
    ++pictures;
    while (isDue("hang")) pause();
    if (script.count("late") != 0 && script["late"] == pictures) sleep(1);
    if (isDue("error")) return fail(QVS_PLUGIN_INIT_ENCODER, "told to fail");
    x264_picture_t in;
    x264_picture_init(&in);
    in.img.i_csp = X264_CSP_I420;
    in.img.i_plane = 3;
    const uint8_t* planes[] = {picture.y, picture.u, picture.v};
    for (int i = 0; i < 3; ++i) {
      in.img.plane[i] = const_cast<uint8_t*>(planes[i]);
      in.img.i_stride[i] = static_cast<int>(i == 0 ? picture.stride : picture.chromaStride);
    }
    in.i_type = picture.key ? X264_TYPE_IDR : X264_TYPE_AUTO;
    in.i_pts = static_cast<int64_t>(picture.timecode);
    code(&in);
    giveOut(static_cast<size_t>(script["delay"]));
    return QVS_PLUGIN_OK;
  }

  int32_t drain() override {
    while (x264_encoder_delayed_frames(encoder.get()) > 0) code(nullptr);
    giveOut(0);
    return QVS_PLUGIN_OK;
  }

  int32_t changeBitRate(uint32_t) override { return QVS_PLUGIN_OK; }
  int32_t keyType(uint32_t) const override { return 0; }
  int32_t setKey(uint32_t, int64_t) override { return QVS_PLUGIN_OK; }
  int32_t setKey(uint32_t, double) override { return QVS_PLUGIN_OK; }
  int32_t getKey(uint32_t, int64_t*) const override { return QVS_PLUGIN_OK; }
  int32_t getKey(uint32_t, double*) const override { return QVS_PLUGIN_OK; }

 private:
  struct Close {
    void operator()(x264_t* open) const { x264_encoder_close(open); }
  };
  struct Coded {
    FrameInfo info;
    std::vector<uint8_t> bytes;
  };

  bool isDue(const char* fault) {
    const auto at = script.find(fault);
    return at != script.end() && pictures >= at->second;
  }

  void code(x264_picture_t* in) {
    x264_nal_t* units = nullptr;
    int count = 0;
    x264_picture_t out;
    const int size = x264_encoder_encode(encoder.get(), &units, &count, in, &out);
    if (size <= 0 || isDue("swallow")) return;
    FrameInfo info;
    info.frameType = out.b_keyframe != 0 ? QVS_FRAME_KEY : QVS_FRAME_PREDICTED;
    info.timecode = static_cast<uint64_t>(out.i_dts);
    info.timecodeOffset = out.i_pts - out.i_dts;
    coded.push_back({info, std::vector<uint8_t>(units[0].p_payload, units[0].p_payload + size)});
  }

  void giveOut(size_t kept) {
    for (; coded.size() > kept; coded.pop_front()) {
      const std::span<const uint8_t> bytes = coded.front().bytes;
      output.add(coded.front().info, {&bytes, 1});
    }
  }

  std::map<std::string, int> script;
  std::unique_ptr<x264_t, Close> encoder;
  std::deque<Coded> coded;
  int pictures = 0;
};

int32_t version(std::string& text, uint32_t& major, uint32_t& minor) {
  text = "faulty";
  major = 1;
  minor = 0;
  return QVS_PLUGIN_OK;
}

std::string describe() {
  return R"({"name":"faulty","codecs":["h264"],"standsOn":"libx264","maxWidth":4096,"maxHeight":4096,"keys":[]})";
}

std::unique_ptr<EncoderSession> make() {
  return std::make_unique<FaultyEncoder>();
}

}  // namespace

const EncoderPlugin kEncoderPlugin = {version, describe, make};

}  // namespace qvs::plugins
