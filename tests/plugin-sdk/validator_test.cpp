#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdio>
#include <string>

namespace {

struct Outcome {
  int code;
  std::string output;
};

Outcome run(const std::string& command) {
  Outcome run{};
  FILE* pipe = popen((command + " 2>&1").c_str(), "r");
  char block[512];
  for (size_t got; (got = fread(block, 1, sizeof block, pipe)) > 0;) run.output.append(block, got);
  run.code = WEXITSTATUS(pclose(pipe));
  return run;
}

Outcome validate(const std::string& arguments) {
  return run(std::string(QVS_VALIDATOR) + " " + arguments);
}

class SoundPlugin : public testing::TestWithParam<const char*> {};

TEST_P(SoundPlugin, KeepsTheContract) {
  const Outcome run = validate(GetParam());
  EXPECT_EQ(run.code, 0) << run.output;
  EXPECT_THAT(run.output, testing::EndsWith("The contract is kept.\n"));
  EXPECT_THAT(run.output, testing::Not(testing::HasSubstr("WRONG")));
}

// libx265 itself loses some kilobytes with each encoder, more where it has more threads.
INSTANTIATE_TEST_SUITE_P(Plugins, SoundPlugin,
                         testing::Values(QVS_SHIPPED_SCALER, QVS_TEMPLATE_SCALER,
                                         QVS_BROKEN_DIR "/broken-scaler-3.so",
                                         QVS_BROKEN_DIR "/broken-encoder-29.so", QVS_SHIPPED_X264,
                                         "--leak 60000 " QVS_SHIPPED_X265, QVS_EXAMPLE_ENCODER,
                                         QVS_TEMPLATE_ENCODER, QVS_TEMPLATE_OFFLINE));

// With the fakes of a driver and of a runtime in place of a card, whose threads keep small blocks: the measure of memory
// is coarse by some hundred bytes a session. H.265's encoder behind them is libx265.
class CardPlugin : public testing::TestWithParam<const char*> {};

TEST_P(CardPlugin, KeepsTheContractOnAFakeCard) {
  const std::string card = "LD_PRELOAD=" QVS_FAKES_DIR "/fake-drm-shim.so LIBVA_DRIVERS_PATH=" QVS_FAKES_DIR
                           " LIBVA_DRIVER_NAME=fake ONEVPL_SEARCH_PATH=" QVS_FAKE_VPL_DIR " ";
  const std::string plugin = GetParam();
  // An off-line plug-in has three of the runtime's sessions.
  const std::string leak = plugin.find("h265") != std::string::npos ? " --leak 60000 "
                           : plugin.starts_with("odtranscoder")     ? " --leak 6000 "
                                                                    : " --leak 2000 ";
  const Outcome outcome = run(card + QVS_VALIDATOR + leak + QVS_PLUGIN_DIR "/libqvs-v" + plugin + ".so");
  EXPECT_EQ(outcome.code, 0) << outcome.output;
  EXPECT_THAT(outcome.output, testing::EndsWith("The contract is kept.\n"));
}

INSTANTIATE_TEST_SUITE_P(Plugins, CardPlugin,
                         testing::Values("encoder-h264-vaapi", "encoder-h265-vaapi", "encoder-vp9-vaapi",
                                         "encoder-h264-quicksync-drm", "encoder-h265-quicksync-drm",
                                         "decoder-h264-quicksync-drm", "decoder-mp2-quicksync-drm",
                                         "odtranscoder-quicksync-drm"));

struct Defect {
  const char* family;
  int number;  // DEFECT of the broken plug-in
  const char* told;
  const char* only = "";  // the rule that finds it, where all would take long
};

void PrintTo(const Defect& defect, std::ostream* out) {
  *out << "defect " << defect.number << " of the " << defect.family;
}

class Defects : public testing::TestWithParam<Defect> {};

TEST_P(Defects, AreFoundAndTold) {
  const Defect& defect = GetParam();
  const Outcome run =
      validate("--seconds 20 --only '" + std::string(defect.only) + "' " + QVS_BROKEN_DIR "/broken-" +
               defect.family + "-" + std::to_string(defect.number) + ".so");
  EXPECT_EQ(run.code, 1);
  EXPECT_THAT(run.output, testing::HasSubstr(defect.told));
}

INSTANTIATE_TEST_SUITE_P(
    Scaler, Defects,
    testing::Values(
        Defect{"scaler", 1, "isAvailable gives 1"},
        Defect{"scaler", 2, "LACKS  zarvoVideoScaler_isAvailable"},
        Defect{"scaler", 4, "WRONG offers nothing"},
        Defect{"scaler", 5, "create gives the same session twice"},
        Defect{"scaler", 6,
               "WRONG halves flat pictures to flat pictures, plane by plane: YV12 4x4: U at 0, 0 is 200",
               "flat"},
        Defect{"scaler", 7, "a slope is shifted", "centre"},
        Defect{"scaler", 8, "wrote outside the samples", "halves inside"},
        Defect{"scaler", 9, "touched memory behind a picture, 0 bytes beyond its end", "flat"},
        Defect{"scaler", 10, "the source was written", "halves inside"},
        Defect{"scaler", 11, "accepted a target that isn't the half", "refuses to halve"},
        Defect{"scaler", 12, "overlay over the left and upper edge: Y at 0, 0 is", "blends exactly"},
        Defect{"scaler", 13, "touched memory in front of a picture", "draws inside"},
        Defect{"scaler", 14, "overlay over the left and upper edge", "blends exactly"},
        Defect{"scaler", 15, "accepted unknown mode 0", "refuses overlays"},
        Defect{"scaler", 16, "the result depends on other calls", "halves alike"},
        Defect{"scaler", 17, "ended the process with code 7", "flat"}));

INSTANTIATE_TEST_SUITE_P(
    Encoder, Defects,
    testing::Values(
        Defect{"encoder", 1, "tells 21 frames where 20 fit", "answers"},
        Defect{"encoder", 2, "addFrame2 touched memory behind the array of frames, 0 bytes beyond its end",
               "answers"},
        Defect{"encoder", 3, "touched a picture, to write it", "answers"},
        Defect{"encoder", 4, "touched a picture whose call has returned", "answers"},
        Defect{"encoder", 5, "touched memory behind a picture", "answers"},
        Defect{"encoder", 6, "setFrameSize followed a null pointer", "nulls"},
        Defect{"encoder", 7, "bytes of memory are left behind", "leaves"},
        Defect{"encoder", 8, "open files are left behind", "leaves"},
        Defect{"encoder", 9, "arrays of the allocator behind destroy", "leaves"},
        Defect{"encoder", 10, "2 pictures are not answered, the first that of 1240 ms", "answers"},
        Defect{"encoder", 11, "has the timecode 1200 behind 1200", "answers"},
        Defect{"encoder", 12, "is no key frame, which was asked for", "answers"},
        Defect{"encoder", 13, "is a key frame without the parameter sets in front", "went in"},
        Defect{"encoder", 14, "has start codes where lengths belong", "went in"},
        Defect{"encoder", 15, "has a plane of U that is not what went in", "went in"},
        Defect{"encoder", 17, "initialize ended the process with code 7", "answers"},
        Defect{"encoder", 18, "beside other sessions", "apart"},
        Defect{"encoder", 19, "key 990000 (keyDistance) has a default outside its own range", "describes"},
        Defect{"encoder", 20, "takes 0.000000, which is out of its range", "keeps to"},
        Defect{"encoder", 21, "getProblem has no words", "refuses wrong"},
        Defect{"encoder", 22, "addFrame2 gives -22, which is no status", "any order"},
        Defect{"encoder", 23, "getVersion leaves no zero at the end", "version"},
        Defect{"encoder", 24, "used as an address the handle of an array of the allocator", "answers"},
        Defect{"encoder", 25, "addFrame2 followed a null pointer", "without memory"},
        Defect{"encoder", 26, "or the same one twice", "answers"},
        Defect{"encoder", 27, "does not work on this machine: getVersion gives 13"},
        Defect{"encoder", 28, "LACKS  zarvoVideoEncoder_create"}));

TEST(Validator, TellsWhenThereIsNothingToCheck) {
  EXPECT_EQ(validate("").code, 2);
  EXPECT_EQ(validate("--seconds none " QVS_SHIPPED_SCALER).code, 2);
  const Outcome missing = validate("/nowhere/libnone.so");
  EXPECT_EQ(missing.code, 2);
  EXPECT_THAT(missing.output, testing::HasSubstr("/nowhere/libnone.so"));
}

TEST(Validator, EndsACheckThatHangs) {
  const Outcome hung = validate("--seconds 1 --only answers " QVS_BROKEN_DIR "/broken-encoder-16.so");
  EXPECT_EQ(hung.code, 1);
  EXPECT_THAT(hung.output, testing::HasSubstr("initialize did not come back within 1 seconds"));
}

// The decoder template reads what the encoder template writes, and nothing else.
class DecoderDefects : public testing::TestWithParam<Defect> {
 protected:
  static void SetUpTestSuite() {
    const Outcome coded = validate("--only 'went in' --output " + clip() + " " + QVS_TEMPLATE_ENCODER);
    ASSERT_EQ(coded.code, 0) << coded.output;
  }
  static std::string clip() { return QVS_BROKEN_DIR "/template.h264"; }
};

TEST_P(DecoderDefects, AreFoundAndTold) {
  const Outcome run = validate("--seconds 20 --input " + clip() + " --only '" + GetParam().only + "' " +
                               QVS_BROKEN_DIR "/broken-decoder-" + std::to_string(GetParam().number) + ".so");
  EXPECT_EQ(run.code, 1);
  EXPECT_THAT(run.output, testing::HasSubstr(GetParam().told));
}

INSTANTIATE_TEST_SUITE_P(
    Offline, Defects,
    testing::Values(Defect{"offline", 1, "touched memory behind the array of the frames that come out",
                           "room"},
                    Defect{"offline", 2, "gives two pictures one packet's index", "whole"},
                    Defect{"offline", 3, "of an array of", "whole"},
                    Defect{"offline", 4, "shows the picture of packet 1 at another time", "whole"}));

INSTANTIATE_TEST_SUITE_P(
    One, DecoderDefects,
    testing::Values(Defect{"decoder", 1, "never says that its input is used up", "libavcodec"},
                    Defect{"decoder", 2, "25 units give 24 pictures where 25 should be", "libavcodec"},
                    Defect{"decoder", 3, "picture 1 has the timecode 0 and should have 40", "libavcodec"},
                    Defect{"decoder", 4, "picture 0 has a plane of U that is not what went in", "libavcodec"},
                    Defect{"decoder", 5, "touched memory behind the picture's target", "libavcodec"},
                    Defect{"decoder", 6, "addFrame touched a coded unit whose successor has come",
                           "libavcodec"},
                    Defect{"decoder", 7, "addFrame touched memory behind a coded unit", "damaged"},
                    Defect{"decoder", 8, "bytes of memory are left behind", "leaves"},
                    Defect{"decoder", 9, "beside other sessions", "apart"}));

using Templates = DecoderDefects;

TEST_F(Templates, UnderstandEachOther) {
  const Outcome decoded = validate("--input " + clip() + " " + QVS_TEMPLATE_DECODER);
  EXPECT_EQ(decoded.code, 0) << decoded.output;
  EXPECT_THAT(decoded.output, testing::HasSubstr("ok    decodes to what libavcodec does\n"));
  const Outcome other = validate(std::string("--only libavcodec ") + QVS_TEMPLATE_DECODER);
  EXPECT_EQ(other.code, 1);
  EXPECT_THAT(other.output,
              testing::HasSubstr("WRONG decodes to what libavcodec does: decodeCodecConfig gives status 27"));
}

// As a newcomer does it, with the compiler's optimisation that such a build has.
TEST(Template, BuildsAloneFromACopy) {
  const std::string folder = QVS_BROKEN_DIR "/copy";
  const Outcome built =
      run("rm -rf " + folder + " && cp -r " QVS_SDK "/template " + folder + " && cmake -S " + folder +
          " -B " + folder + "/build -DQVS_PLUGIN_SDK=" QVS_SDK "/include && cmake --build " + folder +
          "/build && nm -D --defined-only " + folder + "/build/libqvs-vencoder-h264-template.so");
  EXPECT_EQ(built.code, 0) << built.output;
  EXPECT_THAT(built.output, testing::Not(testing::HasSubstr("warning")));
  EXPECT_THAT(built.output, testing::HasSubstr("zarvoVideoEncoder_addFrame2"));
}

}  // namespace
