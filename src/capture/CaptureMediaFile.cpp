// Reads media files of a capture directory.
#include "capture/CaptureMediaFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace qvs {

namespace {

constexpr uint64_t kFirstChunk = 12;
constexpr uint64_t kChunkHead = 8;
constexpr int kChunksMax = 1000;  ///< zeros look like empty chunks

uint32_t littleEndian32(const uint8_t* at) {
  return at[0] | uint32_t{at[1]} << 8 | uint32_t{at[2]} << 16 | uint32_t{at[3]} << 24;
}

}  // namespace

CaptureMediaFile::CaptureMediaFile(const std::string& path)
    : descriptor(path.empty() ? -1 : open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK)) {
  struct stat status {};
  if (descriptor >= 0 && fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode)) {
    size = static_cast<uint64_t>(status.st_size);
  } else if (descriptor >= 0) {
    ::close(descriptor);
    descriptor = -1;
  }
}

CaptureMediaFile::~CaptureMediaFile() {
  if (descriptor >= 0) ::close(descriptor);
}

size_t CaptureMediaFile::read(uint64_t offset, uint8_t* to, size_t bytes) const {
  size_t done = 0;
  while (done < bytes) {
    const ssize_t got = pread(descriptor, to + done, bytes - done, static_cast<off_t>(offset + done));
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) break;
    done += static_cast<size_t>(got);
  }
  return done;
}

CaptureMediaFile::Sound CaptureMediaFile::findSound() const {
  Sound sound{0, size};
  bool isData = false;
  uint64_t at = kFirstChunk;
  for (int chunk = 0; chunk < kChunksMax; ++chunk) {
    uint8_t head[kChunkHead];
    if (read(at, head, sizeof(head)) != sizeof(head)) break;
    const uint64_t length = littleEndian32(head + 4), body = at + kChunkHead;
    if (body > size) break;  // it has grown since
    const bool data = std::memcmp(head, "data", 4) == 0;
    const bool whole = length <= size - body;
    if (data || (!isData && std::memcmp(head, "fact", 4) == 0)) {
      // What follows the samples is no sound. Files of 4 GiB and more, and streamed ones, tell no length.
      sound = {body, data && whole && length != 0 ? length : size - body};
      isData = data;
    }
    if (!whole) break;
    at = body + length + (length & 1);
  }
  return sound;
}

}  // namespace qvs
