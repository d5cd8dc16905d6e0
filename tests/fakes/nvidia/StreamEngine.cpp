// The worker behind the emulated card's streams.
#include "StreamEngine.h"

#include <algorithm>

namespace qvs::fakes {

using std::chrono::system_clock;

StreamEngine::StreamEngine(std::chrono::milliseconds lateness) : late(lateness), worker([this] { work(); }) {}

StreamEngine::~StreamEngine() {
  {
    const std::lock_guard hold(lock);
    ending = true;
    changed.notify_all();
  }
  worker.join();
  // A dropped stream's last task holds the stream.
  for (const auto& stream : streams) stream->queue.clear();
}

std::shared_ptr<Stream> StreamEngine::make() {
  const std::lock_guard hold(lock);
  streams.push_front(std::make_shared<Stream>());
  return streams.front();
}

void StreamEngine::drop(const std::shared_ptr<Stream>& stream) {
  push(stream, [this, stream] {
    const std::lock_guard hold(lock);
    streams.remove(stream);
  });
}

Stream::Point StreamEngine::push(const std::shared_ptr<Stream>& stream, std::function<void()> task,
                                 std::vector<Stream::Point> after) {
  const std::lock_guard hold(lock);
  stream->queue.push_back({std::move(task), std::move(after), system_clock::now() + late});
  changed.notify_all();
  return {stream, ++stream->pushed};
}

Stream::Point StreamEngine::end(const std::shared_ptr<Stream>& stream) {
  const std::lock_guard hold(lock);
  return {stream, stream->pushed};
}

bool StreamEngine::isReached(const Stream::Point& point) {
  const std::lock_guard hold(lock);
  return point.stream->done >= point.number;
}

void StreamEngine::wait(const Stream::Point& point) {
  std::unique_lock hold(lock);
  point.stream->demanded = std::max(point.stream->demanded, point.number);
  changed.notify_all();
  changed.wait(hold, [&] { return point.stream->done >= point.number; });
}

void StreamEngine::waitForAll() {
  std::vector<Stream::Point> ends;
  {
    const std::lock_guard hold(lock);
    for (const auto& stream : streams) ends.push_back({stream, stream->pushed});
  }
  for (const auto& point : ends) wait(point);
}

/// The stream whose task has to run so that this one's can: itself where nothing is in its way.
std::shared_ptr<Stream> StreamEngine::runnable(std::shared_ptr<Stream> stream) {
  for (const auto& point : stream->queue.front().after) {
    if (point.stream->done >= point.number) continue;
    point.stream->demanded = std::max(point.stream->demanded, point.number);
    return runnable(point.stream);
  }
  return stream;
}

std::shared_ptr<Stream> StreamEngine::next(system_clock::time_point now, system_clock::time_point& wake) {
  for (const auto& stream : streams) {
    if (stream->demanded > stream->done) return runnable(stream);
  }
  for (const auto& stream : streams) {
    if (stream->queue.empty()) continue;
    if (stream->queue.front().due <= now) return runnable(stream);
    wake = std::min(wake, stream->queue.front().due);
  }
  return nullptr;
}

void StreamEngine::work() {
  std::unique_lock hold(lock);
  while (!ending) {
    const auto now = system_clock::now();
    auto wake = now + std::chrono::seconds(1);
    const auto stream = next(now, wake);
    if (stream == nullptr) {
      // The system's clock: the thread sanitizer knows its waits.
      changed.wait_until(hold, wake);
      continue;
    }
    Stream::Task task = std::move(stream->queue.front());
    stream->queue.pop_front();
    hold.unlock();
    task.run();
    task = {};
    hold.lock();
    ++stream->done;
    changed.notify_all();
  }
}

}  // namespace qvs::fakes
