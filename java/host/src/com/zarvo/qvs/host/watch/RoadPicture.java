package com.zarvo.qvs.host.watch;

import com.zarvo.qvs.host.session.RungCounters;
import com.zarvo.qvs.host.session.SessionCounters;
import com.zarvo.qvs.host.session.SoundCounters;
import com.zarvo.qvs.host.session.StageTimes;
import java.util.Locale;

/** The road that pictures and sound take through a session, with its numbers, as SVG. */
final class RoadPicture {
  static final String CONTENT_TYPE = "image/svg+xml";

  private static final int BOX_WIDTH = 216;
  private static final int BOX_HEIGHT = 58;
  private static final int COLUMN = 240;
  private static final int ROW = 74;
  private static final int TOP = 44;
  private static final int LEFT = 14;

  private final StringBuilder out = new StringBuilder();

  private RoadPicture() {}

  static String of(SessionCounters session) {
    RoadPicture picture = new RoadPicture();
    picture.draw(session);
    return picture.out.toString();
  }

  private void draw(SessionCounters session) {
    int rows = Math.max(1, session.rungs().size() + session.sounds().size());
    int width = LEFT * 2 + COLUMN * 3 + BOX_WIDTH;
    int height = TOP + rows * ROW;
    add("<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"%d\" height=\"%d\" viewBox=\"0 0 %d %d\"", width, height, width, height);
    add(" font-family=\"sans-serif\" font-size=\"11\"><rect width=\"100%%\" height=\"100%%\" fill=\"#fff\"/>");
    String pace = format("%.1f s of input, %.2fx", session.mediaMs() / 1000.0, session.speed());
    String offset =
        session.avOffsetMs().isPresent() ? ", sound " + session.avOffsetMs().getAsLong() + " ms past pictures" : "";
    text(LEFT, 26, "bold", session.name() + ": " + pace + offset + "; times are p50 / p95 / p99");
    box(0, 0, "input", session.name(), format("%.1f s", session.mediaMs() / 1000.0));
    int row = 0;
    if (!session.rungs().isEmpty()) {
      arrow(0, 0, 0);
      long damaged = session.damagedPictures();
      box(1, 0, "decode", session.pictures() + " pictures" + (damaged > 0 ? ", " + damaged + " damaged" : ""), times(session.decoding()));
      for (RungCounters rung : session.rungs()) rung(session, rung, row++);
    }
    for (SoundCounters sound : session.sounds()) sound(session, sound, row++);
    add("</svg>\n");
  }

  private void rung(SessionCounters session, RungCounters rung, int row) {
    arrow(1, 0, row);
    long dropped = rung.droppedPictures();
    box(2, row, "scale to " + rung.label(), dropped > 0 ? dropped + " left out" : "", times(rung.scaling()));
    arrow(2, row, row);
    String state = format("%d pictures, %d queued, %.0f kb/s", rung.pictures(), rung.queueDepth(), SessionNumbers.bitRate(session, rung) / 1000);
    box(3, row, "encode " + rung.spec().codec().codecName, state, times(rung.encoding()));
  }

  private void sound(SessionCounters session, SoundCounters sound, int row) {
    arrow(0, 0, row, 3);
    long damaged = session.damagedAudioPackets();
    String trouble = damaged > 0 ? damaged + " packets damaged" : "";
    box(3, row, "sound " + sound.spec().codec().codecName, sound.encodedPackets() + " packets", trouble);
  }

  private static String times(StageTimes stage) {
    if (stage.count() == 0) return "";
    double median = stage.quantileSeconds(0.5) * 1000;
    return format("%.1f / %.1f / %.1f ms", median, stage.quantileSeconds(0.95) * 1000, stage.quantileSeconds(0.99) * 1000);
  }

  private void box(int column, int row, String title, String first, String second) {
    int x = LEFT + column * COLUMN;
    int y = TOP + row * ROW;
    add("<rect x=\"%d\" y=\"%d\" width=\"%d\" height=\"%d\" rx=\"5\" fill=\"#eef3f8\" stroke=\"#456\"/>", x, y, BOX_WIDTH, BOX_HEIGHT);
    text(x + 8, y + 17, "bold", title);
    text(x + 8, y + 34, "normal", first);
    text(x + 8, y + 50, "normal", second);
  }

  private void arrow(int column, int fromRow, int toRow) {
    arrow(column, fromRow, toRow, column + 1);
  }

  // Behind its start it goes down, then across.
  private void arrow(int column, int fromRow, int toRow, int toColumn) {
    int x = LEFT + column * COLUMN + BOX_WIDTH;
    int from = TOP + fromRow * ROW + BOX_HEIGHT / 2;
    int to = TOP + toRow * ROW + BOX_HEIGHT / 2;
    int end = LEFT + toColumn * COLUMN;
    add("<path d=\"M%d %dH%dV%dH%d\" fill=\"none\" stroke=\"#456\"/>", x, from, x + 10, to, end);
    add("<path d=\"M%d %dl-7 -4v8z\" fill=\"#456\"/>", end, to);
  }

  private void text(int x, int y, String weight, String text) {
    if (text.isEmpty()) return;
    add("<text x=\"%d\" y=\"%d\" font-weight=\"%s\">%s</text>", x, y, weight, escaped(shortened(text, weight.equals("bold") && y < TOP ? 120 : 34)));
  }

  private static String shortened(String text, int most) {
    return text.length() <= most ? text : text.substring(0, most - 1) + "\u2026";
  }

  private void add(String format, Object... values) {
    out.append(format(format, values));
  }

  private static String format(String format, Object... values) {
    return String.format(Locale.ROOT, format, values);
  }

  // A file's name may hold what XML does not.
  private static String escaped(String text) {
    StringBuilder safe = new StringBuilder();
    text.codePoints()
        .map(c -> c < 0x20 || c >= 0xd800 && c < 0xe000 || c == 0xfffe || c == 0xffff ? '?' : c)
        .forEach(
            c -> {
              if (c == '&') safe.append("&amp;");
              else if (c == '<') safe.append("&lt;");
              else safe.appendCodePoint(c);
            });
    return safe.toString();
  }
}
