#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <vector>

#include "CuvidSequence.h"
#include "Driver.h"

struct AVFrame;

namespace qvs::fakes {

/// The emulated video decoder: libavcodec, with its pictures put into numbered surfaces. Interlaced pictures come out as
/// they are, both fields woven, whatever way of deinterlacing was asked for.
class CuvidDecoder {
 public:
  CuvidDecoder(const CUVIDDECODECREATEINFO& info, const CuvidCodec& codec, CUcontext context);
  ~CuvidDecoder();
  CuvidDecoder(const CuvidDecoder&) = delete;
  CuvidDecoder& operator=(const CuvidDecoder&) = delete;

  bool isOpen() const { return decoder != nullptr; }
  CUcontext owner() const { return context; }
  CUresult decode(const CUVIDPICPARAMS& picture);
  CUresult map(int surface, const CUVIDPROCPARAMS& parameters, unsigned long long* pointer, unsigned* pitch);
  CUresult unmap(unsigned long long pointer);
  CUresult reconfigure(const CUVIDRECONFIGUREDECODERINFO& wanted);
  /// 0 for a surface without a picture.
  bool hasPicture(int surface);

 private:
  using Frame = std::shared_ptr<AVFrame>;
  static int putIntoSurface(AVCodecContext* av, AVFrame* frame, int flags);
  bool addHeaders(const CUVIDPICPARAMS& picture, std::vector<uint8_t>& bytes);

  std::mutex lock;
  CUVIDDECODECREATEINFO info;
  const CuvidCodec& codec;
  CUcontext context;
  AVCodecContext* decoder = nullptr;
  std::vector<Frame> surfaces;
  size_t current = 0;     ///< where the picture that is being decoded goes
  bool isPlaced = false;  ///< it went there
  bool headersSeen = false;
  std::vector<uint8_t> lastHeaders;
  uint64_t reserved = 0;                               ///< memory of the card for the surfaces
  std::map<uint64_t, std::shared_ptr<Stream>> mapped;  ///< with the stream that orders the end
};

}  // namespace qvs::fakes
