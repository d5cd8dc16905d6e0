package com.zarvo.qvs.host.bitstream;

import java.io.ByteArrayOutputStream;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.List;

/**
 * The parameter sets of an H.264 or H.265 stream, and the configuration record that decoders and containers want of
 * them.
 */
public final class ParameterSets {
  private static final int[] AVC_KINDS = {7, 8};
  private static final int[] HEVC_KINDS = {32, 33, 34};
  private static final int AVC_LENGTH_AT = 4;
  private static final int HEVC_LENGTH_AT = 21;
  private static final int HEVC_ARRAYS_AT = 22;
  private static final int HEVC_SEQUENCE = 1;
  private static final int PROFILE_HIGH = 100;

  private final boolean hevc;
  private final int[] kinds;
  private final List<List<byte[]>> sets = new ArrayList<>();

  public ParameterSets(boolean hevc) {
    this.hevc = hevc;
    this.kinds = hevc ? HEVC_KINDS : AVC_KINDS;
    for (int i = 0; i < kinds.length; i++) sets.add(new ArrayList<>());
  }

  /** The sets of a container's configuration record; what is damaged is left out. */
  public static ParameterSets ofRecord(boolean hevc, byte[] record) {
    ParameterSets found = new ParameterSets(hevc);
    Cursor cursor = new Cursor(record, hevc ? HEVC_ARRAYS_AT : AVC_LENGTH_AT + 1);
    int arrays = hevc ? cursor.read(1) : AVC_KINDS.length;
    for (int i = 0; i < arrays; i++) {
      if (hevc) cursor.read(1);
      int units = hevc ? cursor.read(2) : cursor.read(1) & (i == 0 ? 31 : 255);
      for (int j = 0; j < units; j++) {
        byte[] unit = cursor.unit();
        if (unit == null) return found;
        int kind = found.kindOf(unit);
        if (kind >= 0) found.sets.get(kind).add(unit);
      }
    }
    return found;
  }

  /** Bytes of a length in the packets that belong to a record. */
  public static int lengthBytes(boolean hevc, byte[] record) {
    int at = hevc ? HEVC_LENGTH_AT : AVC_LENGTH_AT;
    return record.length > at ? (record[at] & 3) + 1 : NalUnits.LENGTH_BYTES;
  }

  /** Takes the sets out of an access unit in place of those known; true when that changed any. */
  public boolean update(List<byte[]> units) {
    boolean changed = false;
    for (byte[] unit : units) {
      int kind = kindOf(unit);
      if (kind < 0) continue;
      List<byte[]> known = sets.get(kind);
      if (known.size() == 1 && Arrays.equals(known.get(0), unit)) continue;
      known.clear();
      known.add(unit);
      changed = true;
    }
    return changed;
  }

  public boolean isComplete() {
    return sets.stream().noneMatch(List::isEmpty);
  }

  /** True when there are more sets of a kind than a decoder takes from a record. */
  public boolean hasMany() {
    return sets.stream().anyMatch(kind -> kind.size() > 1);
  }

  public boolean holdsAnyOf(List<byte[]> units) {
    return units.stream().anyMatch(unit -> kindOf(unit) >= 0);
  }

  public List<byte[]> all() {
    return sets.stream().flatMap(List::stream).toList();
  }

  /** The record, for packets with lengths of four bytes; the sets must be complete. */
  public byte[] toRecord() {
    ByteArrayOutputStream out = new ByteArrayOutputStream();
    if (hevc) writeHevc(out);
    else writeAvc(out);
    return out.toByteArray();
  }

  /** The units without those that are among the sets already. */
  public List<byte[]> leaveOutKnown(List<byte[]> units) {
    return units.stream()
        .filter(unit -> sets.stream().flatMap(List::stream).noneMatch(set -> Arrays.equals(set, unit)))
        .toList();
  }

  /** As the CODECS attribute of a playlist names the stream. */
  public String playlistName() {
    if (hevc) return profile().name();
    byte[] sps = sets.get(0).get(0);
    return String.format("avc1.%02x%02x%02x", sps[1], sps[2], sps[3]);
  }

  private void writeAvc(ByteArrayOutputStream out) {
    byte[] sps = sets.get(0).get(0);
    out.writeBytes(new byte[] {1, at(sps, 1), at(sps, 2), at(sps, 3), (byte) 0xff, (byte) 0xe1});
    NalUnits.append(out, sps, 2);
    out.write(1);
    NalUnits.append(out, sets.get(1).get(0), 2);
    // High profile ends with its picture format: 4:2:0, 8 bits, no further sets.
    if (at(sps, 1) == PROFILE_HIGH) out.writeBytes(new byte[] {(byte) 0xfd, (byte) 0xf8, (byte) 0xf8, 0});
  }

  private HevcProfile profile() {
    return new HevcProfile(sets.get(HEVC_SEQUENCE).get(0));
  }

  private void writeHevc(ByteArrayOutputStream out) {
    HevcProfile profile = profile();
    out.write(1);
    out.writeBytes(profile.bytes());
    // Nothing is said of segmentation, parallelism and rate; pictures are 4:2:0 of 8 bits.
    out.writeBytes(new byte[] {(byte) 0xf0, 0, (byte) 0xfc, (byte) 0xfd, (byte) 0xf8, (byte) 0xf8, 0, 0});
    out.write(profile.layers() << 3 | (profile.layersNested() ? 4 : 0) | NalUnits.LENGTH_BYTES - 1);
    out.write(kinds.length);
    for (int i = 0; i < kinds.length; i++) {
      out.write(0x80 | kinds[i]);
      out.writeBytes(new byte[] {0, 1});
      NalUnits.append(out, sets.get(i).get(0), 2);
    }
  }

  private int kindOf(byte[] unit) {
    if (unit.length == 0) return -1;
    int type = hevc ? unit[0] >> 1 & 63 : unit[0] & 31;
    for (int i = 0; i < kinds.length; i++) if (kinds[i] == type) return i;
    return -1;
  }

  private static byte at(byte[] bytes, int index) {
    return index < bytes.length ? bytes[index] : 0;
  }

  /** Reads big-endian numbers; behind the end all are 0. */
  private static final class Cursor {
    private final byte[] bytes;
    private int at;

    Cursor(byte[] bytes, int at) {
      this.bytes = bytes;
      this.at = at;
    }

    int read(int size) {
      int value = 0;
      for (int i = 0; i < size; i++, at++) value = value << 8 | (at < bytes.length ? bytes[at] & 0xff : 0);
      return value;
    }

    byte[] unit() {
      int size = read(2);
      if (size == 0 || size > bytes.length - at) return null;
      at += size;
      return Arrays.copyOfRange(bytes, at - size, at);
    }
  }
}
