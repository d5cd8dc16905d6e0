// A bounded recording in a mapped file.
#include "session/jni/recorder/RecordingFile.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <unistd.h>
#include <zlib.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstring>

namespace qvs {
namespace {

constexpr size_t kAlignment = 8;

constexpr size_t aligned(size_t size) {
  return (size + kAlignment - 1) / kAlignment * kAlignment;
}

uint32_t checksumOf(const ChunkHeader& header, std::span<const uint8_t> bytes) {
  uLong sum = crc32(0, reinterpret_cast<const Bytef*>(&header.number), sizeof(header.number));
  sum = crc32(sum, reinterpret_cast<const Bytef*>(&header.flags), sizeof(header.flags));
  return static_cast<uint32_t>(crc32(sum, bytes.data(), static_cast<uInt>(bytes.size())));
}

}  // namespace

std::string RecordingFile::open(const std::string& path, uint64_t maxBytes) {
  const std::lock_guard<std::mutex> guard(lock);
  name = path;
  if (isLocked(name)) {
    name = path + "." + std::to_string(getpid());
    if (descriptor < 0) isLocked(name);
  }
  if (descriptor < 0) return name + ": " + std::strerror(errno);
  if (ftruncate(descriptor, 0) != 0) return name + ": " + std::strerror(errno);
  mostSlots = std::max<uint64_t>(maxBytes / kSlotBytes, kFewestSlots);
  for (const Stream stream : {Stream::kDefinitions, Stream::kSetup, Stream::kRing})
    if (!advance(stream)) return name + ": there is no room for a recording";
  return {};
}

// The descriptor stays open when the file is ours.
bool RecordingFile::isLocked(const std::string& candidate) {
  descriptor = ::open(candidate.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0644);
  if (descriptor < 0 || flock(descriptor, LOCK_EX | LOCK_NB) == 0) return false;
  ::close(descriptor);
  descriptor = -1;
  return true;
}

void RecordingFile::close() {
  const std::lock_guard<std::mutex> guard(lock);
  for (Cursor& cursor : cursors) {
    if (cursor.memory != nullptr) munmap(cursor.memory, kSlotBytes);
    cursor = {};
  }
  slots.clear();
  if (descriptor >= 0) ::close(descriptor);
  descriptor = -1;
}

bool RecordingFile::append(Stream stream, std::span<const uint8_t> frame, int64_t session) {
  const std::lock_guard<std::mutex> guard(lock);
  if (descriptor < 0) return false;
  uint64_t flags = kFirstOfFrame;
  while (!frame.empty()) {
    Cursor& cursor = cursors[static_cast<size_t>(stream)];
    const size_t part = std::min(room(cursor), frame.size());
    if (part == 0) {
      if (advance(stream)) continue;
      if (stream == Stream::kRing) return false;
      stream = Stream::kRing;  // kept less long, but not lost
      continue;
    }
    writeChunk(cursor, frame.first(part), flags | (part == frame.size() ? kLastOfFrame : 0));
    frame = frame.subspan(part);
    flags = 0;
    std::vector<int64_t>& owners = slots[cursor.slot].sessions;
    if (stream != Stream::kRing && session != kNoSession &&
        std::find(owners.begin(), owners.end(), session) == owners.end())
      owners.push_back(session);
  }
  return true;
}

void RecordingFile::sessionEnded(int64_t session) {
  const std::lock_guard<std::mutex> guard(lock);
  for (Slot& slot : slots)
    if (std::erase(slot.sessions, session) != 0) slot.neededTo = nextNumber;
}

size_t RecordingFile::room(const Cursor& cursor) const {
  const size_t taken = cursor.used + sizeof(ChunkHeader);
  return cursor.memory == nullptr || taken >= kSlotBytes ? 0 : kSlotBytes - taken;
}

void RecordingFile::writeChunk(Cursor& cursor, std::span<const uint8_t> bytes, uint64_t flags) {
  auto* header = reinterpret_cast<ChunkHeader*>(cursor.memory + cursor.used);
  // Ends the slot behind this chunk where an earlier use left something.
  const size_t end = cursor.used + aligned(sizeof(ChunkHeader) + bytes.size());
  if (end + sizeof(ChunkHeader) <= kSlotBytes)
    reinterpret_cast<ChunkHeader*>(cursor.memory + end)->length = 0;
  header->number = nextNumber++;
  header->flags = flags;
  header->checksum = checksumOf(*header, bytes);
  std::memcpy(header + 1, bytes.data(), bytes.size());
  std::atomic_ref<uint32_t>(header->length)
      .store(static_cast<uint32_t>(bytes.size()), std::memory_order_release);
  cursor.used = end;
}

bool RecordingFile::advance(Stream stream) {
  Cursor& cursor = cursors[static_cast<size_t>(stream)];
  const size_t index = takeSlot(stream);
  if (index == kNowhere) return false;
  void* memory = mmap(nullptr, kSlotBytes, PROT_READ | PROT_WRITE, MAP_SHARED, descriptor,
                      static_cast<off_t>(index * kSlotBytes));
  if (memory == MAP_FAILED) return false;
  if (cursor.memory != nullptr) munmap(cursor.memory, kSlotBytes);
  cursor = {.slot = index, .memory = static_cast<uint8_t*>(memory), .used = sizeof(SlotHeader)};
  slots[index] = {.stream = stream, .firstNumber = nextNumber, .sessions = {}};
  auto* header = reinterpret_cast<SlotHeader*>(memory);
  reinterpret_cast<ChunkHeader*>(header + 1)->length = 0;
  *header = {.magic = kSlotMagic, .firstNumber = nextNumber};
  return true;
}

// Set-up takes at most half the file by growth, so that the ring has a place; then it waits for what is no longer needed.
size_t RecordingFile::takeSlot(Stream stream) {
  const auto ofSetup = std::count_if(slots.begin(), slots.end(),
                                     [](const Slot& slot) { return slot.stream == Stream::kSetup; });
  const bool mayGrow = stream != Stream::kSetup || static_cast<size_t>(ofSetup) < mostSlots / 2;
  if (mayGrow && slots.size() < mostSlots && grow()) return slots.size() - 1;
  return oldestFreeSlot(stream);
}

// Blocks are reserved before they are written to: a full disk must not end the process.
bool RecordingFile::grow() {
  const auto begin = static_cast<off_t>(slots.size() * kSlotBytes);
  if (posix_fallocate(descriptor, begin, static_cast<off_t>(kSlotBytes)) != 0) {
    std::fprintf(stderr, "qvs: the recording %s stays at %zu MiB: no room for more\n", name.c_str(),
                 slots.size());
    mostSlots = slots.size();
    return false;
  }
  slots.push_back({.stream = Stream::kRing, .firstNumber = nextNumber, .sessions = {}});
  return true;
}

uint64_t RecordingFile::ringBegin() const {
  uint64_t begin = nextNumber;
  for (const Slot& slot : slots)
    if (slot.stream == Stream::kRing) begin = std::min(begin, slot.firstNumber);
  return begin;
}

bool RecordingFile::isFree(size_t index, uint64_t begin) const {
  const Slot& slot = slots[index];
  const bool inUse = std::any_of(std::begin(cursors), std::end(cursors),
                                 [&](const Cursor& cursor) { return cursor.slot == index; });
  if (inUse || slot.stream == Stream::kDefinitions) return false;
  return slot.stream == Stream::kRing || (slot.sessions.empty() && slot.neededTo < begin);
}

// Set-up that nobody needs goes before any of the ring. Where set-up finds none, the ring gives way too.
size_t RecordingFile::oldestFreeSlot(Stream stream) const {
  const uint64_t begin = ringBegin();
  size_t best = kNowhere;
  for (size_t i = 0; i < slots.size(); ++i) {
    if (!isFree(i, begin)) continue;
    if (slots[i].stream == Stream::kSetup) return i;
    if (best == kNowhere || slots[i].firstNumber < slots[best].firstNumber) best = i;
  }
  const auto ringSlots = std::count_if(slots.begin(), slots.end(),
                                       [](const Slot& slot) { return slot.stream == Stream::kRing; });
  return stream != Stream::kRing && ringSlots <= 2 ? kNowhere : best;
}

}  // namespace qvs
