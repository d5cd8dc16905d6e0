// The path over the v210 kernel.
#include "ucc/V210To420Path.h"

#include "ucc/kernels/V210To420.h"

namespace qvs::ucc {

bool V210To420Path::run(const ucc_frame_t& target, const ucc_frame_t& source) {
  const Planes420 planes{target.plane[0],  target.plane[1],  target.plane[2],
                         target.stride[0], target.stride[1], target.stride[2]};
  v210To420(source.plane[0], source.stride[0], planes, target.width, target.height);
  return true;
}

}  // namespace qvs::ucc
