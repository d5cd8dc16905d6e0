// Bytes of a pipe or device handed to libavformat, with a stop that ends a waiting read.
#include "media/LiveInput.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <cerrno>

namespace qvs::host {

namespace {

constexpr int kBufferBytes = 32 * 1024;

// Without O_NONBLOCK opening a FIFO waits for its writer, where nothing could stop it.
int openInput(const std::string& path) {
  if (path == "-") return fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
  return ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
}

void closeDescriptor(int descriptor) {
  if (descriptor >= 0) ::close(descriptor);
}

}  // namespace

LiveInput::LiveInput() : stopEvent_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}

LiveInput::~LiveInput() {
  if (context_) av_freep(&context_->buffer);
  avio_context_free(&context_);
  closeDescriptor(input_);
  closeDescriptor(stopEvent_);
}

MediaStatus LiveInput::open(const std::string& path) {
  input_ = openInput(path);
  if (input_ < 0) return MediaStatus::fromCode(AVERROR(errno), "cannot open");
  if (isatty(input_)) return MediaStatus::failure("is a terminal, nothing feeds it");
  auto* buffer = static_cast<unsigned char*>(av_malloc(kBufferBytes));
  context_ = buffer ? avio_alloc_context(buffer, kBufferBytes, 0, this, read, nullptr, nullptr) : nullptr;
  if (context_) return {};
  av_free(buffer);
  return MediaStatus::failure("out of memory");
}

void LiveInput::stop() {
  if (stopEvent_ >= 0) eventfd_write(stopEvent_, 1);
}

bool LiveInput::waitForBytes() {
  pollfd waited[] = {{stopEvent_, POLLIN, 0}, {input_, POLLIN, 0}};
  while (poll(waited, 2, -1) < 0)
    if (errno != EINTR) return false;
  return waited[0].revents == 0;
}

int LiveInput::read(void* self, uint8_t* bytes, int size) {
  LiveInput& input = *static_cast<LiveInput*>(self);
  while (!input.ended_) {
    if (!input.waitForBytes()) break;
    const ssize_t count = ::read(input.input_, bytes, static_cast<size_t>(size));
    if (count > 0) return static_cast<int>(count);
    if (count < 0 && (errno == EINTR || errno == EAGAIN)) continue;
    if (count < 0) return AVERROR(errno);
    break;
  }
  input.ended_ = true;
  return AVERROR_EOF;
}

}  // namespace qvs::host
