package com.zarvo.qvs.host.model;

import java.util.LinkedHashMap;
import java.util.List;
import java.util.Map;

/** What the samples of pictures mean: code points of ITU-T H.273, and the range that they take. */
public record Colors(int primaries, int transfer, int matrix, boolean fullRange) {
  private static final int LAST_PRIMARIES = 12;
  private static final int LAST_TRANSFER = 18;
  private static final int LAST_MATRIX = 14;

  private static final Colors BT601_625 = new Colors(5, 6, 5, false);
  private static final Colors BT601_525 = new Colors(6, 6, 6, false);
  private static final Colors BT709 = new Colors(1, 1, 1, false);
  // By the number that the H.264 encoder gives them: SMPTE 240M, then BT.2020 in 10 and 12 bits, PQ and HLG.
  private static final List<Colors> DESCRIBED =
      List.of(
          BT601_625, BT601_525, BT709, new Colors(7, 7, 7, false), new Colors(9, 14, 9, false),
          new Colors(9, 15, 9, false), new Colors(9, 16, 9, false), new Colors(9, 18, 9, false));
  private static final int FIRST_DESCRIBED = 2;
  private static final Map<Integer, Integer> VP9_SPACE_BY_MATRIX = Map.of(1, 2, 5, 1, 6, 3, 7, 4, 9, 5);

  /** What players take pictures for that say nothing of their colours. */
  public static Colors usual(int height) {
    if (height >= 720) return BT709;
    return height == 576 || height == 288 ? BT601_625 : BT601_525;
  }

  /**
   * The colours of a source. What it leaves open follows from its matrix, else from its height: scaled pictures would
   * be taken for something else by theirs.
   */
  public static Colors of(int primaries, int transfer, int matrix, boolean fullRange, int height) {
    Colors kin =
        DESCRIBED.stream().filter(known -> known.matrix == matrix).findFirst().orElseGet(() -> usual(height));
    return new Colors(
        isTold(primaries, LAST_PRIMARIES) ? primaries : kin.primaries,
        isTold(transfer, LAST_TRANSFER) ? transfer : kin.transfer,
        isTold(matrix, LAST_MATRIX) ? matrix : kin.matrix,
        fullRange);
  }

  // 2 leaves it open, 0 and 3 are reserved; a matrix of 0 is that of RGB, which no decoder here delivers.
  private static boolean isTold(int codePoint, int last) {
    return codePoint > 0 && codePoint <= last && codePoint != 2 && codePoint != 3;
  }

  /** Number of the H.264 encoder's description of just these colours, 0 when it has none. */
  public int description() {
    int at = DESCRIBED.indexOf(this);
    return at < 0 ? 0 : at + FIRST_DESCRIBED;
  }

  /** Number of the colour space in VP9 streams, 0 where they have none. */
  public int vp9Space() {
    return VP9_SPACE_BY_MATRIX.getOrDefault(matrix, 0);
  }

  /** For a report. */
  public Map<String, Object> toMap() {
    Map<String, Object> map = new LinkedHashMap<>();
    map.put("primaries", primaries);
    map.put("transfer", transfer);
    map.put("matrix", matrix);
    map.put("fullRange", fullRange);
    return map;
  }
}
