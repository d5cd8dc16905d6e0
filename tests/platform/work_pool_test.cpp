#include "platform/WorkPool.h"

#include <gtest/gtest.h>

#include <array>
#include <latch>
#include <thread>

namespace qvs {
namespace {

struct Counted {
  uint32_t value =
      0;  ///< the task's while it is at work; not atomic, so that the thread sanitizer sees a race
  WorkPool::Task task{[this] { ++value; }};
};

TEST(WorkPool, RunsEveryTaskAsOftenAsSubmittedAndIsDoneAfterTheWait) {
  for (size_t threads : {0u, 1u, 3u}) {
    WorkPool pool(threads);
    std::vector<std::jthread> owners;
    for (int owner = 0; owner < 3; ++owner) {
      owners.emplace_back([&pool] {
        std::array<Counted, 3> counted;
        for (uint32_t round = 1; round <= 300; ++round) {
          for (auto& one : counted) pool.submit(one.task);
          pool.submit(counted[1].task);
          EXPECT_LE(pool.wait(counted[1].task, 1), 1u);
          for (auto& one : counted) {
            EXPECT_EQ(pool.wait(one.task), 0u);
            EXPECT_EQ(one.value, &one == &counted[1] ? 2 * round : round);
          }
        }
      });
    }
  }
}

TEST(WorkPool, AnOwnerWorksWhileEveryThreadIsBusyWithOthers) {
  WorkPool pool(1);
  std::latch started(1), release(1);
  WorkPool::Task blocking([&] {
    started.count_down();
    release.wait();
  });
  pool.submit(blocking);
  started.wait();

  std::thread([&] {
    Counted first, second;
    pool.submit(first.task);
    pool.submit(second.task);
    pool.wait(second.task);
    pool.wait(first.task);
    EXPECT_EQ(first.value + second.value, 2u);
  }).join();

  release.count_down();
  pool.wait(blocking);
}

TEST(WorkPool, AnOwnerThatWaitsForOneTaskWorksOffItsOthers) {
  WorkPool pool(1);
  std::latch started(1), release(1);
  WorkPool::Task large([&] {
    started.count_down();
    release.wait();
  });
  WorkPool::Task small([&] { release.count_down(); });
  pool.submit(large);
  started.wait();
  pool.submit(small);
  pool.wait(large);  // ends only if this thread runs the small one meanwhile
  pool.wait(small);
}

TEST(WorkPool, TheSharedPoolIsOneAndEndsWithItsLastHolder) {
  std::weak_ptr<WorkPool> seen;
  {
    const auto one = WorkPool::shared();
    EXPECT_EQ(one, WorkPool::shared());
    seen = one;
  }
  EXPECT_TRUE(seen.expired());
  EXPECT_NE(WorkPool::shared(), nullptr);
}

}  // namespace
}  // namespace qvs
