#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <vector>

#include "qvs/video_decoder.h"
#include "qvs/video_encoder.h"
#include "qvs/video_scaler.h"
#include "qvs/vod_transcoder.h"

namespace {

// Plug-ins in the field were built against these numbers: a change here breaks them.
TEST(PluginLayout, OfRecordsIsFrozen) {
  using Frame = VideoFrameIntrinsicScalerFrame;
  EXPECT_EQ(sizeof(Frame), 32u);
  EXPECT_EQ(offsetof(Frame, fourcc), 0u);
  EXPECT_EQ(offsetof(Frame, plane), 8u);
  EXPECT_EQ(offsetof(Frame, stride), 16u);
  EXPECT_EQ(offsetof(Frame, width), 20u);
  EXPECT_EQ(offsetof(Frame, height), 24u);

  EXPECT_EQ(sizeof(PluginVideoScaler), 24 * sizeof(void*));
  EXPECT_EQ(offsetof(PluginVideoScaler, func_isAvailable), 0u);
  EXPECT_EQ(offsetof(PluginVideoScaler, func_create), 8u);
  EXPECT_EQ(offsetof(PluginVideoScaler, func_destroy), 16u);
  EXPECT_EQ(offsetof(PluginVideoScaler, func_scaleByHalf), 24u);
  EXPECT_EQ(offsetof(PluginVideoScaler, func_overlayFrame), 32u);
  EXPECT_EQ(offsetof(PluginVideoScaler, func_scale), 12 * sizeof(void*));

  EXPECT_EQ(sizeof(PluginVideoFrameBuffer), 88u);
  EXPECT_EQ(offsetof(PluginVideoFrameBuffer, timecode), 24u);
  EXPECT_EQ(offsetof(PluginVideoFrameBuffer, frameCUDA), 40u);
  EXPECT_EQ(offsetof(PluginVideoFrameBuffer, hostContext), 80u);
  EXPECT_EQ(sizeof(PluginVideoBuffer), 96u);
  EXPECT_EQ(offsetof(PluginVideoBuffer, timecode), 64u);
  EXPECT_EQ(offsetof(PluginVideoBuffer, opaque_), 88u);
  EXPECT_EQ(sizeof(PluginVideoCUDAContext), 24u);
  EXPECT_EQ(sizeof(VideoFrameEncodedData), 64u);
  EXPECT_EQ(offsetof(VideoFrameEncodedData, timecode), 32u);
  EXPECT_EQ(offsetof(VideoFrameEncodedData, isAllocated), 57u);
  EXPECT_EQ(sizeof(PluginVideoEncoderOutput), 16u);
  EXPECT_EQ(sizeof(VODTranscoderVideoSettings), 56u);
  EXPECT_EQ(offsetof(VODTranscoderVideoSettings, videoHeader), 40u);

  EXPECT_EQ(offsetof(pluginVideoEncoder, func_addFrame2), 17 * sizeof(void*));
  EXPECT_EQ(offsetof(pluginVideoEncoder, func_getParameterValueDouble), 31 * sizeof(void*));
  EXPECT_EQ(offsetof(pluginVideoEncoder, func_describe), 34 * sizeof(void*));
  EXPECT_EQ(offsetof(pluginVideoEncoder, func_setPluginPath), 35 * sizeof(void*));
  EXPECT_EQ(offsetof(pluginVideoDecoder, func_decode2), 27 * sizeof(void*));
  EXPECT_EQ(offsetof(pluginVideoDecoder, func_describe), 38 * sizeof(void*));
  EXPECT_EQ(offsetof(pluginVODTranscoder, func_transcode), 5 * sizeof(void*));
}

TEST(PluginResolver, AsksForEveryEntryPointAndNeedsOne) {
  struct Library {
    std::vector<std::string> asked;
    std::string offered;
  };
  const auto find = [](void* library, const char* name) -> void* {
    auto* it = static_cast<Library*>(library);
    it->asked.push_back(name);
    return it->offered == name ? it : nullptr;
  };
  Library only{{}, "zarvoVideoScaler_isAvailable"};
  PluginVideoScaler plugin;
  EXPECT_EQ(videoScalerResolve(&plugin, find, &only), 1);
  EXPECT_EQ(only.asked, (std::vector<std::string>{"zarvoVideoScaler_isAvailable", "zarvoVideoScaler_create",
                                                  "zarvoVideoScaler_destroy", "zarvoVideoScaler_scaleByHalf",
                                                  "zarvoVideoScaler_overlayFrame"}));
  EXPECT_NE(plugin.func_isAvailable, nullptr);
  EXPECT_EQ(plugin.func_create, nullptr);
  EXPECT_EQ(plugin.func_overlayFrame, nullptr);

  Library other{{}, "zarvoVideoScaler_scaleByHalf"};
  EXPECT_EQ(videoScalerResolve(&plugin, find, &other), 0);
  EXPECT_EQ(plugin.func_isAvailable, nullptr);
  EXPECT_NE(plugin.func_scaleByHalf, nullptr);
}

}  // namespace
