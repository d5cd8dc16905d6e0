#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "capture/CaptureDirectory.h"
#include "capture/CaptureFileSource.h"
#include "capture/CaptureManager.h"
#include "log/LogCollector.h"

namespace qvs::test {
namespace {

using ::testing::AllOf;
using ::testing::Contains;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::SizeIs;

/// The warnings that inspecting the directories gives; the devices' JSON goes to `json`.
std::vector<std::string> inspect(const CaptureDirectory& directory, std::string* json) {
  LogCollector log;
  CaptureManager manager;
  manager.setLogger(&log);
  EXPECT_EQ(manager.setPath(CaptureManager::kPathCapture, directory.path().c_str()), kSuccess);
  EXPECT_EQ(manager.inspectHardware(), kSuccess);
  manager.getHardwareInfoJSON(*json);
  std::vector<LogStatement> statements;
  log.getLogStatements(statements);
  std::vector<std::string> warnings;
  for (const LogStatement& one : statements) {
    if (one.level >= kLogWarn) warnings.push_back(one.str);
  }
  return warnings;
}

TEST(CaptureFileSource, TellsEachBadLineAndPlaysTheRestWithItsDefault) {
  struct Case {
    std::string line, told, playsAs;
  };
  const std::string none = "\"devices\":[]";
  const Case cases[] = {
      {"no colon here", "Line without a colon in info.properties: no colon here", "48p50.00"},
      {std::string(5000, 'x') + ": 1", "Line of 5003 bytes", "48p50.00"},
      {"video.frameRateEnum: 0", "Bad value video.frameRateEnum: 0", "48p50.00"},
      {"audio.sampleRate: -48000", "Bad value audio.sampleRate: -48000", "48p50.00"},
      {"audio.channels: 4294967298", "Bad value audio.channels: 4294967298", "48p50.00"},
      {"video.frameRateDenom: 1x", "Bad value video.frameRateDenom: 1x", "48p50.00"},
      {"video.frameRateDenom: 999999", "Bad value video.frameRateEnum: 50/999999", "48p30.00"},
      {"video.frameWidth: 63", "Bad value video.frameWidth: 63x48", "audioonly"},
      {"video.file.path: ../capture1/video.yuv", "Bad value video.file.path: ../capture1/video.yuv",
       "48p50.00"},
      {"audio.file.path: a/../../../etc/passwd", "Bad value audio.file.path", "48p50.00"},
      {"video.file.path: gone.yuv", "File not found [video.file.path]: ", "audioonly"},
      {"video.file.path: .", "File not found [video.file.path]: ", "audioonly"},
      {"audio.file.path: gone.wav", "File not found[audio.file.path]: ", "48p50.00"},
      {"audio.bytesPerSample: 4", "Bad value audio.bytesPerSample: 4", "48p50.00"},
  };
  for (const Case& one : cases) {
    SCOPED_TRACE(one.told);
    CaptureDirectory directory;
    directory.writeMovie(0, 3, one.line + "\n: a line to skip\n");
    directory.writeMovie(1, 3);
    std::string json;
    EXPECT_THAT(inspect(directory, &json), AllOf(SizeIs(1), Contains(HasSubstr(one.told))));
    EXPECT_THAT(json, AllOf(HasSubstr("\"name\":\"" + one.playsAs), HasSubstr("file::capture1")));
  }
}

TEST(CaptureFileSource, LeavesOutWhatHasNothingToPlayAndEndsAtTheFirstGap) {
  CaptureDirectory directory;
  directory.write(0, "info.properties", "");
  directory.writeMovie(1, 2);
  directory.writeMovie(3, 2);
  std::string json;
  EXPECT_THAT(inspect(directory, &json), AllOf(SizeIs(1), Contains(HasSubstr("Nothing to play in "))));
  // A device's number is the directory's, its id its place.
  EXPECT_THAT(json,
              AllOf(HasSubstr("{\"id\":0,\"implementation\":\"UNKNOWN\",\"hardwareId\":1"),
                    HasSubstr("\"inputFormatDetection\":true\"flags\":0,"), Not(HasSubstr("capture3"))));
}

TEST(CaptureFileSource, CountsSoundByItsChunkAndKeepsBothFilesTogether) {
  CaptureDirectory directory;
  directory.writeMovie(0, 6);
  CaptureFileSource source(nullptr);
  ASSERT_EQ(source.load(directory.device(0).c_str()), kSuccess);
  EXPECT_EQ(source.audioFrameCount, 6u * CaptureDirectory::kSamplesPerPicture);
  EXPECT_EQ(source.videoFrameCount, 5u);

  // Exact after a year of 29.97 pictures a second.
  source.videoFrameRateEnum = 30000;
  source.videoFrameRateDenom = 1001;
  EXPECT_EQ(source.periods(1, 48000), 1601u);
  EXPECT_EQ(source.periods(2, 48000) - source.periods(1, 48000), 1602u);
  EXPECT_EQ(source.periods(uint64_t{30000} * 31536, 48000), uint64_t{1001} * 31536 * 48000);
}

}  // namespace
}  // namespace qvs::test
