// The emulated video decoder.
#include "CuvidDecoder.h"

#include <algorithm>
#include <cstring>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/frame.h>
}

#include "CuvidHeaders.h"

namespace qvs::fakes {
namespace {

constexpr size_t kPitch = 512;
constexpr CUresult kMapFailed = static_cast<CUresult>(205);

struct Target {
  uint64_t pointer;
  size_t pitch, width, height;
  size_t bytes() const { return pitch * (height + (height + 1) / 2); }
};

struct Area {
  size_t left, top, width, height;
};

/// One plane of `step` interleaved samples, scaled to the nearest sample where the sizes differ.
void writePlane(uint8_t* to, size_t pitch, size_t width, size_t height, size_t step, const uint8_t* from,
                size_t stride, const Area& area) {
  for (size_t y = 0; y < height; ++y) {
    const uint8_t* row = from + (area.top + y * area.height / height) * stride + area.left;
    uint8_t* out = to + y * pitch;
    if (step == 1 && width == area.width) {
      std::memcpy(out, row, width);
      continue;
    }
    for (size_t x = 0; x < width; ++x) out[x * step] = row[x * area.width / width];
  }
}

void writeNv12(uint8_t* memory, const Target& target, const AVFrame& frame, const Area& area) {
  writePlane(memory, target.pitch, target.width, target.height, 1, frame.data[0],
             static_cast<size_t>(frame.linesize[0]), area);
  const Area half{area.left / 2, area.top / 2, (area.width + 1) / 2, (area.height + 1) / 2};
  for (size_t plane : {1, 2}) {
    writePlane(memory + target.pitch * target.height + plane - 1, target.pitch, (target.width + 1) / 2,
               (target.height + 1) / 2, 2, frame.data[plane], static_cast<size_t>(frame.linesize[plane]),
               half);
  }
}

}  // namespace

CuvidDecoder::CuvidDecoder(const CUVIDDECODECREATEINFO& wanted, const CuvidCodec& kind, CUcontext owner)
    : info(wanted), codec(kind), context(owner), surfaces(wanted.ulNumDecodeSurfaces) {
  const size_t bytes =
      info.ulWidth * info.ulHeight * 3 / 2 * (info.ulNumDecodeSurfaces + info.ulNumOutputSurfaces);
  // Only its size counts: nobody touches it.
  reserved = Driver::get().memory.allocate(bytes, context, false);
  if (reserved == 0) return;
  Driver::get().opened("memory");
  const AVCodec* found = avcodec_find_decoder_by_name(codec.decoder);
  decoder = avcodec_alloc_context3(found);
  decoder->opaque = this;
  decoder->get_buffer2 = &CuvidDecoder::putIntoSurface;
  decoder->thread_count = 1;
  decoder->thread_type = FF_THREAD_SLICE;
  decoder->flags |= AV_CODEC_FLAG_OUTPUT_CORRUPT;
  // Nothing is cropped but by what the caller asks for.
  decoder->apply_cropping = 0;
  if (avcodec_open2(decoder, found, nullptr) < 0) avcodec_free_context(&decoder);
}

CuvidDecoder::~CuvidDecoder() {
  avcodec_free_context(&decoder);
  while (!mapped.empty()) unmap(mapped.begin()->first);
  if (reserved != 0 && Driver::get().memory.free(reserved)) Driver::get().closed("memory");
}

int CuvidDecoder::putIntoSurface(AVCodecContext* av, AVFrame* frame, int flags) {
  auto* self = static_cast<CuvidDecoder*>(av->opaque);
  const int result = avcodec_default_get_buffer2(av, frame, flags);
  if (result < 0) return result;
  // libavcodec may want more pictures, for references that are missing: H.264's before the picture itself, others after.
  if (self->isPlaced && self->codec.number != cudaVideoCodec_H264) return result;
  self->surfaces[self->current] = Frame(av_frame_clone(frame), [](AVFrame* one) { av_frame_free(&one); });
  self->isPlaced = true;
  return result;
}

bool CuvidDecoder::addHeaders(const CUVIDPICPARAMS& picture, std::vector<uint8_t>& bytes) {
  const CuvidUnit unit = scanUnit(codec, picture.pBitstreamData, picture.nBitstreamDataLen);
  headersSeen = headersSeen || unit.hasSequence;
  if (headersSeen) return true;
  // A caller with a parser of its own gives slices only.
  if (codec.number != cudaVideoCodec_H264) return false;
  std::vector<uint8_t> headers = h264HeadersOf(picture);
  if (headers == lastHeaders) return true;
  bytes = lastHeaders = std::move(headers);
  return !bytes.empty();
}

CUresult CuvidDecoder::decode(const CUVIDPICPARAMS& picture) {
  const std::lock_guard hold(lock);
  if (picture.CurrPicIdx < 0 || static_cast<size_t>(picture.CurrPicIdx) >= surfaces.size()) {
    return CUDA_ERROR_INVALID_VALUE;
  }
  std::vector<uint8_t> bytes;
  if (!addHeaders(picture, bytes)) return CUDA_ERROR_NOT_SUPPORTED;
  bytes.insert(bytes.end(), picture.pBitstreamData, picture.pBitstreamData + picture.nBitstreamDataLen);
  AVPacket* packet = av_packet_alloc();
  if (av_new_packet(packet, static_cast<int>(bytes.size())) < 0) return CUDA_ERROR_OUT_OF_MEMORY;
  std::memcpy(packet->data, bytes.data(), bytes.size());
  current = static_cast<size_t>(picture.CurrPicIdx);
  isPlaced = false;
  if (!picture.second_field) surfaces[current].reset();
  // What can't be decoded isn't an error here: the card finds out later.
  avcodec_send_packet(decoder, packet);
  AVFrame* frame = av_frame_alloc();
  while (avcodec_receive_frame(decoder, frame) >= 0) av_frame_unref(frame);
  av_frame_free(&frame);
  av_packet_free(&packet);
  ++Driver::get().decoded;
  return CUDA_SUCCESS;
}

CUresult CuvidDecoder::map(int surface, const CUVIDPROCPARAMS& parameters, unsigned long long* pointer,
                           unsigned* pitch) {
  const std::lock_guard hold(lock);
  if (surface < 0 || static_cast<size_t>(surface) >= surfaces.size()) return CUDA_ERROR_INVALID_VALUE;
  if (mapped.size() >= info.ulNumOutputSurfaces) return kMapFailed;
  Driver& driver = Driver::get();
  std::shared_ptr<Stream> queue;
  if (const CUresult code = driver.queueOf(parameters.output_stream, &queue); code != CUDA_SUCCESS)
    return code;
  Target target{0, (info.ulTargetWidth + kPitch - 1) / kPitch * kPitch, info.ulTargetWidth,
                info.ulTargetHeight};
  Area area{0, 0, info.ulWidth, info.ulHeight};
  const auto& shown = info.display_area;
  if (shown.right > shown.left && shown.bottom > shown.top) {
    area = {static_cast<size_t>(shown.left), static_cast<size_t>(shown.top),
            static_cast<size_t>(shown.right - shown.left), static_cast<size_t>(shown.bottom - shown.top)};
  }
  target.pointer = driver.memory.allocate(target.bytes(), context, true, false);
  if (target.pointer == 0) return CUDA_ERROR_OUT_OF_MEMORY;
  const Frame frame = surfaces[static_cast<size_t>(surface)];
  driver.push(context, queue, [target, area, frame] {
    uint8_t* memory = Driver::get().memory.bytesAt(target.pointer, target.bytes());
    if (memory == nullptr) return;
    const bool fits = frame != nullptr && static_cast<size_t>(frame->width) >= area.left + area.width &&
                      static_cast<size_t>(frame->height) >= area.top + area.height;
    if (fits) {
      writeNv12(memory, target, *frame, area);
    } else {
      std::memset(memory, 0x80, target.bytes());  // nothing was decoded into it
    }
  });
  mapped[target.pointer] = queue;
  driver.opened("mapped");
  *pointer = target.pointer;
  *pitch = static_cast<unsigned>(target.pitch);
  return CUDA_SUCCESS;
}

/// In the order of the stream that it was mapped on; what another one reads later is gone.
CUresult CuvidDecoder::unmap(unsigned long long pointer) {
  const std::lock_guard hold(lock);
  const auto found = mapped.find(pointer);
  if (found == mapped.end()) return CUDA_ERROR_INVALID_VALUE;
  Driver& driver = Driver::get();
  driver.memory.announceEnd(pointer);
  driver.push(context, found->second, [pointer] { Driver::get().memory.free(pointer); });
  mapped.erase(found);
  driver.closed("mapped");
  return CUDA_SUCCESS;
}

CUresult CuvidDecoder::reconfigure(const CUVIDRECONFIGUREDECODERINFO& wanted) {
  const std::lock_guard hold(lock);
  if (wanted.ulWidth > info.ulMaxWidth || wanted.ulHeight > info.ulMaxHeight) return CUDA_ERROR_INVALID_VALUE;
  info.ulWidth = wanted.ulWidth;
  info.ulHeight = wanted.ulHeight;
  info.ulTargetWidth = wanted.ulTargetWidth;
  info.ulTargetHeight = wanted.ulTargetHeight;
  std::memcpy(&info.display_area, &wanted.display_area, sizeof(info.display_area));
  return CUDA_SUCCESS;
}

bool CuvidDecoder::hasPicture(int surface) {
  const std::lock_guard hold(lock);
  return surface >= 0 && static_cast<size_t>(surface) < surfaces.size() &&
         surfaces[static_cast<size_t>(surface)] != nullptr;
}

}  // namespace qvs::fakes
