package com.zarvo.qvs.host.job;

import com.zarvo.qvs.host.media.ImageEncoder;
import com.zarvo.qvs.host.media.MediaException;
import com.zarvo.qvs.host.media.MediaReader;
import com.zarvo.qvs.host.media.WholeFile;
import com.zarvo.qvs.host.model.HostException;
import com.zarvo.qvs.host.model.NativeLibraries;
import java.io.IOException;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.LinkedHashMap;
import java.util.List;
import java.util.Locale;
import java.util.Map;

/** Still pictures of a file into a folder: a file a picture or a storyboard, and a list of what is there. */
public final class ThumbsJob {
  public static final String LIST = "thumbs.json";
  /** The window of `best` behind the last time. */
  private static final double LAST_WINDOW_SECONDS = 10;
  /** Mean difference of coarse blocks that makes another scene, of 255. */
  private static final double SCENE_DIFFERENCE = 22;

  private final ThumbsSettings settings;
  private final Progress progress;
  private final List<Map<String, Object>> pictures = new ArrayList<>();
  private final List<String> lost = new ArrayList<>();
  private StillMaker maker;
  private ThumbsOutput output;
  private double length;

  public ThumbsJob(ThumbsSettings settings, Progress progress) {
    this.settings = settings;
    this.progress = progress;
  }

  /** Lines on what could not be made; empty where all is there. */
  public List<String> lost() {
    return lost;
  }

  public int pictureCount() {
    return pictures.size();
  }

  public void run() throws HostException, IOException {
    NativeLibraries.loadTranscoder();
    try (MediaReader reader = MediaReader.open(settings.input())) {
      if (reader.isLive()) throw new HostException(settings.input() + ": can be read only once, make it a file first");
      if (reader.video() == null) throw new HostException(settings.input() + ": no video stream in it");
      length = Math.max(0, reader.video().durationMs() / 1000.0);
      if (length == 0 && settings.choice().needsLength())
        throw new HostException(settings.input() + ": its length is not known, ask by --every or --at");
      try (StillMaker opened = new StillMaker(reader, settings);
          ImageEncoder encoder = new ImageEncoder(settings.format());
          ThumbsOutput made = new ThumbsOutput(settings, opened.layout(), encoder)) {
        maker = opened;
        output = made;
        Files.createDirectories(settings.folder());
        List<Path> existing = existing();
        if (settings.choice().scenes()) takeScenes();
        else takeTimes();
        output.finish(length);
        for (Path file : existing) if (output.isStale(file)) Files.deleteIfExists(file);
      }
    } finally {
      progress.close();
    }
    if (pictures.isEmpty()) throw new HostException(settings.input() + ": no picture could be made of it");
    write();
  }

  // What an earlier run left there and this one may replace.
  private List<Path> existing() throws IOException, HostException {
    List<Path> existing = new ArrayList<>();
    try (var files = Files.list(settings.folder())) {
      files.filter(file -> ThumbsOutput.isOurs(file.getFileName().toString())).sorted().forEach(existing::add);
    }
    if (!existing.isEmpty() && !settings.overwrite().allows(existing))
      throw new HostException(existing.get(0) + ": exists already, --overwrite replaces it");
    return existing;
  }

  private void takeTimes() throws HostException, IOException {
    StillMaker.Shot last = null;
    Double pending = null;
    try {
      for (double next : settings.choice().times(length)) {
        if (pending != null) last = take(pending, next, last);
        pending = next;
        if (isPast(next) && settings.choice().every() > 0) break;
      }
      last = take(pending, pending + LAST_WINDOW_SECONDS, last);
    } finally {
      if (last != null) last.image().close();
    }
  }

  private boolean isPast(double seconds) {
    return length > 0 ? seconds > length : maker.isPast(seconds);
  }

  // Gives the picture that stands for that time; the one before is freed where it was another.
  private StillMaker.Shot take(double seconds, double until, StillMaker.Shot last) throws IOException, MediaException {
    StillMaker.Shot shot = isPast(seconds) ? null : maker.at(seconds, until, last);
    // Looking for it may have found the end.
    if (isPast(seconds)) {
      if (shot != null && shot != last) shot.image().close();
      // Steps go on until the end is found; who asked for a time is told.
      if (settings.choice().every() == 0) lost.add(settings.input() + ": ends before " + text(seconds) + " s");
      return last;
    }
    progress.update(Math.round(seconds * 1000), pictures.size());
    if (shot == null) {
      lost.add(settings.input() + ": no picture at " + text(seconds) + " s (" + maker.lastWord() + ")");
      return last;
    }
    add(shot, seconds, shot == last);
    if (last != null && last != shot) last.image().close();
    return shot;
  }

  private void add(StillMaker.Shot shot, double asked, boolean again) throws IOException, MediaException {
    Map<String, Object> row = output.add(shot.image(), asked, again);
    row.put("asked", asked);
    row.put("seconds", maker.seconds(shot.pts()));
    pictures.add(row);
  }

  private void takeScenes() throws IOException, MediaException {
    double[] before = null;
    for (StillMaker.Shot shot = maker.next(); shot != null; shot = maker.next()) {
      double seconds = maker.seconds(shot.pts());
      progress.update(Math.round(seconds * 1000), pictures.size());
      if (shot.image() == null) {
        lost.add(settings.input() + ": no picture at " + text(seconds) + " s (" + maker.lastWord() + ")");
        continue;
      }
      try (StillImage image = shot.image()) {
        double[] blocks = image.blocks();
        if (before == null || difference(before, blocks) > SCENE_DIFFERENCE) add(shot, seconds, false);
        before = blocks;
      }
    }
  }

  private static double difference(double[] one, double[] other) {
    double sum = 0;
    for (int i = 0; i < one.length; i++) sum += Math.abs(one[i] - other[i]);
    return sum / one.length;
  }

  private void write() throws IOException {
    Map<String, Object> list = new LinkedHashMap<>();
    list.put("input", settings.input().toString());
    list.put("width", output.width());
    list.put("height", output.height());
    list.put("exact", settings.exact());
    list.put("pictures", pictures);
    list.put("lost", lost);
    try (WholeFile file = WholeFile.create(settings.folder().resolve(LIST))) {
      file.write(Json.write(list));
    }
  }

  private static String text(double seconds) {
    return String.format(Locale.ROOT, "%.3f", seconds);
  }
}
