package com.zarvo.qvs.host.watch;

import com.zarvo.qvs.host.session.QualityFigures;
import com.zarvo.qvs.host.session.RungCounters;
import com.zarvo.qvs.host.session.SessionCounters;
import com.zarvo.qvs.host.session.SoundCounters;
import com.zarvo.qvs.host.session.StageTimes;

/** The road that pictures and sound take through a session, with its numbers, as SVG. */
final class RoadPicture {
  static final String CONTENT_TYPE = "image/svg+xml";

  private static final int BOX_WIDTH = 216;
  private static final int BOX_HEIGHT = 58;
  private static final int COLUMN = 240;
  private static final int ROW = 74;
  private static final int TOP = 44;
  private static final int LEFT = 14;
  private static final int TITLE_LETTERS = 120;
  private static final int BOX_LETTERS = 34;

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
    out.append("<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"").append(width).append("\" height=\"").append(height);
    out.append("\" viewBox=\"0 0 ").append(width).append(' ').append(height);
    out.append("\" font-family=\"sans-serif\" font-size=\"11\"><rect width=\"100%\" height=\"100%\" fill=\"#fff\"/>");
    String seconds = tenths(session.mediaMs() / 1000.0) + " s";
    String offset =
        session.avOffsetMs().isPresent() ? ", sound " + session.avOffsetMs().getAsLong() + " ms past pictures" : "";
    String pace = seconds + " of input, " + tenths(session.speed()) + "x";
    text(LEFT, 26, true, session.name() + ": " + pace + offset + "; times are p50 / p95 / p99", TITLE_LETTERS);
    box(0, 0, "input", session.name(), seconds);
    int row = 0;
    if (!session.rungs().isEmpty()) {
      arrow(0, 1, 0, 0);
      long damaged = session.damagedPictures();
      String state = session.pictures() + " pictures" + (damaged > 0 ? ", " + damaged + " damaged" : "");
      box(1, 0, "decode", state, times(session.decoding()));
      for (RungCounters rung : session.rungs()) rung(session, rung, row++);
    }
    for (SoundCounters sound : session.sounds()) sound(session, sound, row++);
    out.append("</svg>\n");
  }

  private void rung(SessionCounters session, RungCounters rung, int row) {
    arrow(1, 2, 0, row);
    long dropped = rung.droppedPictures();
    box(2, row, "scale to " + rung.label(), dropped > 0 ? dropped + " left out" : "", times(rung.scaling()));
    arrow(2, 3, row, row);
    long rate = Math.round(SessionNumbers.bitRate(session, rung) / 1000);
    String state = rung.pictures() + " pictures, " + rung.queueDepth() + " queued, " + rate + " kb/s";
    QualityFigures quality = rung.quality();
    String level = quality == null || quality.pictures() == 0 ? "" : ", " + tenths(quality.psnrDb()) + " dB PSNR";
    box(3, row, "encode " + rung.spec().codec().codecName + level, state, times(rung.encoding()));
  }

  private void sound(SessionCounters session, SoundCounters sound, int row) {
    arrow(0, 3, 0, row);
    long damaged = session.damagedAudioPackets();
    String trouble = damaged > 0 ? damaged + " packets damaged" : "";
    box(3, row, "sound " + sound.spec().codec().codecName, sound.encodedPackets() + " packets", trouble);
  }

  private static String times(StageTimes stage) {
    if (stage.count() == 0) return "";
    return tenths(stage.quantileSeconds(0.5) * 1000) + " / " + tenths(stage.quantileSeconds(0.95) * 1000) + " / "
        + tenths(stage.quantileSeconds(0.99) * 1000) + " ms";
  }

  private void box(int column, int row, String title, String first, String second) {
    int x = LEFT + column * COLUMN;
    int y = TOP + row * ROW;
    out.append("<rect x=\"").append(x).append("\" y=\"").append(y).append("\" width=\"").append(BOX_WIDTH);
    out.append("\" height=\"").append(BOX_HEIGHT).append("\" rx=\"5\" fill=\"#eef3f8\" stroke=\"#456\"/>");
    text(x + 8, y + 17, true, title, BOX_LETTERS);
    text(x + 8, y + 34, false, first, BOX_LETTERS);
    text(x + 8, y + 50, false, second, BOX_LETTERS);
  }

  // Behind its start it goes down, then across.
  private void arrow(int column, int toColumn, int fromRow, int toRow) {
    int x = LEFT + column * COLUMN + BOX_WIDTH;
    int from = TOP + fromRow * ROW + BOX_HEIGHT / 2;
    int to = TOP + toRow * ROW + BOX_HEIGHT / 2;
    int end = LEFT + toColumn * COLUMN;
    out.append("<path d=\"M").append(x).append(' ').append(from).append('H').append(x + 10).append('V').append(to);
    out.append('H').append(end).append("\" fill=\"none\" stroke=\"#456\"/>");
    out.append("<path d=\"M").append(end).append(' ').append(to).append("l-7 -4v8z\" fill=\"#456\"/>");
  }

  private void text(int x, int y, boolean bold, String text, int most) {
    if (text.isEmpty()) return;
    out.append("<text x=\"").append(x).append("\" y=\"").append(y).append(bold ? "\" font-weight=\"bold\">" : "\">");
    escape(text.length() <= most ? text : text.substring(0, most - 1) + "\u2026");
    out.append("</text>");
  }

  private static String tenths(double value) {
    long tenths = Math.round(value * 10);
    return tenths / 10 + "." + tenths % 10;
  }

  // A file's name may hold what XML does not.
  private void escape(String text) {
    text.codePoints()
        .map(c -> c < 0x20 || c >= 0xd800 && c < 0xe000 || c == 0xfffe || c == 0xffff ? '?' : c)
        .forEach(
            c -> {
              if (c == '&') out.append("&amp;");
              else if (c == '<') out.append("&lt;");
              else out.appendCodePoint(c);
            });
  }
}
