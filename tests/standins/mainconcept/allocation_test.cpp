// Memory of an instance: little until used, none per picture, and an honest status when there is none.
#include <gtest/gtest.h>
#include <zimg.h>

#include <atomic>
#include <cstdlib>
#include <initializer_list>

#include "TestPicture.h"

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define QVS_OWN_MALLOC 0
#else
#define QVS_OWN_MALLOC 1
#endif

#if QVS_OWN_MALLOC

namespace {
std::atomic<bool> watching{false};
std::atomic<long> allocations{0};
std::atomic<long> bytesAsked{0};
std::atomic<long> failFrom{-1};  ///< number of the first allocation that fails, -1 none

bool allow(size_t bytes) {
  if (!watching) return true;
  const long number = allocations++;
  bytesAsked += static_cast<long>(bytes);
  return failFrom < 0 || number < failFrom;
}
}  // namespace

extern "C" {
void* __libc_malloc(size_t);
void* __libc_calloc(size_t, size_t);
void* __libc_realloc(void*, size_t);
void* __libc_memalign(size_t, size_t);

void* malloc(size_t bytes) {
  return allow(bytes) ? __libc_malloc(bytes) : nullptr;
}
void* calloc(size_t count, size_t bytes) {
  return allow(count * bytes) ? __libc_calloc(count, bytes) : nullptr;
}
void* realloc(void* block, size_t bytes) {
  return allow(bytes) ? __libc_realloc(block, bytes) : nullptr;
}
void* aligned_alloc(size_t alignment, size_t bytes) {
  return allow(bytes) ? __libc_memalign(alignment, bytes) : nullptr;
}
int posix_memalign(void** block, size_t alignment, size_t bytes) {
  *block = allow(bytes) ? __libc_memalign(alignment, bytes) : nullptr;
  return *block ? 0 : 12;
}
}

namespace qvs::test {
namespace {

// What `action` allocates, with every allocation from number `failAt` on refused.
template <class Action>
long countAllocations(Action action, long failAt = -1) {
  allocations = 0;
  bytesAsked = 0;
  failFrom = failAt;
  watching = true;
  action();
  watching = false;
  failFrom = -1;
  return allocations;
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
  EXPECT_EQ(countAllocations([&] { instance = UCC_Create(0); }), 1);
  EXPECT_LE(bytesAsked, 512);
  UCC_Destroy(instance);
}

TEST(ConverterMemory, NothingIsAllocatedPerPicture) {
  for (const Case& c : kCases) {
    Job job(c);
    void* instance = UCC_Create(0);
    ASSERT_EQ(job(instance), 0u);
    uint32_t status = 9;
    EXPECT_EQ(countAllocations([&] { status = job(instance); }), 0) << c.target << " from " << c.source;
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
    const long needed = countAllocations([&] { reference(good); });
    UCC_Destroy(good);
    for (long failAt = 0; failAt < needed; ++failAt) {
      void* instance = UCC_Create(0);
      uint32_t status = 9;
      countAllocations([&] { status = job(instance); }, failAt);
      EXPECT_EQ(status, 2u) << c.target << " from " << c.source << ", allocation " << failAt << " of "
                            << needed;
      EXPECT_EQ(job(instance), 0u);
      EXPECT_EQ(job.target.bytes(), reference.target.bytes());
      UCC_Destroy(instance);
    }
    void* refused = &refused;
    countAllocations([&] { refused = UCC_Create(0); }, 0);
    EXPECT_EQ(refused, nullptr);
  }
}

}  // namespace
}  // namespace qvs::test

#else

TEST(ConverterMemory, NeedsThePlainAllocator) {
  GTEST_SKIP() << "sanitizers bring their own malloc";
}

#endif
