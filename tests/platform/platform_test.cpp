#include <dlfcn.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <thread>

#include "platform/BufferUtils.h"
#include "platform/ConcurrentLockFactory.h"
#include "platform/Guard.h"
#include "platform/SharedLibrary.h"

namespace qvs {
namespace {

TEST(Guard, PrintsAndTurnsAnExceptionIntoAFailure) {
  testing::internal::CaptureStdout();
  const uint32_t result = guarded("Stage::step", []() -> uint32_t { throw std::runtime_error("no memory"); });
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "Stage::step: no memory\n");
  EXPECT_EQ(result, kFailure);

  EXPECT_EQ(guarded("Stage::step", [] { return 7u; }), 7u);
  EXPECT_EQ(guarded(
                "Stage::step", []() -> int { throw std::bad_alloc(); }, 5),
            5);
}

TEST(Guard, LetsForeignExceptionsPass) {
  // A thread's cancellation travels as such an exception and must not be swallowed.
  EXPECT_THROW(guarded("Stage::step", [] { throw 3; }), int);
}

TEST(ConcurrentLock, IsRecursiveAndExclusive) {
  const std::unique_ptr<IConcurrentLock> lock(ConcurrentLockFactory::newConcurrentLock());
  int counter = 0;
  const auto count = [&] {
    for (int i = 0; i < 20000; ++i) {
      const ScopedLock outer(*lock);
      const ScopedLock inner(*lock);
      ++counter;
    }
  };
  std::thread other(count);
  count();
  other.join();
  EXPECT_EQ(counter, 40000);
}

TEST(SharedLibrary, TellsWhyALibraryIsMissingAndFindsSymbols) {
  SharedLibrary library;
  EXPECT_FALSE(library.open("/nowhere/libmissing.so"));
  EXPECT_THAT(library.lastError(), testing::HasSubstr("libmissing.so"));
  EXPECT_EQ(library.symbol<void*>("anything"), nullptr);

  ASSERT_TRUE(library.open("libm.so.6"));
  const auto cosine = library.symbol<double (*)(double)>("cos");
  ASSERT_NE(cosine, nullptr);
  EXPECT_EQ(cosine(0.0), 1.0);
  EXPECT_EQ(library.symbol<void*>("zarvoVideoScaler_create"), nullptr);

  SharedLibrary moved(std::move(library));
  EXPECT_TRUE(moved.isOpen());
  EXPECT_FALSE(library.isOpen());
}

TEST(BufferUtils, ReadsAndWritesBigEndian) {
  const uint8_t bytes[] = {0xFE, 0xDC, 0xBA, 0x98};
  EXPECT_EQ(BufferUtils::bufferToInt(bytes), 0xFEDCBA98u);
  uint8_t written[4];
  BufferUtils::intToBuffer(0xFEDCBA98u, written);
  EXPECT_THAT(written, testing::ElementsAreArray(bytes));
}

}  // namespace
}  // namespace qvs
