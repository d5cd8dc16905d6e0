#pragma once

#include <deque>
#include <memory>
#include <optional>
#include <vector>

#include "CuvidSequence.h"

struct AVCodecParserContext;

namespace qvs::fakes {

/// The emulated video parser: cuts a stream into pictures with libavcodec's parser, and tells its caller of sequences, of
/// pictures to decode and, in their order, of pictures to show.
class CuvidParser {
 public:
  CuvidParser(const CUVIDPARSERPARAMS& parameters, const CuvidCodec& codec);
  ~CuvidParser();

  CUresult parse(const CUVIDSOURCEDATAPACKET& packet);

 private:
  struct Picture {
    CUVIDPARSERDISPINFO info;
    int64_t order;
    int parity;  ///< of a first field whose second is to come: 1 top, 2 bottom; else 0
  };

  void openParser();
  void feed(const uint8_t* bytes, int size, int64_t timestamp);
  void unit(const uint8_t* bytes, int size);
  bool startSequence(const CuvidUnit& unit, const uint8_t* bytes, int size);
  bool isDecodable(const CuvidUnit& unit);
  void flushBefore(const CuvidUnit& unit);
  int takeSurface();
  void decode(const CuvidUnit& unit, const uint8_t* bytes, int size, int surface, bool second);
  void enqueue(int surface);
  void endPair(bool isUnpaired);
  void orderFirst();
  void orderAll();
  void show(size_t waiting);

  CUVIDPARSERPARAMS callbacks;
  const CuvidCodec& codec;
  AVCodecContext* context = nullptr;
  AVCodecParserContext* splitter = nullptr;
  CuvidSequence sequence;
  std::vector<uint8_t> parameters;  ///< of the sequence that the caller knows
  bool known = false, started = false, skipLeading = false, failed = false;
  int references = 0;  ///< MPEG-2: since the start, up to two
  std::vector<bool> busy;
  size_t lastSurface = 0;
  std::optional<Picture> pair;
  std::vector<Picture> waiting;  ///< for pictures that are shown before them
  std::deque<Picture> due;
};

}  // namespace qvs::fakes
