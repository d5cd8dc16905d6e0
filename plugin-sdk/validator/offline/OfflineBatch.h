#pragma once

#include <map>

#include "common/CountingAllocator.h"
#include "common/Family.h"
#include "common/ReferenceCodec.h"
#include "qvs/vod_transcoder.h"

namespace qvs::validator {

/// What a check of an off-line plug-in holds.
struct OfflineUnderTest {
  pluginVODTranscoder table{};
  Options options;
  Clip clip;
  std::string noClip;  ///< why there is none
  std::vector<PlainPicture> wanted;
};

/// A session that transcodes one batch, as the transcoder does it, into H.264 of the clip's size.
class OfflineBatch {
 public:
  explicit OfflineBatch(const OfflineUnderTest& plugin);
  ~OfflineBatch() { close(); }
  OfflineBatch(const OfflineBatch&) = delete;
  OfflineBatch& operator=(const OfflineBatch&) = delete;

  /// The status. What came of it is in `made`, by the index of its packet; `room` beside what the contract gives.
  int32_t transcode(std::vector<CodedFrame> frames, uint32_t room = 0);
  int32_t configure(std::vector<uint8_t>& sets);
  void close();

  /// Empty, or what isn't as it went in.
  std::string wrongPictures() const;

  static constexpr int32_t kFirstIndex = 100;
  const OfflineUnderTest& subject;
  void* session = nullptr;
  CountingAllocator allocator;
  std::map<int32_t, CodedFrame> made;
  std::vector<CodedFrame> inOrder;
  uint32_t told = 0;  ///< frames, as the plug-in has it
  std::string complaint;

 private:
  VODTranscoderVideoSettings settings();
  void complain(const std::string& what) {
    if (complaint.empty()) complaint = what;
  }

  std::vector<uint8_t> header;
};

}  // namespace qvs::validator
