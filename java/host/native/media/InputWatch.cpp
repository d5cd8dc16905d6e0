// The end of waiting for a server: by a signal or for want of patience.
#include "media/InputWatch.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>

extern "C" {
#include <libavutil/log.h>
#include <libavutil/time.h>
}

namespace qvs::host {

namespace {

std::atomic<int64_t> reconnectsOfAll = 0;

// libavformat has no other way to tell it.
void hearReconnects(void*, int, const char* format, va_list) {
  constexpr char kReconnect[] = "Will reconnect";
  if (format && std::strncmp(format, kReconnect, sizeof kReconnect - 1) == 0) ++reconnectsOfAll;
}

}  // namespace

void InputWatch::guard(AVFormatContext* format, int64_t patienceMs) {
  av_log_set_callback(hearReconnects);
  patienceUs_ = patienceMs * 1000;
  reconnectsBefore_ = reconnectsOfAll;
  format->interrupt_callback = {isOver, this};
}

void InputWatch::begin(int64_t workUs) {
  if (patienceUs_ > 0) deadlineUs_ = av_gettime_relative() + patienceUs_ + workUs;
}

int InputWatch::isOver(void* self) {
  InputWatch& watch = *static_cast<InputWatch*>(self);
  if (watch.stopped_) return 1;
  if (av_gettime_relative() < watch.deadlineUs_) return 0;
  watch.outOfPatience_ = true;
  return 1;
}

std::string InputWatch::patienceText() const {
  char text[32];
  std::snprintf(text, sizeof text, "%g", static_cast<double>(patienceUs_) / 1e6);
  return text;
}

int64_t InputWatch::reconnects() const {
  return patienceUs_ > 0 ? reconnectsOfAll - reconnectsBefore_ : 0;
}

}  // namespace qvs::host
