package com.zarvo.qvs.host.bitstream;

import com.zarvo.qvs.host.model.HostException;

/**
 * The two bytes that tell an AAC decoder what comes: object type, rate, channels.
 *
 * @param rateIndex place in the table of rates
 * @param channels channel configuration, 1 to 7
 */
public record AacConfig(int objectType, int rateIndex, int channels) {
  static final int SHORT_HEADER = 7;
  private static final int FRAME_SAMPLES = 1024;
  private static final int LONG_HEADER = 9;
  private static final int LOW_COMPLEXITY = 2;
  private static final int SPECTRAL_BANDS = 5;
  private static final int PARAMETRIC_STEREO = 29;
  private static final int RATE_IN_FULL = 15;
  private static final int[] RATES = {
    96000, 88200, 64000, 48000, 44100, 32000, 24000, 22050, 16000, 12000, 11025, 8000, 7350
  };

  public static AacConfig of(int rate, int channels) {
    return new AacConfig(LOW_COMPLEXITY, indexOf(rate), channels == 8 ? 7 : channels);
  }

  /** True when a frame carries its own header. */
  public static boolean hasHeader(byte[] data, int offset, int length) {
    return length > SHORT_HEADER && data[offset] == -1 && (data[offset + 1] & 0xF6) == 0xF0;
  }

  /** Bytes of the header in front of a frame that has one. */
  public static int headerLength(byte[] data, int offset) {
    return (data[offset + 1] & 1) != 0 ? SHORT_HEADER : LONG_HEADER;
  }

  public static AacConfig ofHeader(byte[] data, int offset) {
    int second = data[offset + 2] & 0xFF;
    int channels = (second & 1) << 2 | (data[offset + 3] & 0xFF) >> 6;
    return new AacConfig((second >> 6) + 1, second >> 2 & 15, channels);
  }

  /** Reads the form that containers keep; extensions are left out, for decoders find them by themselves. */
  public static AacConfig ofContainer(byte[] config) throws HostException {
    Bits bits = new Bits(config);
    int type = objectType(bits);
    int rate = rateIndex(bits);
    int channels = bits.read(4);
    if (type == SPECTRAL_BANDS || type == PARAMETRIC_STEREO) {
      rateIndex(bits);
      type = objectType(bits);
    }
    if (bits.overrun) throw new HostException("its AAC configuration is cut short");
    return new AacConfig(type, rate, channels).checked();
  }

  public AacConfig checked() throws HostException {
    if (objectType < 1 || objectType > 4) throw new HostException("AAC object type " + objectType + " is not supported");
    if (rateIndex >= RATES.length) throw new HostException("its AAC rate is not supported");
    if (channels < 1 || channels > 7) throw new HostException("its AAC channel layout is not supported");
    return this;
  }

  /** Length of a frame, with or without extensions. */
  public double frameMs() {
    return 1000.0 * FRAME_SAMPLES / RATES[rateIndex];
  }

  public byte[] toBytes() {
    return new byte[] {(byte) (objectType << 3 | rateIndex >> 1), (byte) (rateIndex << 7 | channels << 3)};
  }

  private static int indexOf(int rate) {
    int index = 0;
    while (index < RATES.length && RATES[index] != rate) index++;
    return index;
  }

  private static int objectType(Bits bits) {
    int type = bits.read(5);
    return type == 31 ? 32 + bits.read(6) : type;
  }

  private static int rateIndex(Bits bits) {
    int index = bits.read(4);
    return index == RATE_IN_FULL ? indexOf(bits.read(24)) : index;
  }

  /** Reads bits, most significant first; past the end they are 0. */
  private static final class Bits {
    private final byte[] bytes;
    private int at;
    private boolean overrun;

    Bits(byte[] bytes) {
      this.bytes = bytes;
    }

    int read(int count) {
      int value = 0;
      for (int i = 0; i < count; i++, at++) {
        overrun |= at / 8 >= bytes.length;
        value = value << 1 | (at / 8 < bytes.length ? bytes[at / 8] >> (7 - at % 8) & 1 : 0);
      }
      return value;
    }
  }
}
