// The choice of a packet source by a file's first bytes.
#include <cstdio>
#include <cstring>

#include "ladder/FlvSource.h"
#include "ladder/IvfSource.h"

namespace qvs::bench {

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

}  // namespace qvs::bench
