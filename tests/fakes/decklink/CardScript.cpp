// The fake card's modes and its script.
#include "fakes/decklink/CardScript.h"

#include <chrono>
#include <cstdlib>
#include <sstream>
#include <thread>

#include "fakes/support/FaultScript.h"

namespace qvs::fakes::card {

namespace {
constexpr uint32_t k601 = 2, k709 = 4;
}

std::atomic<uint64_t> scriptGeneration{1};

uint32_t codeOf(const char* text) {
  uint32_t code = 0;
  for (int i = 0; i < 4 && text[i] != 0; ++i) code = code * 256 + static_cast<unsigned char>(text[i]);
  return code;
}

const std::vector<CardMode>& cardModes() {
  static const std::vector<CardMode> modes = {
      {"ntsc", "NTSC", 720, 486, 1001, 30000, "lowr", k601},
      {"pal ", "PAL", 720, 576, 1000, 25000, "uppr", k601},
      {"23ps", "1080p23.98", 1920, 1080, 1001, 24000, "prog", k709},
      {"24ps", "1080p24", 1920, 1080, 1000, 24000, "prog", k709},
      {"Hp25", "1080p25", 1920, 1080, 1000, 25000, "prog", k709},
      {"Hp29", "1080p29.97", 1920, 1080, 1001, 30000, "prog", k709},
      {"Hp30", "1080p30", 1920, 1080, 1000, 30000, "prog", k709},
      {"Hp50", "1080p50", 1920, 1080, 1000, 50000, "prog", k709},
      {"Hp59", "1080p59.94", 1920, 1080, 1001, 60000, "prog", k709},
      {"Hp60", "1080p60", 1920, 1080, 1000, 60000, "prog", k709},
      {"Hi50", "1080i50", 1920, 1080, 1000, 25000, "uppr", k709},
      {"Hi59", "1080i59.94", 1920, 1080, 1001, 30000, "uppr", k709},
      {"hp50", "720p50", 1280, 720, 1000, 50000, "prog", k709},
      {"hp59", "720p59.94", 1280, 720, 1001, 60000, "prog", k709},
      {"hp60", "720p60", 1280, 720, 1000, 60000, "prog", k709},
      {"4k25", "2160p25", 3840, 2160, 1000, 25000, "prog", k709},
      {"4k50", "2160p50", 3840, 2160, 1000, 50000, "prog", k709},
      {"4k60", "2160p60", 3840, 2160, 1000, 60000, "prog", k709},
  };
  return modes;
}

const CardMode* findMode(uint32_t code) {
  for (const CardMode& mode : cardModes()) {
    if (codeOf(mode.code) == code) return &mode;
  }
  return nullptr;
}

std::vector<CardEvent> scriptEvents() {
  std::vector<CardEvent> events;
  std::istringstream all(faultScript().text("events", ""));
  for (std::string one; std::getline(all, one, ',');) {
    CardEvent event;
    const size_t at = one.rfind('@'), colon = one.find(':');
    event.at = std::strtoull(one.c_str() + at + 1, nullptr, 10);
    event.what = one.substr(0, std::min(at, colon));
    if (colon < at) event.word = one.substr(colon + 1, at - colon - 1);
    event.argument = std::strtoll(event.word.c_str(), nullptr, 10);
    events.push_back(event);
  }
  return events;
}

Status faultOf(const char* call) {
  const Fault fault = faultScript().next(call);
  if (fault.kind == Fault::Kind::kLate) std::this_thread::sleep_for(std::chrono::milliseconds(fault.value));
  return fault.kind == Fault::Kind::kStatus ? static_cast<Status>(fault.value) : 0;
}

OpenCounts& cardCounts() {
  static auto* const counts = new OpenCounts("card");  // a client may outlive the statics
  return *counts;
}

}  // namespace qvs::fakes::card
