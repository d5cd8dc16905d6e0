package com.zarvo.qvs.host.session;

import com.zarvo.qvs.host.bitstream.NalUnits;
import com.zarvo.qvs.host.bitstream.ParameterSets;
import com.zarvo.qvs.host.media.MediaPacket;
import com.zarvo.qvs.host.media.PictureDecoder;
import com.zarvo.qvs.host.media.StreamInfo;
import com.zarvo.qvs.host.model.HostException;
import com.zarvo.qvs.host.model.RenditionSpec;
import com.zarvo.qvs.host.model.VideoCodec;
import java.nio.file.Path;
import java.util.List;

/**
 * Brings the packets of a container into the form that the session's decoder takes, with the configuration that it
 * wants ahead of the first one. H.264 and H.265 go in with lengths before their units: where a container has start
 * codes the form is changed, and the record is made of the parameter sets in the stream.
 */
public final class VideoSource {
  private static final byte[] NONE = {};

  private final VideoCodec codec;
  private final boolean hevc;
  private final boolean startCodes;
  private final ParameterSets inBand;
  private byte[] config;
  private byte[] extraSets = NONE;
  private int lengthBytes = NalUnits.LENGTH_BYTES;
  private boolean configChanged;
  private byte[] data;

  /** The codec of a source that a session can take; refuses others in a line that names `input`. */
  public static VideoCodec codecOf(Path input, StreamInfo source) throws HostException {
    String name = input + ": ";
    if (source == null) throw new HostException(name + "no video stream in it");
    VideoCodec codec;
    try {
      codec = VideoCodec.ofStream(source.codecName());
    } catch (HostException e) {
      throw new HostException(name + e.getMessage());
    }
    checkSize(input, source);
    return codec;
  }

  /** The same; where the session has no decoder and libavcodec has, its pictures go in decoded. */
  public static VideoCodec anyCodecOf(Path input, StreamInfo source) throws HostException {
    boolean known = source == null || VideoCodec.isKnown(source.codecName());
    if (known || !PictureDecoder.isThereFor(source.codecName())) return codecOf(input, source);
    checkSize(input, source);
    return VideoCodec.RAW;
  }

  private static void checkSize(Path input, StreamInfo source) throws HostException {
    if (source.width() > RenditionSpec.MAX_SIZE || source.height() > RenditionSpec.MAX_SIZE)
      throw new HostException(input + ": pictures of " + source.width() + "x" + source.height() + " are too large");
  }

  /** `containerConfig` as libavformat keeps it, may be empty. */
  VideoSource(VideoCodec codec, byte[] containerConfig) {
    this.codec = codec;
    this.hevc = codec == VideoCodec.H265;
    this.startCodes = codec.hasUnits() && NalUnits.hasStartCodes(containerConfig);
    this.inBand = new ParameterSets(hevc);
    if (codec.wantsNoConfig()) config = NONE;
    else if (startCodes) learn(NalUnits.ofStartCodes(containerConfig));
    else if (containerConfig.length > 0) setConfig(containerConfig);
    configChanged = false;
  }

  /** What the decoder is told first; null as long as it is not known. */
  byte[] config() {
    return config;
  }

  /** Takes a packet; false when it holds nothing that can be decoded yet. */
  boolean accept(MediaPacket packet) {
    configChanged = false;
    data = packet.data();
    if (data.length == 0) return false;
    if (packet.newConfig() != null && !codec.wantsNoConfig() && !startCodes) changeConfig(packet.newConfig());
    if (!codec.hasUnits()) {
      // Elsewhere the first picture that can stand alone carries the header.
      if (config == null && packet.key()) config = data;
    } else if (startCodes) {
      List<byte[]> units = NalUnits.ofStartCodes(data);
      learn(units);
      data = NalUnits.withLengths(units, NalUnits.LENGTH_BYTES);
    } else if (extraSets.length > 0 && packet.key()) {
      addExtraSets();
    }
    return config != null && data.length > 0;
  }

  /** True when the packet last accepted brought another configuration than the one before. */
  boolean configChanged() {
    return configChanged;
  }

  /** The packet last accepted, as the decoder takes it. */
  byte[] data() {
    return data;
  }

  private void learn(List<byte[]> units) {
    if (!inBand.update(units) || !inBand.isComplete()) return;
    configChanged = config != null;
    config = inBand.toRecord();
  }

  private void changeConfig(byte[] bytes) {
    if (codec.hasUnits() && NalUnits.hasStartCodes(bytes)) return;
    configChanged = config != null;
    setConfig(bytes);
  }

  // The decoder takes one set of each kind from a record; where there are more, all go before each key picture.
  private void setConfig(byte[] bytes) {
    config = bytes;
    if (!codec.hasUnits()) return;
    lengthBytes = ParameterSets.lengthBytes(hevc, bytes);
    ParameterSets sets = ParameterSets.ofRecord(hevc, bytes);
    boolean fits = sets.all().stream().allMatch(set -> set.length >> 8 * Math.min(3, lengthBytes) == 0);
    extraSets = sets.hasMany() && fits ? NalUnits.withLengths(sets.all(), lengthBytes) : NONE;
  }

  private void addExtraSets() {
    if (inBand.holdsAnyOf(NalUnits.ofLengths(data, 0, data.length, lengthBytes))) return;
    byte[] joined = new byte[extraSets.length + data.length];
    System.arraycopy(extraSets, 0, joined, 0, extraSets.length);
    System.arraycopy(data, 0, joined, extraSets.length, data.length);
    data = joined;
  }
}
