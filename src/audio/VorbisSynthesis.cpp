// libvorbis's decoding state as one object that clears itself in order.
#include "audio/VorbisSynthesis.h"

namespace qvs {

VorbisSynthesis::VorbisSynthesis() {
  vorbis_info_init(&vi);
  vorbis_comment_init(&vc);
  op.granulepos = -1;  // unknown: a known one would cut the first block short
}

VorbisSynthesis::~VorbisSynthesis() {
  if (blockOpen) vorbis_block_clear(&vb);
  if (dspOpen) vorbis_dsp_clear(&vd);
  vorbis_comment_clear(&vc);
  vorbis_info_clear(&vi);
}

int VorbisSynthesis::takeHeader(unsigned char* bytes, long len) {
  op.packet = bytes;
  op.bytes = len;
  op.b_o_s = op.packetno == 0 ? 1 : 0;
  const int result = vorbis_synthesis_headerin(&vi, &vc, &op);
  ++op.packetno;
  return result;
}

const char* VorbisSynthesis::open(int* result) {
  *result = vorbis_synthesis_init(&vd, &vi);
  if (*result != 0) return "vorbis_synthesis_init";
  dspOpen = true;
  *result = vorbis_block_init(&vd, &vb);
  if (*result != 0) return "vorbis_block_init";
  blockOpen = true;
  return nullptr;
}

bool VorbisSynthesis::takePacket(unsigned char* bytes, long len) {
  op.packet = bytes;
  op.bytes = len;
  op.b_o_s = 0;
  ++op.packetno;
  if (vorbis_synthesis(&vb, &op) != 0) return false;
  return vorbis_synthesis_blockin(&vd, &vb) == 0;
}

}  // namespace qvs
