#include "ladder/PacketSource.h"

#include <cstdlib>
#include <cstring>

namespace qvs::bench {
namespace {

constexpr size_t kLargestPacket = size_t{1} << 26;  ///< bytes

}  // namespace

void failOnFile(const std::string& path, const char* what) {
  std::fprintf(stderr, "%s: %s\n", path.c_str(), what);
  std::exit(2);
}

PacketSource::PacketSource(const std::string& path, FileHandle file, long firstPacket)
    : path(path), file(std::move(file)), firstPacket(firstPacket) {}

void PacketSource::countPackets() {
  fseek(file.get(), firstPacket, SEEK_SET);
  while (readPacket()) ++count;
  if (count == 0) failOnFile(path, "no frames");
  fseek(file.get(), firstPacket, SEEK_SET);
}

std::span<uint8_t> PacketSource::next() {
  if (!readPacket()) {
    fseek(file.get(), firstPacket, SEEK_SET);
    if (!readPacket()) failOnFile(path, "cannot be read again");
  }
  return {packet.data(), packet.size() - kPadding};
}

bool PacketSource::readInto(std::vector<uint8_t>& target, size_t size) {
  if (size > kLargestPacket) failOnFile(path, "a packet's header makes no sense");
  target.resize(size + kPadding);
  std::memset(target.data() + size, 0, kPadding);
  return fread(target.data(), 1, size, file.get()) == size;
}

}  // namespace qvs::bench
