package com.zarvo.qvs.host.job;

import com.zarvo.qvs.host.media.ImageEncoder;
import com.zarvo.qvs.host.media.MediaException;
import com.zarvo.qvs.host.media.WholeFile;
import com.zarvo.qvs.host.model.StillLayout;
import java.io.IOException;
import java.nio.file.Path;
import java.util.HashSet;
import java.util.LinkedHashMap;
import java.util.Locale;
import java.util.Map;
import java.util.Set;
import java.util.regex.Pattern;

/** Where pictures go: each into a file of its own, or as tiles into the sheets of a storyboard. */
final class ThumbsOutput implements AutoCloseable {
  static final String TRACK = "storyboard.vtt";
  private static final int COLUMNS = 10;
  private static final int ROWS = 10;
  /** Pixels to a side of a sheet, for the sake of small devices. */
  private static final int SHEET_SIDE = 4096;
  private static final Pattern OURS = Pattern.compile("(thumb|sheet)-\\d{4,}\\.(jpg|png|webp)|storyboard\\.vtt|thumbs\\.json");

  private final ThumbsSettings settings;
  private final StillLayout layout;
  private final ImageEncoder encoder;
  private final int columns;
  private final int rows;
  private final Set<String> written = new HashSet<>();
  private final StringBuilder track = new StringBuilder("WEBVTT\n");
  private StillImage sheet;
  private int tiles;
  private int files;
  private String lastCue;
  private double lastTime;

  ThumbsOutput(ThumbsSettings settings, StillLayout layout, ImageEncoder encoder) {
    this.settings = settings;
    this.layout = layout;
    this.encoder = encoder;
    this.columns = Math.max(1, Math.min(COLUMNS, SHEET_SIDE / layout.width()));
    this.rows = Math.max(1, Math.min(ROWS, SHEET_SIDE / layout.height()));
  }

  /** True for names that a run writes. */
  static boolean isOurs(String name) {
    return OURS.matcher(name).matches();
  }

  /** True for a file of an earlier run that this one did not write anew. */
  boolean isStale(Path file) {
    return !written.contains(file.getFileName().toString());
  }

  int width() {
    return layout.width();
  }

  int height() {
    return layout.height();
  }

  /** `again`: the picture is the one that came before. Gives where it is. */
  Map<String, Object> add(StillImage image, double seconds, boolean again) throws IOException, MediaException {
    Map<String, Object> row = new LinkedHashMap<>();
    if (!settings.storyboard()) {
      if (!again) write(image, name("thumb", ++files));
      row.put("file", name("thumb", files));
      return row;
    }
    if (!again) addTile(image);
    int place = tiles - 1;
    int left = place % columns * layout.width();
    int top = place / columns * layout.height();
    row.put("file", name("sheet", files + 1));
    row.put("x", left);
    row.put("y", top);
    endCue(seconds);
    // The first tile stands for all that is before its time too.
    lastTime = lastCue == null ? 0 : seconds;
    lastCue = name("sheet", files + 1) + "#xywh=" + left + "," + top + "," + layout.width() + "," + layout.height();
    return row;
  }

  // A sheet is written when the next one begins: its last tile may be shown again.
  private void addTile(StillImage image) throws IOException, MediaException {
    if (tiles == columns * rows) writeSheet();
    if (sheet == null) sheet = new StillImage(columns * layout.width(), rows * layout.height());
    image.drawOn(sheet, tiles % columns * layout.width(), tiles / columns * layout.height());
    tiles++;
  }

  private void writeSheet() throws IOException, MediaException {
    int used = (tiles + columns - 1) / columns;
    StillImage whole = sheet;
    sheet = null;
    tiles = 0;
    try (whole) {
      encode(whole, whole.width(), used * layout.height(), name("sheet", ++files));
    }
  }

  private void write(StillImage image, String name) throws IOException, MediaException {
    encode(image, image.width(), image.height(), name);
  }

  private void encode(StillImage image, int width, int height, String name) throws IOException, MediaException {
    Path target = settings.folder().resolve(name);
    written.add(name);
    try (WholeFile file = WholeFile.create(target)) {
      file.write(encoder.encode(image.bytes(), width, height));
    }
  }

  private String name(String what, int number) {
    return String.format(Locale.ROOT, "%s-%04d.%s", what, number, settings.format().suffix());
  }

  private void endCue(double seconds) {
    if (lastCue != null)
      track.append('\n').append(time(lastTime)).append(" --> ").append(time(seconds)).append('\n').append(lastCue).append('\n');
  }

  /** All is there; `length` in seconds, 0 where it is not known. */
  void finish(double length) throws IOException, MediaException {
    if (!settings.storyboard() || lastCue == null) return;
    double step = settings.choice().every() > 0 ? settings.choice().every() : 1;
    endCue(length > lastTime ? length : lastTime + step);
    if (tiles > 0) writeSheet();
    written.add(TRACK);
    try (WholeFile file = WholeFile.create(settings.folder().resolve(TRACK))) {
      file.write(track.toString());
    }
  }

  private static String time(double seconds) {
    long ms = Math.round(seconds * 1000);
    return String.format(Locale.ROOT, "%02d:%02d:%02d.%03d", ms / 3_600_000, ms / 60_000 % 60, ms / 1000 % 60, ms % 1000);
  }

  @Override
  public void close() {
    if (sheet != null) sheet.close();
  }
}
