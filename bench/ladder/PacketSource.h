#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "ladder/FileHandle.h"
#include "ladder/LadderSpec.h"

namespace qvs::bench {

/// Reads a file packet by packet, as a player does: what a ladder holds in memory is what it needs. Faults in
/// the file end the program with one line on standard error.
class PacketSource {
 public:
  static constexpr size_t kPadding = 64;  ///< readable bytes behind each packet, as decoders want them

  /// IVF with VP8 or VP9, or FLV with H.264.
  static std::unique_ptr<PacketSource> open(const std::string& path);
  virtual ~PacketSource() = default;

  uint64_t frameCount() const { return count; }
  virtual Codec codec() const = 0;
  /// The codec's configuration record; empty where it has none.
  virtual std::span<uint8_t> config() { return {}; }

  /// Valid until the next call. Behind the last packet comes the first again.
  std::span<uint8_t> next();

 protected:
  PacketSource(const std::string& path, FileHandle file, long firstPacket);

  /// Once, when the source is complete.
  void countPackets();
  /// False at the end of the file.
  virtual bool readPacket() = 0;
  bool readInto(std::vector<uint8_t>& target, size_t size);

  std::string path;
  FileHandle file;
  std::vector<uint8_t> packet;  ///< with padding

 private:
  long firstPacket;  ///< position in the file
  uint64_t count = 0;
};

}  // namespace qvs::bench
