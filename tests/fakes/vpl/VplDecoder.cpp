// The fake runtime's decoders.
#include "fakes/vpl/VplDecoder.h"

#include <algorithm>
#include <cstring>

namespace qvs::fakes {
namespace {

constexpr size_t kReferences = 3;  ///< decoded surfaces that stay locked

AVCodecID codecOf(mfxU32 id) {
  return id == MFX_CODEC_MPEG2 ? AV_CODEC_ID_MPEG2VIDEO : AV_CODEC_ID_H264;
}

uint32_t alignedTo(uint32_t value, uint32_t unit) {
  return (value + unit - 1) / unit * unit;
}

/// A slice header that refers to the first picture parameter set, so that a parser looks at sets without pictures.
constexpr uint8_t kSlice[] = {0,    0,    0,    1,    0x65, 0x88, 0x84, 0x00,
                              0x40, 0x00, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80};

mfxU16 frameTypeOf(const AVFrame& frame) {
  switch (frame.pict_type) {
    case AV_PICTURE_TYPE_I:
      return frame.key_frame != 0 ? MFX_FRAMETYPE_I | MFX_FRAMETYPE_IDR : MFX_FRAMETYPE_I;
    case AV_PICTURE_TYPE_P:
      return MFX_FRAMETYPE_P;
    default:
      return MFX_FRAMETYPE_B;
  }
}

mfxU16 structureOf(bool interlaced, bool topFirst) {
  if (!interlaced) return MFX_PICSTRUCT_PROGRESSIVE;
  return topFirst ? MFX_PICSTRUCT_FIELD_TFF : MFX_PICSTRUCT_FIELD_BFF;
}

void describe(mfxFrameInfo& info, int width, int height, AVRational rate, AVRational aspect) {
  info.FourCC = MFX_FOURCC_NV12;
  info.ChromaFormat = MFX_CHROMAFORMAT_YUV420;
  info.CropX = info.CropY = 0;
  info.CropW = static_cast<mfxU16>(width);
  info.CropH = static_cast<mfxU16>(height);
  info.Width = static_cast<mfxU16>(alignedTo(static_cast<uint32_t>(width), 16));
  info.Height = static_cast<mfxU16>(alignedTo(static_cast<uint32_t>(height), 32));
  info.FrameRateExtN = static_cast<mfxU32>(std::max(rate.num, 0));
  info.FrameRateExtD = static_cast<mfxU32>(std::max(rate.den, 1));
  info.AspectRatioW = static_cast<mfxU16>(std::max(aspect.num, 0));
  info.AspectRatioH = static_cast<mfxU16>(std::max(aspect.den, 1));
  info.PicStruct = MFX_PICSTRUCT_UNKNOWN;
}

}  // namespace

VplDecoder::VplDecoder(const mfxVideoParam& wanted)
    : parameters(wanted), context(openContext(wanted.mfx.CodecId)) {
  vplCounts().opened("decoder");
}

VplDecoder::~VplDecoder() {
  letGo(0);
  vplCounts().closed("decoder");
}

VplDecoder::Context VplDecoder::openContext(mfxU32 codec) {
  const AVCodec* decoder = avcodec_find_decoder(codecOf(codec));
  Context made(avcodec_alloc_context3(decoder));
  made->thread_count = 1;
  made->pkt_timebase = {1, 90000};
  av_log_set_level(AV_LOG_QUIET);
  return avcodec_open2(made.get(), decoder, nullptr) == 0 ? std::move(made) : nullptr;
}

int VplDecoder::send(AVCodecContext& context, std::span<const uint8_t> bytes, int64_t pts) {
  std::unique_ptr<AVPacket, Close> packet(av_packet_alloc());
  av_new_packet(packet.get(), static_cast<int>(bytes.size()));
  std::memcpy(packet->data, bytes.data(), bytes.size());
  packet->pts = pts;
  return avcodec_send_packet(&context, packet.get());
}

bool VplDecoder::readHeader(std::span<const uint8_t> bytes, mfxInfoMFX& mfx) {
  const Context look = openContext(mfx.CodecId);
  if (look == nullptr || bytes.empty()) return false;
  send(*look, bytes, 0);
  int width = look->width, height = look->height;
  if (width == 0) {
    AVCodecParserContext* parser = av_parser_init(codecOf(mfx.CodecId));
    parser->flags |= PARSER_FLAG_COMPLETE_FRAMES;
    std::vector<uint8_t> copy(bytes.begin(), bytes.end());
    if (mfx.CodecId == MFX_CODEC_AVC) copy.insert(copy.end(), std::begin(kSlice), std::end(kSlice));
    const auto size = static_cast<int>(copy.size());
    copy.resize(copy.size() + AV_INPUT_BUFFER_PADDING_SIZE);
    uint8_t* out = nullptr;
    int outSize = 0;
    av_parser_parse2(parser, look.get(), &out, &outSize, copy.data(), size, 0, 0, 0);
    width = look->width > 0 ? look->width : parser->width;
    height = look->height > 0 ? look->height : parser->height;
    av_parser_close(parser);
  }
  if (width <= 0 || height <= 0) return false;
  describe(mfx.FrameInfo, width, height, look->framerate, look->sample_aspect_ratio);
  return true;
}

mfxStatus VplDecoder::reset() {
  letGo(0);
  context = openContext(parameters.mfx.CodecId);
  draining = false;
  return context != nullptr ? MFX_ERR_NONE : MFX_ERR_MEMORY_ALLOC;
}

void VplDecoder::letGo(size_t kept) {
  while (references.size() > kept) {
    --references.front()->Data.Locked;
    references.pop_front();
  }
}

mfxStatus VplDecoder::decode(mfxBitstream* bits, mfxFrameSurface1* work, mfxFrameSurface1** out,
                             VplOperation& operation) {
  if (work == nullptr) return MFX_ERR_MORE_SURFACE;
  if (work->Data.Locked != 0) return MFX_ERR_LOCK_MEMORY;
  if (bits == nullptr) {
    if (!draining) avcodec_send_packet(context.get(), nullptr);
    draining = true;
  } else if (draining) {
    return MFX_ERR_UNDEFINED_BEHAVIOR;  // only a reset begins anew
  } else if (bits->DataLength > 0) {
    const std::span<const uint8_t> bytes{bits->Data + bits->DataOffset, bits->DataLength};
    mfxInfoMFX header{};
    header.CodecId = parameters.mfx.CodecId;
    if (readHeader(bytes, header) && (header.FrameInfo.CropW != parameters.mfx.FrameInfo.CropW ||
                                      header.FrameInfo.CropH != parameters.mfx.FrameInfo.CropH)) {
      return MFX_ERR_INCOMPATIBLE_VIDEO_PARAM;
    }
    send(*context, bytes, static_cast<int64_t>(bits->TimeStamp));
    bits->DataOffset += bits->DataLength;
    bits->DataLength = 0;
  }
  if (avcodec_receive_frame(context.get(), frame.get()) < 0) return MFX_ERR_MORE_DATA;
  work->Info = parameters.mfx.FrameInfo;
  work->Info.PicStruct = structureOf(frame->interlaced_frame != 0, frame->top_field_first != 0);
  fill(*work);
  work->Data.TimeStamp = static_cast<mfxU64>(frame->pts);
  work->Data.Corrupted = frame->decode_error_flags != 0 ? MFX_CORRUPTION_MAJOR : MFX_CORRUPTION_NO;
  for (mfxU16 i = 0; i < work->Data.NumExtParam; ++i) {
    if (work->Data.ExtParam[i]->BufferId == MFX_EXTBUFF_DECODED_FRAME_INFO) {
      reinterpret_cast<mfxExtDecodedFrameInfo*>(work->Data.ExtParam[i])->FrameType = frameTypeOf(*frame);
    }
  }
  // Once for the operation, once for the pictures that refer to it.
  work->Data.Locked = 2;
  references.push_back(work);
  letGo(kReferences);
  operation.surface = work;
  *out = work;
  return MFX_ERR_NONE;
}

void VplDecoder::fill(mfxFrameSurface1& surface) const {
  const size_t pitch = size_t{surface.Data.PitchHigh} << 16 | surface.Data.PitchLow;
  // An odd picture was coded with a column and a row beyond it.
  const auto width = static_cast<size_t>(frame->width + 1) / 2 * 2,
             height = static_cast<size_t>(frame->height + 1) / 2 * 2;
  for (size_t y = 0; y < height; ++y) {
    std::memcpy(surface.Data.Y + y * pitch, frame->data[0] + static_cast<ptrdiff_t>(y) * frame->linesize[0],
                width);
  }
  for (size_t y = 0; y < (height + 1) / 2; ++y) {
    const uint8_t* u = frame->data[1] + static_cast<ptrdiff_t>(y) * frame->linesize[1];
    const uint8_t* v = frame->data[2] + static_cast<ptrdiff_t>(y) * frame->linesize[2];
    uint8_t* to = surface.Data.UV + y * pitch;
    for (size_t x = 0; x < (width + 1) / 2; ++x) {
      to[2 * x] = u[x];
      to[2 * x + 1] = v[x];
    }
  }
}

}  // namespace qvs::fakes

using namespace qvs::fakes;

QVS_VPL_EXPORT mfxStatus MFXVideoDECODE_Query(mfxSession, mfxVideoParam* in, mfxVideoParam* out) {
  QVS_VPL_CALL(MFXVideoDECODE_Query);
  if (in != nullptr && in != out) out->mfx = in->mfx;
  return MFX_ERR_NONE;
}
QVS_VPL_EXPORT mfxStatus MFXVideoDECODE_DecodeHeader(mfxSession, mfxBitstream* bits, mfxVideoParam* out) {
  QVS_VPL_CALL(MFXVideoDECODE_DecodeHeader);
  const std::span<const uint8_t> bytes{bits->Data + bits->DataOffset, bits->DataLength};
  return VplDecoder::readHeader(bytes, out->mfx) ? MFX_ERR_NONE : MFX_ERR_MORE_DATA;
}
QVS_VPL_EXPORT mfxStatus MFXVideoDECODE_QueryIOSurf(mfxSession, mfxVideoParam* wanted,
                                                    mfxFrameAllocRequest* request) {
  QVS_VPL_CALL(MFXVideoDECODE_QueryIOSurf);
  request->Info = wanted->mfx.FrameInfo;
  request->NumFrameMin = kReferences + 1;
  request->NumFrameSuggested = static_cast<mfxU16>(request->NumFrameMin + wanted->AsyncDepth);
  request->Type = MFX_MEMTYPE_FROM_DECODE | MFX_MEMTYPE_EXTERNAL_FRAME | MFX_MEMTYPE_SYSTEM_MEMORY;
  return MFX_ERR_NONE;
}
QVS_VPL_EXPORT mfxStatus MFXVideoDECODE_Init(mfxSession session, mfxVideoParam* wanted) {
  QVS_VPL_CALL(MFXVideoDECODE_Init);
  if (session->decoder != nullptr) return MFX_ERR_UNDEFINED_BEHAVIOR;
  if (session->display() == nullptr) return MFX_ERR_DEVICE_FAILED;
  session->decoder = std::make_shared<VplDecoder>(*wanted);
  return MFX_ERR_NONE;
}
QVS_VPL_EXPORT mfxStatus MFXVideoDECODE_Reset(mfxSession session, mfxVideoParam*) {
  QVS_VPL_CALL(MFXVideoDECODE_Reset);
  return session->decoder == nullptr ? MFX_ERR_NOT_INITIALIZED : session->decoder->reset();
}
QVS_VPL_EXPORT mfxStatus MFXVideoDECODE_Close(mfxSession session) {
  const auto answer = vplFault("MFXVideoDECODE_Close");
  if (session->decoder == nullptr) return MFX_ERR_NOT_INITIALIZED;
  session->decoder.reset();
  return answer.value_or(MFX_ERR_NONE);
}
QVS_VPL_EXPORT mfxStatus MFXVideoDECODE_GetVideoParam(mfxSession session, mfxVideoParam* out) {
  QVS_VPL_CALL(MFXVideoDECODE_GetVideoParam);
  if (session->decoder == nullptr) return MFX_ERR_NOT_INITIALIZED;
  out->mfx = session->decoder->tell().mfx;
  return MFX_ERR_NONE;
}
QVS_VPL_EXPORT mfxStatus MFXVideoDECODE_DecodeFrameAsync(mfxSession session, mfxBitstream* bits,
                                                         mfxFrameSurface1* work, mfxFrameSurface1** out,
                                                         mfxSyncPoint* point) {
  VplOperation operation;
  *point = nullptr;
  *out = nullptr;
  if (const auto answer = vplFault("MFXVideoDECODE_DecodeFrameAsync", operation)) return *answer;
  if (session->decoder == nullptr) return MFX_ERR_NOT_INITIALIZED;
  const mfxStatus status = session->decoder->decode(bits, work, out, operation);
  if (status == MFX_ERR_NONE) session->start(std::move(operation), point);
  return status;
}
