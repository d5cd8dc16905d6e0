// Memory of an instance: little until used, none per picture, and an honest status when there is none.
#include <gtest/gtest.h>
#include <zimg.h>

#include <initializer_list>

#include "support/FailingAllocator.h"
#include "TestPicture.h"

namespace qvs::test {
namespace {

// What `action` allocates, with every allocation from number `failAt` on refused; 0 refuses none.
template <class Action>
AllocatorReport allocationsOf(Action action, uint64_t failAt = 0) {
  armAllocator(failAt, FailureMode::FromThen);
  action();
  return disarmAllocator();
}

struct Case {
  uint32_t target, source;
  uint32_t width, height;
  uint32_t orientation = 0;
};

// One case for each kind of path.
const Case kCases[] = {
    {UCC_FORMAT_I420, UCC_FORMAT_I420, 96, 64},
    {UCC_FORMAT_I420, UCC_FORMAT_I420, 60, 40},
    {UCC_FORMAT_NV12, UCC_FORMAT_NV12, 60, 40},
    {UCC_FORMAT_BGRA, UCC_FORMAT_I420, 96, 64},
    {UCC_FORMAT_I420, UCC_FORMAT_BGRA, 96, 64},
    {UCC_FORMAT_I420, UCC_FORMAT_UYVY, 96, 64},
    {UCC_FORMAT_I420, UCC_FORMAT_I422, 96, 64},
    {UCC_FORMAT_I422, UCC_FORMAT_I420, 96, 64},
    {UCC_FORMAT_YUY2, UCC_FORMAT_I420, 96, 64},
    {UCC_FORMAT_NV12, UCC_FORMAT_I420, 96, 64},
    {UCC_FORMAT_NV12, UCC_FORMAT_NV21, 96, 64},
    {UCC_FORMAT_P210, UCC_FORMAT_V210, 96, 64},
    {UCC_FORMAT_I420, UCC_FORMAT_V210, 48, 32},
    {UCC_FORMAT_BGRA, UCC_FORMAT_BGRA, 48, 32},
    {UCC_FORMAT_BGRA, UCC_FORMAT_I420, 48, 32},
    {UCC_FORMAT_BGR3, UCC_FORMAT_BGRA, 96, 64},
    {UCC_FORMAT_I420, UCC_FORMAT_I420, 64, 96, UCC_ORIENTATION_TURN_90},
    {UCC_FORMAT_NV12, UCC_FORMAT_NV12, 40, 60, UCC_ORIENTATION_TURN_90},
    {UCC_FORMAT_NV12, UCC_FORMAT_I420, 60, 40, UCC_ORIENTATION_MIRROR},
    {UCC_FORMAT_BGRA, UCC_FORMAT_BGRA, 64, 96, UCC_ORIENTATION_TURN_90},
};

class Job {
 public:
  Job(const Case& c, uint32_t overlayFormat = UCC_FORMAT_BGRA)
      : source(testFormat(c.source), 96, 64),
        target(testFormat(c.target), c.width, c.height),
        overlay(testFormat(overlayFormat), 16, 12) {
    source.randomize(1);
    overlay.randomize(2);
    settings = {2, &overlay.frame(), 5, 3, 20, 10, 0};
    config.overlay = &settings;
    config.orientation = c.orientation;
  }
  uint32_t operator()(void* instance) {
    return UCC_Transform(instance, &target.frame(), &source.frame(), &config);
  }

  TestPicture source, target, overlay;
  ucc_overlay_config_t settings{};
  ucc_config_t config{};
};

TEST(ConverterMemory, AnUnusedInstanceIsSmall) {
  void* instance = nullptr;
  const AllocatorReport made = allocationsOf([&] { instance = UCC_Create(0); });
  EXPECT_EQ(made.allocations, 1u);
  EXPECT_LE(made.bytes, 512u);
  UCC_Destroy(instance);
}

TEST(ConverterMemory, NothingIsAllocatedPerPicture) {
  for (const Case& c : kCases) {
    Job job(c);
    void* instance = UCC_Create(0);
    ASSERT_EQ(job(instance), 0u);
    uint32_t status = 9;
    EXPECT_EQ(allocationsOf([&] { status = job(instance); }).allocations, 0u)
        << c.target << " from " << c.source;
    EXPECT_EQ(status, 0u);
    UCC_Destroy(instance);
  }
}

TEST(ConverterMemory, FailureAtAnyAllocationIsAStatusAndHeals) {
  zimg_clear_last_error();  // its per-thread record is made at the first error, and glibc aborts if that
                            // fails
  for (const Case& c : kCases) {
    Job job(c);
    Job reference(c);
    void* good = UCC_Create(0);
    const uint64_t needed = allocationsOf([&] { reference(good); }).allocations;
    UCC_Destroy(good);
    for (uint64_t failAt = 1; failAt <= needed; ++failAt) {
      void* instance = UCC_Create(0);
      uint32_t status = 9;
      allocationsOf([&] { status = job(instance); }, failAt);
      EXPECT_EQ(status, 2u) << c.target << " from " << c.source << ", allocation " << failAt << " of "
                            << needed;
      EXPECT_EQ(job(instance), 0u);
      EXPECT_EQ(job.target.bytes(), reference.target.bytes());
      UCC_Destroy(instance);
    }
    void* refused = &refused;
    allocationsOf([&] { refused = UCC_Create(0); }, 1);
    EXPECT_EQ(refused, nullptr);
  }
}

}  // namespace
}  // namespace qvs::test
