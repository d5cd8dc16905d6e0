// Runs a fuzz target without a fuzzing engine: each file of the corpus as it is, then changed copies of them
// that are the same on every run.
//
//   fuzz-TARGET CORPUS_FOLDER [ROUNDS]

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace {

using Bytes = std::vector<uint8_t>;

constexpr auto kTimeLimit = std::chrono::seconds(20);  ///< sanitizers on a busy machine; rounds end earlier

std::vector<Bytes> readCorpus(const char* folder) {
  std::vector<std::filesystem::path> paths;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    if (entry.is_regular_file()) paths.push_back(entry.path());
  }
  std::sort(paths.begin(), paths.end());
  std::vector<Bytes> corpus;
  for (const auto& path : paths) {
    std::ifstream in(path, std::ios::binary);
    corpus.emplace_back(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
  }
  return corpus;
}

/// What outside bytes suffer: single bits, extreme values, cuts, repeats, and pieces of another input.
void mutate(Bytes& bytes, const Bytes& other, std::mt19937& random) {
  static constexpr uint8_t kExtremes[] = {0x00, 0x01, 0x7F, 0x80, 0xFF};
  const auto position = [&] { return random() % (bytes.size() + 1); };
  for (int count = 1 + static_cast<int>(random() % 6); count > 0; --count) {
    if (bytes.empty()) bytes.push_back(0);
    const size_t at = random() % bytes.size();
    switch (random() % 6) {
      case 0:
        bytes[at] ^= static_cast<uint8_t>(1u << (random() % 8));
        break;
      case 1:
        bytes[at] = kExtremes[random() % std::size(kExtremes)];
        break;
      case 2:
        bytes.resize(position());
        break;
      case 3:
        bytes[at] = static_cast<uint8_t>(random());
        break;
      case 4:
        std::fill(bytes.begin() + static_cast<std::ptrdiff_t>(at),
                  bytes.begin() + static_cast<std::ptrdiff_t>(std::min(bytes.size(), at + 4)),
                  static_cast<uint8_t>(kExtremes[random() % std::size(kExtremes)]));
        break;
      default:
        if (!other.empty()) {
          const size_t from = random() % other.size();
          const size_t length = std::min<size_t>(other.size() - from, 1 + random() % 64);
          bytes.insert(bytes.begin() + static_cast<std::ptrdiff_t>(position()),
                       other.begin() + static_cast<std::ptrdiff_t>(from),
                       other.begin() + static_cast<std::ptrdiff_t>(from + length));
        }
    }
  }
}

/// A copy without slack, so that a read past the end is one.
void runOn(const Bytes& bytes) {
  const Bytes exact(bytes.begin(), bytes.end());
  LLVMFuzzerTestOneInput(exact.data(), exact.size());
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) {
    std::fprintf(stderr, "usage: %s CORPUS_FOLDER [ROUNDS]\n", argv[0]);
    return 2;
  }
  const auto corpus = readCorpus(argv[1]);
  if (corpus.empty()) {
    std::fprintf(stderr, "%s: empty corpus\n", argv[1]);
    return 1;
  }
  for (const auto& bytes : corpus) runOn(bytes);

  const int rounds = argc > 2 ? std::atoi(argv[2]) : 0;
  std::mt19937 random(20240229);
  const auto start = std::chrono::steady_clock::now();
  int done = 0;
  for (; done < rounds && std::chrono::steady_clock::now() - start < kTimeLimit; ++done) {
    Bytes bytes = corpus[random() % corpus.size()];
    mutate(bytes, corpus[random() % corpus.size()], random);
    runOn(bytes);
  }
  std::fprintf(stderr, "%zu corpus inputs, %d changed ones\n", corpus.size(), done);
  return 0;
}
