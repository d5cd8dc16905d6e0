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

Outcome validate(const std::string& arguments) {
  Outcome run{};
  FILE* pipe = popen((std::string(QVS_VALIDATOR) + " " + arguments + " 2>&1").c_str(), "r");
  char block[512];
  for (size_t got; (got = fread(block, 1, sizeof block, pipe)) > 0;) run.output.append(block, got);
  run.code = WEXITSTATUS(pclose(pipe));
  return run;
}

class SoundPlugin : public testing::TestWithParam<const char*> {};

TEST_P(SoundPlugin, KeepsTheContract) {
  const Outcome run = validate(GetParam());
  EXPECT_EQ(run.code, 0) << run.output;
  EXPECT_THAT(run.output, testing::EndsWith("The contract is kept.\n"));
  EXPECT_THAT(run.output, testing::Not(testing::HasSubstr("WRONG")));
}

INSTANTIATE_TEST_SUITE_P(Plugins, SoundPlugin,
                         testing::Values(QVS_SHIPPED_PLUGIN, QVS_TEMPLATE_PLUGIN,
                                         QVS_BROKEN_DIR "/broken-3.so"));

struct Defect {
  int number;  // DEFECT of the broken plug-in
  const char* told;
};

void PrintTo(const Defect& defect, std::ostream* out) {
  *out << "defect " << defect.number;
}

class Defects : public testing::TestWithParam<Defect> {};

TEST_P(Defects, AreFoundAndTold) {
  const Outcome run = validate(QVS_BROKEN_DIR "/broken-" + std::to_string(GetParam().number) + ".so");
  EXPECT_EQ(run.code, 1);
  EXPECT_THAT(run.output, testing::HasSubstr(GetParam().told));
}

INSTANTIATE_TEST_SUITE_P(
    One, Defects,
    testing::Values(
        Defect{1, "isAvailable gives 1"}, Defect{2, "LACKS  zarvoVideoScaler_isAvailable"},
        Defect{4, "WRONG offers nothing"}, Defect{5, "create gives the same session twice"},
        Defect{6, "WRONG halves flat pictures to flat pictures, plane by plane: YV12 4x4: U at 0, 0 is 200"},
        Defect{7, "a slope is shifted"}, Defect{8, "wrote outside the samples"},
        Defect{9, "touched memory outside the pictures"}, Defect{10, "the source was written"},
        Defect{11, "accepted a target that isn't the half"},
        Defect{12, "overlay over the left and upper edge: Y at 0, 0 is"},
        Defect{13, "touched memory outside the pictures"}, Defect{14, "overlay over the left and upper edge"},
        Defect{15, "accepted unknown mode 0"}, Defect{16, "the result depends on other calls"},
        Defect{17, "ended the process with code 7"}));

TEST(Validator, TellsWhenThereIsNothingToCheck) {
  EXPECT_EQ(validate("").code, 2);
  const Outcome missing = validate("/nowhere/libnone.so");
  EXPECT_EQ(missing.code, 2);
  EXPECT_THAT(missing.output, testing::HasSubstr("/nowhere/libnone.so"));
}

}  // namespace
