#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <list>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

namespace qvs::fakes {

/// A queue of work. Fields are the engine's, under its lock.
struct Stream {
  /// A place in a stream: reached when so many of its tasks are done.
  struct Point {
    std::shared_ptr<Stream> stream;
    uint64_t number = 0;
  };
  struct Task {
    std::function<void()> run;
    std::vector<Point> after;
    std::chrono::system_clock::time_point due;
  };
  std::deque<Task> queue;
  uint64_t pushed = 0, done = 0, demanded = 0;
};

/// One worker that runs the streams' tasks late: when somebody waits for them, else some milliseconds after they were
/// queued, and of several streams the newest first. What was not waited for is not there yet.
class StreamEngine {
 public:
  explicit StreamEngine(std::chrono::milliseconds lateness);
  ~StreamEngine();

  std::shared_ptr<Stream> make();
  /// The stream's tasks still run; it is gone when they have.
  void drop(const std::shared_ptr<Stream>& stream);

  /// Runs after what the stream has, and after those points.
  Stream::Point push(const std::shared_ptr<Stream>& stream, std::function<void()> task,
                     std::vector<Stream::Point> after = {});
  Stream::Point end(const std::shared_ptr<Stream>& stream);
  bool isReached(const Stream::Point& point);
  void wait(const Stream::Point& point);
  void waitForAll();

 private:
  void work();
  std::shared_ptr<Stream> next(std::chrono::system_clock::time_point now,
                               std::chrono::system_clock::time_point& wake);
  std::shared_ptr<Stream> runnable(std::shared_ptr<Stream> stream);

  const std::chrono::milliseconds late;
  std::mutex lock;
  std::condition_variable changed;
  std::list<std::shared_ptr<Stream>> streams;  ///< newest first
  bool ending = false;
  std::thread worker;  // last: it uses all of the above
};

}  // namespace qvs::fakes
