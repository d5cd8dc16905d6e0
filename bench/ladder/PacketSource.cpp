#include "ladder/PacketSource.h"

#include <cstdlib>
#include <cstring>

#include "ladder/FlvSource.h"
#include "ladder/IvfSource.h"

namespace qvs::bench {
namespace {

constexpr size_t kLargestPacket = size_t{1} << 26;  ///< bytes

}  // namespace

void failOnFile(const std::string& path, const char* what) {
  std::fprintf(stderr, "%s: %s\n", path.c_str(), what);
  std::exit(2);
}

std::unique_ptr<PacketSource> PacketSource::open(const std::string& path) {
  FileHandle file(fopen(path.c_str(), "rb"));
  char mark[4] = {};
  if (!file || fread(mark, 1, sizeof mark, file.get()) != sizeof mark) failOnFile(path, "cannot be read");
  std::rewind(file.get());
  std::unique_ptr<PacketSource> source;
  if (std::memcmp(mark, "DKIF", 4) == 0) {
    source = std::make_unique<IvfSource>(path, std::move(file));
  } else if (std::memcmp(mark, "FLV", 3) == 0) {
    source = std::make_unique<FlvSource>(path, std::move(file));
  } else {
    failOnFile(path, "neither IVF nor FLV");
  }
  source->countPackets();
  return source;
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
