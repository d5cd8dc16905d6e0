#pragma once

#include <vorbis/codec.h>

namespace qvs {

/// The libvorbis state of one stream, cleared as far as it came. Its parts point at each other: it stays
/// where it was made.
class VorbisSynthesis {
 public:
  VorbisSynthesis();
  ~VorbisSynthesis();
  VorbisSynthesis(const VorbisSynthesis&) = delete;
  VorbisSynthesis& operator=(const VorbisSynthesis&) = delete;

  /// The next of the three header packets; 0, or what libvorbis answers.
  int takeHeader(unsigned char* bytes, long len);

  /// Opens the decoder after the third; the operation that failed, or null.
  const char* open(int* result);

  /// One packet of audio; false, with nothing changed, where it is none.
  bool takePacket(unsigned char* bytes, long len);

  /// Samples a channel that are waiting, `*pcm` their rows.
  int samples(float*** pcm) { return vorbis_synthesis_pcmout(&vd, pcm); }
  void drop(int sampleCount) { vorbis_synthesis_read(&vd, sampleCount); }

  long getRate() const { return vi.rate; }
  int getChannels() const { return vi.channels; }

 private:
  ogg_packet op{};
  vorbis_info vi{};
  vorbis_comment vc{};
  vorbis_dsp_state vd{};
  vorbis_block vb{};
  bool dspOpen = false;
  bool blockOpen = false;
};

}  // namespace qvs
