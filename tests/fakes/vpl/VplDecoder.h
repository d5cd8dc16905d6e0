#pragma once

extern "C" {
#include <libavcodec/avcodec.h>
}
#include <vpl/mfx.h>

#include <deque>
#include <memory>
#include <span>

#include "fakes/vpl/Runtime.h"

namespace qvs::fakes {

/// The decoder of a session, over libavcodec. It keeps work surfaces locked as long as a card keeps its references.
class VplDecoder {
 public:
  explicit VplDecoder(const mfxVideoParam& wanted);
  ~VplDecoder();
  VplDecoder(const VplDecoder&) = delete;

  /// Fills the picture's description from the headers in `bytes`. False where there is none.
  static bool readHeader(std::span<const uint8_t> bytes, mfxInfoMFX& mfx);

  mfxStatus reset();
  const mfxVideoParam& tell() const { return parameters; }
  mfxStatus decode(mfxBitstream* bits, mfxFrameSurface1* work, mfxFrameSurface1** out,
                   VplOperation& operation);

 private:
  struct Close {
    void operator()(AVCodecContext* context) const { avcodec_free_context(&context); }
    void operator()(AVFrame* frame) const { av_frame_free(&frame); }
    void operator()(AVPacket* packet) const { av_packet_free(&packet); }
  };
  using Context = std::unique_ptr<AVCodecContext, Close>;
  static Context openContext(mfxU32 codec);
  static int send(AVCodecContext& context, std::span<const uint8_t> bytes, int64_t pts);

  void letGo(size_t kept);
  void fill(mfxFrameSurface1& surface) const;

  mfxVideoParam parameters{};
  Context context;
  std::unique_ptr<AVFrame, Close> frame{av_frame_alloc()};
  std::deque<mfxFrameSurface1*> references;
  bool draining = false;
};

}  // namespace qvs::fakes
