// Requests of still pictures, served. Input: one byte for the codec, one for what of the settings is sent, fit mode,
// then width, height and crop of two bytes each, then packets, each behind its length in two bytes.

#include <cstdlib>
#include <vector>

#include "FuzzInput.h"
#include "offline/thumbnail/Thumbnailer.h"

namespace {

using namespace qvs;

constexpr int kMostPackets = 16;
constexpr int32_t kMostPixels = 1024;  ///< to a side: huge pictures only cost time here
constexpr int32_t kCodecs[] = {7, 10, 11, 12};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzz::FuzzInput input(data, size);
  ThumbnailerRequestData request;
  request.codec = kCodecs[input.take<uint8_t>() % 4];
  const auto options = input.take<uint8_t>();
  request.implementation = (options & 1) != 0 ? ThumbnailerRequestData::kPictureOfLastPacket : 0;
  request.deinterlace = options >> 1 & 3;
  request.loopFilter = (options & 8) != 0 ? 0 : -1;
  request.fitMode = input.take<int8_t>();
  request.width = input.take<int16_t>() % (kMostPixels + 1);
  request.height = input.take<int16_t>() % (kMostPixels + 1);
  for (int32_t& side : request.crop) side = input.take<int16_t>();
  std::vector<std::vector<uint8_t>> bytes;
  std::vector<ThumbnailerRequestPacketData> packets;
  while (static_cast<int>(bytes.size()) < kMostPackets && !input.empty()) {
    const auto packet = input.bytes(input.take<uint16_t>());
    bytes.emplace_back(packet.begin(), packet.end());
    const auto number = static_cast<uint64_t>(bytes.size());
    packets.push_back({bytes.back().data(), static_cast<uint32_t>(bytes.back().size()), number * 40, 0, 1});
  }
  request.packets = packets.data();
  request.packetsLen = static_cast<uint32_t>(packets.size());
  ThumbnailerResponseData response;
  Thumbnailer::videoDecoderGetVideoFrame(*Thumbnailer::codecOf(request.codec), request, response);
  // All of what is told to be there must be there.
  uint32_t sum = 0;
  for (uint32_t i = 0; i < response.pictureDataLen; ++i) sum += response.pictureData[i];
  std::free(response.pictureData);
  volatile uint32_t seen = sum;
  (void)seen;
  return 0;
}
