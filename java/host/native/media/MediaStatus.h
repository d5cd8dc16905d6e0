#pragma once

#include <string>
#include <utility>

extern "C" {
#include <libavutil/error.h>
}

namespace qvs::host {

/// Outcome of a container operation: empty text is success, anything else is one line for the user.
class [[nodiscard]] MediaStatus {
 public:
  MediaStatus() = default;
  static MediaStatus failure(std::string text) { return MediaStatus(std::move(text)); }
  /// "what: reason" with the reason of a negative libav code; success for a code of 0 or more.
  static MediaStatus fromCode(int code, const char* what) {
    if (code >= 0) return {};
    char reason[AV_ERROR_MAX_STRING_SIZE] = {};
    av_strerror(code, reason, sizeof reason);
    return MediaStatus(std::string(what) + ": " + reason);
  }

  bool ok() const { return text_.empty(); }
  const std::string& text() const { return text_; }

 private:
  explicit MediaStatus(std::string text) : text_(std::move(text)) {}

  std::string text_;
};

}  // namespace qvs::host
