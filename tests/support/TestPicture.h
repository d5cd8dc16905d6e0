#pragma once

#include <cstdint>

#include "support/CodedStream.h"

namespace qvs {
class VideoFrameBuffer;
}

namespace qvs::test {

/// One pixel of the moving test picture. U and V are far apart everywhere, so that a swap shows.
struct TestPixel {
  uint8_t y, u, v;
};
TestPixel testPixel(uint32_t x, uint32_t y, uint32_t width, uint32_t height, uint32_t time);

/// Paints picture number `time` on a frame that has storage.
void paintTestPicture(VideoFrameBuffer& frame, uint32_t time);

/// PSNR in dB of one plane ('Y', 'U' or 'V') of a frame against the test picture of its size.
double psnrOfPlane(const VideoFrameBuffer& frame, char plane, uint32_t time);

/// A coded stream of the test picture, made by libvpx directly: key frame first, the packet's timecode 40 ms
/// apart, good quality. Odd sizes are fine.
CodedStream makeStream(uint32_t codecVersion, uint32_t width, uint32_t height, uint32_t frames);

/// Its bytes alone.
using Packet = std::vector<uint8_t>;
std::vector<Packet> makePackets(uint32_t codecVersion, uint32_t width, uint32_t height, uint32_t frames);

}  // namespace qvs::test
