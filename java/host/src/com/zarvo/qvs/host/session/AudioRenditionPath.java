package com.zarvo.qvs.host.session;

import static com.zarvo.qvs.transcoder.model.TranscoderSessionNative.*;

import com.zarvo.qvs.host.model.AudioCodec;
import com.zarvo.qvs.host.model.AudioSpec;
import com.zarvo.qvs.host.model.HostException;
import com.zarvo.qvs.transcoder.model.TranscoderNativeAudioFrame;
import com.zarvo.qvs.transcoder.model.TranscoderNativeAudioResamplerParameters;
import com.zarvo.qvs.transcoder.model.TranscoderNativeLong;
import com.zarvo.qvs.transcoder.model.TranscoderNativeStreamContext;
import com.zarvo.qvs.transcoder.model.TranscoderPacket;
import java.io.IOException;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.List;

/** One audio rendition within a session: its encoder and the copies of decoded blocks that go through it. */
public final class AudioRenditionPath {
  private final NativeSession owner;
  private final AudioSpec spec;
  private final int index;
  private final List<TranscoderPacket> headers = new ArrayList<>();
  private final List<TranscoderPacket> packets = new ArrayList<>();

  /** Makes encoder and converter of rendition `index`; rate and channels of `spec` are settled. */
  AudioRenditionPath(
      NativeSession owner, AudioSpec spec, int index, TranscoderNativeStreamContext context) throws HostException {
    this.owner = owner;
    this.spec = spec;
    this.index = index;
    long session = owner.handle();
    String what = "no encoder for " + spec.codec().codecName;
    TranscoderNativeLong number = new TranscoderNativeLong();
    number.value = -1;
    owner.check(audioEncoderAdd(session, spec.codec().id, 0, context, number), what);
    owner.check(number.value == index ? 0 : -1, what);
    owner.check(audioEncoderSetSampleRate(session, index, spec.sampleRate()), what);
    owner.check(audioEncoderSetChannels(session, index, spec.channels()), what);
    owner.check(audioEncoderSetBitrate(session, index, spec.bitRate()), what);
    owner.check(audioEncoderApplyParameters(session, index), what);
    owner.check(audioEncoderAddAudioResampler(session, index, target()), what + ": no resampler");
    owner.check(audioEncoderInitialize(session, index), what + " at " + spec.sampleRate() + " Hz");
    owner.check(audioEncoderGetHeaders(session, index, headers), what);
    boolean headed = spec.codec() == AudioCodec.AAC || !headers.isEmpty();
    owner.check(headed ? 0 : -1, what + " at " + spec.sampleRate() + " Hz");
  }

  public AudioSpec spec() {
    return spec;
  }

  /** The stream's headers as the encoder gives them. */
  public List<TranscoderPacket> headers() {
    return headers;
  }

  /** Takes a decoded block through converter and encoder. */
  void encode(long block) throws HostException, IOException {
    owner.check(audioEncoderEncodeBufferStart(owner.handle(), index, block), "a block of sound could not be copied");
    finish(block);
  }

  /** Takes as much silence as the decoded block is long. False when the block is empty. */
  boolean encodeSilence(long block, TranscoderNativeAudioFrame frame) throws HostException, IOException {
    long session = owner.handle();
    owner.check(audioEncoderEncodeBufferStart(session, index, block), "a block of sound could not be copied");
    boolean there = audioEncoderGetAudioFrame(session, index, block, frame) == 0;
    if (there) {
      Arrays.fill(frame.buffer, (byte) 0);
      there = audioEncoderUpdateAudioFrame(session, index, block, frame) == 0;
    }
    finish(block);
    return there;
  }

  private void finish(long block) throws HostException, IOException {
    long session = owner.handle();
    owner.check(audioEncoderResampleFrame(session, index, block), "sound could not be converted");
    owner.check(audioEncoderAddSampleBuffer(session, index, block, packets), "sound could not be encoded");
    audioEncoderEncodeBufferDone(session, index, block);
    for (TranscoderPacket packet : packets) {
      owner.counters().sounds().get(index).packet(packet.len, packet.timecode * 1000 / spec.sampleRate());
      owner.output().audioPacket(index, packet);
    }
    packets.clear();
  }

  // Always there, so that the encoder sees one form even where the input's changes on the way.
  private TranscoderNativeAudioResamplerParameters target() {
    TranscoderNativeAudioResamplerParameters target = new TranscoderNativeAudioResamplerParameters();
    target.sampleRate = spec.sampleRate();
    target.channels = spec.channels();
    target.channelMaskSrc = spec.sourceMask();
    target.channelMaskDst = spec.targetMask();
    return target;
  }
}
