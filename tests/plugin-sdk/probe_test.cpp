#include <elf.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>

namespace {

namespace fs = std::filesystem;
using testing::AllOf;
using testing::HasSubstr;

struct Outcome {
  int code;
  std::string output;
};

Outcome run(const std::string& arguments) {
  Outcome ended{};
  FILE* pipe = popen((std::string(QVS_PROBE) + " " + arguments).c_str(), "r");
  char block[512];
  for (size_t got; (got = fread(block, 1, sizeof block, pipe)) > 0;) ended.output.append(block, got);
  ended.code = WEXITSTATUS(pclose(pipe));
  return ended;
}

class Probe : public testing::Test {
 protected:
  Probe() : folder(fs::path(testing::TempDir()) / ("probe-" + std::to_string(getpid()))) {
    fs::create_directories(folder);
  }
  ~Probe() override { fs::remove_all(folder); }

  /// The odd plug-in under a name that says what is odd.
  std::string odd(const std::string& name) const {
    const fs::path copy = folder / (name + ".so");
    fs::copy_file(QVS_ODD_PLUGIN, copy, fs::copy_options::overwrite_existing);
    return copy;
  }

  /// Its first bytes with another machine's number.
  std::string cut(const std::string& name, size_t length, uint16_t machine) const {
    std::string bytes(length, '\0');
    std::ifstream(QVS_ODD_PLUGIN, std::ios::binary).read(bytes.data(), static_cast<std::streamsize>(length));
    if (machine != 0) bytes.replace(offsetof(Elf64_Ehdr, e_machine), 2, reinterpret_cast<char*>(&machine), 2);
    std::ofstream(folder / name, std::ios::binary) << bytes;
    return folder / name;
  }

  const fs::path folder;
};

TEST_F(Probe, TellsWhatAPluginIsAndThatItEncodes) {
  const Outcome sound = run("encode " + odd("sound"));
  EXPECT_EQ(sound.code, 0) << sound.output;
  EXPECT_THAT(
      sound.output,
      AllOf(HasSubstr(R"("state":"available","loaded":true,"family":"video encoder","status":0,)"
                      R"("version":{"major":3,"minor":7,"text":"odd 3.7"},"description":{"name":"odd",)"),
            HasSubstr(R"("trial":{"did":"encode","works":true,"pictures":10,"frames":10,"bytes":1000,)")));
  EXPECT_EQ(std::count(sound.output.begin(), sound.output.end(), '\n'), 1) << "drivers' own words stay out";
}

TEST_F(Probe, OutlivesPluginsThatDoNot) {
  struct Case {
    const char* name;
    const char* told;
  };
  const Case cases[] = {
      {"aborts-on-load",
       R"("state":"crashed","reason":"crashed while loading (Aborted): the driver is out of its mind")"},
      {"aborts-on-unload", R"("crashed while unloading (Aborted))"},
      {"exits-in-version", R"("reason":"ended the process with code 7 in getVersion)"},
      {"hangs-in-version", R"("reason":"hung in getVersion (over 400 ms))"},
      {"crashes-in-encode",
       R"("state":"crashed","loaded":true,"family":"video encoder","status":0,"version":{"major":3)"},
      {"no-card", R"("reason":"no \"render\" node � [open[/dev/dri/card0] failed.]")"},
      {"no-session", R"("works":false,"failedIn":"create","reason":"no session")"},
      {"refuses-to-open",
       R"("failedIn":"initialize","reason":"the card has no context left [vaCreateContext failed.]")"},
      {"gives-25", R"("failedIn":"addFrame2","reason":"gives back 25 frames where 20 fit")"},
      {"loses-one", R"("failedIn":"drain","reason":"9 frames of 10 pictures")"},
      {"bad-description", R"("descriptionTrouble":"describe gives no JSON object")"},
  };
  for (const Case& one : cases) {
    const bool hangs = one.name == std::string("hangs-in-version");
    const Outcome ended = run("encode " + odd(one.name) + (hangs ? " --deadline 400" : ""));
    EXPECT_THAT(ended.output, HasSubstr(one.told)) << one.name;
    EXPECT_EQ(ended.code, one.name == std::string("bad-description") ? 0 : 1) << one.name;
  }
}

TEST_F(Probe, SaysWhyAFileIsNoPlugin) {
  std::ofstream(folder / "text.so") << std::string(100, 'x');
  std::ofstream(folder / "short.so") << "\x7f"
                                        "ELF";
  const std::pair<std::string, const char*> cases[] = {
      {folder / "text.so", "is no library: it has no ELF header"},
      {folder / "short.so", "is no library: it is too short"},
      {folder / "none.so", R"("state":"missing","loaded":false,"reason":"No such file or directory")"},
      {folder, "is no file"},
      {cut("arm.so", 4096, EM_AARCH64), "is for another machine: AArch64, this one is"},
      {cut("cut.so", 200, 0), R"("state":)"},
      {QVS_PROBE, R"("loaded":false)"},
  };
  for (const auto& [file, told] : cases) {
    const Outcome ended = run("describe " + file);
    EXPECT_EQ(ended.code, 1) << ended.output;
    EXPECT_THAT(ended.output, AllOf(HasSubstr(told), testing::Not(HasSubstr(R"("loaded":true)")))) << file;
  }
  for (const char* wrong :
       {"", "describe", "praise x.so", "encode x.so --size 0x0", "describe x.so --codec 7"}) {
    EXPECT_EQ(run(std::string(wrong) + " 2>/dev/null").code, 2) << wrong;
  }
}

TEST_F(Probe, TakesLongPaths) {
  for (const size_t length : {510U, 513U, 1200U}) {
    fs::path deep = folder;
    while (deep.string().size() + 120 < length) deep /= std::string(100, 'd');
    deep /= std::string(length - deep.string().size() - 1 - 6, 'e');
    fs::create_directories(deep);
    fs::copy_file(QVS_ODD_PLUGIN, deep / "a.so");
    EXPECT_EQ(run("describe " + (deep / "a.so").string()).code, 0) << length;
  }
}

}  // namespace
