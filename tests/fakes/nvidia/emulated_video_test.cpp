// The emulated encoder and decoder, one feeding the other: flat pictures whose brightness tells which one it is.
#include <ffnvcodec/dynlink_loader.h>
#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "cuda.h"
#include "EmulatedGpu.h"
#include "nvcuvid.h"

namespace qvs::fakes {
namespace {

constexpr CUresult kOk = CUDA_SUCCESS;
constexpr int kStep = 12;  ///< of brightness, from picture to picture

struct Unit {
  std::vector<uint8_t> bytes;
  uint64_t time;
};

class EmulatedVideo : public testing::Test {
 protected:
  void SetUp() override {
    gpu.faults("");
    before = gpu.counts();
    ASSERT_EQ(cuInit(0), kOk);
    ASSERT_EQ(cuCtxCreate(&context, 0, 0), kOk);
    ASSERT_EQ(cuStreamCreate(&stream, CU_STREAM_NON_BLOCKING), kOk);
    NvencFunctions* functions = nullptr;
    ASSERT_EQ(nvenc_load_functions(&functions, nullptr), 0);
    library.reset(functions);
    nvenc.version = NV_ENCODE_API_FUNCTION_LIST_VER;
    ASSERT_EQ(library->NvEncodeAPICreateInstance(&nvenc), NV_ENC_SUCCESS);
  }

  void TearDown() override {
    gpu.faults("");
    cuStreamDestroy(stream);
    cuCtxDestroy(context);
    const EmulatedGpuCounts after = gpu.counts();
    EXPECT_EQ(after.bytes, before.bytes);
    EXPECT_EQ(after.parsers + after.decoders + after.mapped + after.encoders + after.contexts, 0);
  }

  NVENCSTATUS open(void** encoder, uint32_t api = NVENCAPI_VERSION) {
    NV_ENC_OPEN_ENCODE_SESSION_EX_PARAMS parameters{};
    parameters.version = NV_ENC_OPEN_ENCODE_SESSION_EX_PARAMS_VER;
    parameters.deviceType = NV_ENC_DEVICE_TYPE_CUDA;
    parameters.device = context;
    parameters.apiVersion = api;
    return nvenc.nvEncOpenEncodeSessionEx(&parameters, encoder);
  }

  void initialize(void* encoder, const GUID& codec, uint32_t width, uint32_t height, int interval) {
    NV_ENC_PRESET_CONFIG preset{};
    preset.version = NV_ENC_PRESET_CONFIG_VER;
    preset.presetCfg.version = NV_ENC_CONFIG_VER;
    ASSERT_EQ(nvenc.nvEncGetEncodePresetConfigEx(encoder, codec, NV_ENC_PRESET_P1_GUID,
                                                 NV_ENC_TUNING_INFO_HIGH_QUALITY, &preset),
              NV_ENC_SUCCESS);
    preset.presetCfg.frameIntervalP = interval;
    NV_ENC_INITIALIZE_PARAMS parameters{};
    parameters.version = NV_ENC_INITIALIZE_PARAMS_VER;
    parameters.encodeGUID = codec;
    parameters.encodeWidth = width;
    parameters.encodeHeight = height;
    parameters.frameRateNum = 25;
    parameters.frameRateDen = parameters.enablePTD = 1;
    parameters.encodeConfig = &preset.presetCfg;
    ASSERT_EQ(nvenc.nvEncInitializeEncoder(encoder, &parameters), NV_ENC_SUCCESS);
    NV_ENC_CUSTREAM_PTR order = &stream;
    ASSERT_EQ(nvenc.nvEncSetIOCudaStreams(encoder, order, order), NV_ENC_SUCCESS);
  }

  /// Codes `count` pictures out of one piece of the card's memory, painted anew for each in the order of the stream;
  /// `answers` has what each call said.
  std::vector<Unit> code(const GUID& codec, uint32_t width, uint32_t height, int interval, int count,
                         std::vector<NVENCSTATUS>* answers = nullptr) {
    std::vector<Unit> units;
    void* encoder = nullptr;
    EXPECT_EQ(open(&encoder), NV_ENC_SUCCESS);
    initialize(encoder, codec, width, height, interval);
    CUdeviceptr memory = 0;
    size_t pitch = 0;
    EXPECT_EQ(cuMemAllocPitch(&memory, &pitch, width, height * 3 / 2, 4), kOk);
    NV_ENC_REGISTER_RESOURCE resource{};
    resource.version = NV_ENC_REGISTER_RESOURCE_VER;
    resource.resourceType = NV_ENC_INPUT_RESOURCE_TYPE_CUDADEVICEPTR;
    resource.width = width;
    resource.height = height;
    resource.pitch = static_cast<uint32_t>(pitch);
    resource.resourceToRegister = reinterpret_cast<void*>(memory);
    resource.bufferFormat = NV_ENC_BUFFER_FORMAT_NV12;
    EXPECT_EQ(nvenc.nvEncRegisterResource(encoder, &resource), NV_ENC_SUCCESS);
    std::vector<void*> outputs;
    size_t taken = 0;
    const auto take = [&] {
      for (; taken < outputs.size(); ++taken) {
        NV_ENC_LOCK_BITSTREAM lock{};
        lock.version = NV_ENC_LOCK_BITSTREAM_VER;
        lock.outputBitstream = outputs[taken];
        ASSERT_EQ(nvenc.nvEncLockBitstream(encoder, &lock), NV_ENC_SUCCESS);
        const auto* bytes = static_cast<const uint8_t*>(lock.bitstreamBufferPtr);
        units.push_back({{bytes, bytes + lock.bitstreamSizeInBytes}, lock.outputTimeStamp});
        EXPECT_EQ(nvenc.nvEncUnlockBitstream(encoder, outputs[taken]), NV_ENC_SUCCESS);
      }
    };
    for (int number = 0; number < count; ++number) {
      EXPECT_EQ(cuMemsetD8Async(memory, static_cast<uint8_t>(40 + kStep * number), pitch * height, stream),
                kOk);
      NV_ENC_CREATE_BITSTREAM_BUFFER output{};
      output.version = NV_ENC_CREATE_BITSTREAM_BUFFER_VER;
      EXPECT_EQ(nvenc.nvEncCreateBitstreamBuffer(encoder, &output), NV_ENC_SUCCESS);
      outputs.push_back(output.bitstreamBuffer);
      NV_ENC_MAP_INPUT_RESOURCE map{};
      map.version = NV_ENC_MAP_INPUT_RESOURCE_VER;
      map.registeredResource = resource.registeredResource;
      EXPECT_EQ(nvenc.nvEncMapInputResource(encoder, &map), NV_ENC_SUCCESS);
      NV_ENC_PIC_PARAMS picture{};
      picture.version = NV_ENC_PIC_PARAMS_VER;
      picture.inputBuffer = map.mappedResource;
      picture.outputBitstream = output.bitstreamBuffer;
      picture.inputTimeStamp = static_cast<uint64_t>(number);
      const NVENCSTATUS answer = nvenc.nvEncEncodePicture(encoder, &picture);
      if (answers != nullptr) answers->push_back(answer);
      EXPECT_EQ(nvenc.nvEncUnmapInputResource(encoder, map.mappedResource), NV_ENC_SUCCESS);
      if (answer == NV_ENC_SUCCESS) take();
    }
    NV_ENC_PIC_PARAMS end{};
    end.version = NV_ENC_PIC_PARAMS_VER;
    end.encodePicFlags = NV_ENC_PIC_FLAG_EOS;
    EXPECT_EQ(nvenc.nvEncEncodePicture(encoder, &end), NV_ENC_SUCCESS);
    take();
    for (void* output : outputs)
      EXPECT_EQ(nvenc.nvEncDestroyBitstreamBuffer(encoder, output), NV_ENC_SUCCESS);
    EXPECT_EQ(nvenc.nvEncUnregisterResource(encoder, resource.registeredResource), NV_ENC_SUCCESS);
    EXPECT_EQ(nvenc.nvEncDestroyEncoder(encoder), NV_ENC_SUCCESS);
    EXPECT_EQ(cuMemFree(memory), kOk);
    return units;
  }

  EmulatedGpu gpu;
  EmulatedGpuCounts before{};
  CUcontext context = nullptr;
  CUstream stream = nullptr;
  struct Free {
    void operator()(NvencFunctions* functions) const { nvenc_free_functions(&functions); }
  };
  std::unique_ptr<NvencFunctions, Free> library;
  NV_ENCODE_API_FUNCTION_LIST nvenc{};
};

/// What a caller of the parser does: a decoder for each sequence, and the middle of each picture that is shown.
struct Player {
  CUstream stream;
  CUvideoparser parser = nullptr;
  CUvideodecoder decoder = nullptr;
  int sequences = 0;
  std::vector<int> shown;  ///< brightness
  std::vector<long long> times;
  CUVIDEOFORMAT format{};

  Player(CUstream order, cudaVideoCodec codec, unsigned delay) : stream(order) {
    CUVIDPARSERPARAMS parameters{};
    parameters.CodecType = codec;
    parameters.ulMaxNumDecodeSurfaces = 8;
    parameters.ulMaxDisplayDelay = delay;
    parameters.pUserData = this;
    parameters.pfnSequenceCallback = [](void* user, CUVIDEOFORMAT* format) {
      return static_cast<Player*>(user)->start(*format);
    };
    parameters.pfnDecodePicture = [](void* user, CUVIDPICPARAMS* picture) {
      return cuvidDecodePicture(static_cast<Player*>(user)->decoder, picture) == kOk ? 1 : 0;
    };
    parameters.pfnDisplayPicture = [](void* user, CUVIDPARSERDISPINFO* info) {
      return static_cast<Player*>(user)->show(*info);
    };
    EXPECT_EQ(cuvidCreateVideoParser(&parser, &parameters), kOk);
  }
  ~Player() {
    cuvidDestroyVideoParser(parser);
    if (decoder != nullptr) cuvidDestroyDecoder(decoder);
  }

  int start(const CUVIDEOFORMAT& next) {
    ++sequences;
    format = next;
    if (decoder != nullptr) cuvidDestroyDecoder(decoder);
    CUVIDDECODECREATEINFO info{};
    info.CodecType = format.codec;
    info.ChromaFormat = format.chroma_format;
    info.ulWidth = info.ulTargetWidth = format.coded_width;
    info.ulHeight = info.ulTargetHeight = format.coded_height;
    info.ulNumDecodeSurfaces = 8;
    info.ulNumOutputSurfaces = 1;
    return cuvidCreateDecoder(&decoder, &info) == kOk ? 1 : 0;
  }

  int show(const CUVIDPARSERDISPINFO& info) {
    CUVIDPROCPARAMS how{};
    how.progressive_frame = info.progressive_frame;
    how.output_stream = stream;
    unsigned long long pointer = 0, second = 0;
    unsigned pitch = 0;
    EXPECT_EQ(cuvidMapVideoFrame64(decoder, info.picture_index, &pointer, &pitch, &how), kOk);
    EXPECT_NE(cuvidMapVideoFrame64(decoder, info.picture_index, &second, &pitch, &how), kOk)
        << "one at a time";
    uint8_t middle = 0;
    EXPECT_EQ(cuMemcpyDtoHAsync(&middle, pointer + pitch * (format.coded_height / 2) + 80, 1, stream), kOk);
    EXPECT_EQ(cuvidUnmapVideoFrame64(decoder, pointer), kOk);
    shown.push_back(middle);
    times.push_back(info.timestamp);
    return 1;
  }

  CUresult feed(const Unit& unit, unsigned flags = 0) {
    CUVIDSOURCEDATAPACKET packet{};
    packet.flags = CUVID_PKT_TIMESTAMP | flags;
    packet.payload = unit.bytes.data();
    packet.payload_size = unit.bytes.size();
    packet.timestamp = static_cast<long long>(unit.time);
    return cuvidParseVideoData(parser, &packet);
  }
};

TEST_F(EmulatedVideo, SessionsEndAtTheLimitAndAtTheVersion) {
  gpu.faults("sessions=1");
  void *first = nullptr, *second = nullptr;
  EXPECT_EQ(open(&first), NV_ENC_SUCCESS);
  EXPECT_EQ(open(&second), NV_ENC_ERR_OUT_OF_MEMORY);
  EXPECT_EQ(nvenc.nvEncDestroyEncoder(first), NV_ENC_SUCCESS);
  EXPECT_EQ(open(&second), NV_ENC_SUCCESS);
  EXPECT_EQ(nvenc.nvEncDestroyEncoder(second), NV_ENC_SUCCESS);
  EXPECT_EQ(nvenc.nvEncDestroyEncoder(second), NV_ENC_ERR_INVALID_ENCODERDEVICE);
  for (const auto& [script, answer] :
       {std::pair{"api=0xb0", NV_ENC_ERR_INVALID_VERSION}, {"api=0xc2", NV_ENC_SUCCESS}}) {
    gpu.faults(script);
    EXPECT_EQ(open(&first), answer) << script;
  }
  EXPECT_EQ(nvenc.nvEncDestroyEncoder(first), NV_ENC_SUCCESS);
}

TEST_F(EmulatedVideo, PicturesComeOutInGroupsAndAreReadInTheStreamsOrder) {
  std::vector<NVENCSTATUS> answers;
  const std::vector<Unit> units = code(NV_ENC_CODEC_H264_GUID, 160, 96, 3, 6, &answers);
  constexpr NVENCSTATUS kMore = NV_ENC_ERR_NEED_MORE_INPUT;
  EXPECT_EQ(answers, (std::vector<NVENCSTATUS>{NV_ENC_SUCCESS, kMore, kMore, NV_ENC_SUCCESS, kMore, kMore}));
  ASSERT_EQ(units.size(), 6u);
  Player player(stream, cudaVideoCodec_H264, 0);
  for (const Unit& unit : units) EXPECT_EQ(player.feed(unit, CUVID_PKT_ENDOFPICTURE), kOk);
  EXPECT_EQ(player.feed({}, CUVID_PKT_ENDOFSTREAM), kOk);
  ASSERT_EQ(player.shown.size(), 6u);
  for (int number = 0; number < 6; ++number) {
    EXPECT_NEAR(player.shown[static_cast<size_t>(number)], 40 + kStep * number, 3);
  }
}

TEST_F(EmulatedVideo, DecodersFollowSizesAndKeepTheirDelay) {
  for (const auto& [guid, codec] : {std::pair{NV_ENC_CODEC_H264_GUID, cudaVideoCodec_H264},
                                    {NV_ENC_CODEC_HEVC_GUID, cudaVideoCodec_HEVC}}) {
    std::vector<Unit> units = code(guid, 160, 96, 1, 4);
    for (Unit& unit : code(guid, 320, 192, 1, 4)) units.push_back({std::move(unit.bytes), unit.time + 4});
    Player player(stream, codec, 2);
    for (size_t number = 0; number < 4; ++number) {
      EXPECT_EQ(player.feed(units[number], CUVID_PKT_ENDOFPICTURE), kOk);
      EXPECT_EQ(player.shown.size(), number < 2 ? 0 : number - 1) << number;
    }
    for (size_t number = 4; number < 8; ++number) EXPECT_EQ(player.feed(units[number]), kOk);
    EXPECT_EQ(player.feed({}, CUVID_PKT_ENDOFSTREAM), kOk);
    EXPECT_EQ(player.sequences, 2);
    EXPECT_EQ(player.format.display_area.right, 320);
    EXPECT_EQ(player.times, (std::vector<long long>{0, 1, 2, 3, 4, 5, 6, 7}));
  }
}

TEST_F(EmulatedVideo, FaultsAreToldAndLeaveNothingOpen) {
  const std::vector<Unit> units = code(NV_ENC_CODEC_H264_GUID, 160, 96, 1, 3);
  gpu.faults("cuvidDecodePicture@2=status:999;cuvidDestroyDecoder@1=status:999");
  Player player(stream, cudaVideoCodec_H264, 0);
  EXPECT_EQ(player.feed(units[0], CUVID_PKT_ENDOFPICTURE), kOk);
  EXPECT_EQ(player.feed(units[1], CUVID_PKT_ENDOFPICTURE), CUDA_ERROR_UNKNOWN);
  CUcontext other = nullptr;
  ASSERT_EQ(cuCtxCreate(&other, 0, 0), kOk);
  CUVIDPICPARAMS picture{};
  EXPECT_EQ(cuvidDecodePicture(player.decoder, &picture), CUDA_ERROR_INVALID_CONTEXT);
  EXPECT_EQ(cuCtxDestroy(other), kOk);
  EXPECT_EQ(cuvidDestroyDecoder(player.decoder), CUDA_ERROR_UNKNOWN);
  player.decoder = nullptr;
}

}  // namespace
}  // namespace qvs::fakes
