package com.zarvo.qvs.host.session;

import com.zarvo.qvs.host.media.MediaException;
import com.zarvo.qvs.host.media.PictureMeter;
import com.zarvo.qvs.host.model.RenditionSpec;
import com.zarvo.qvs.transcoder.model.TranscoderPacket;
import java.nio.ByteBuffer;
import java.util.HashMap;
import java.util.Map;
import java.util.Queue;
import java.util.concurrent.ConcurrentLinkedQueue;

/**
 * The measuring of one rendition: chooses pictures and gathers their packets on the session's thread, measures on the
 * watch's. Where a picture stands between its key pictures is another place each time, so that the mean over many
 * stands for all pictures, not for key pictures, which are better than others.
 */
final class RungQuality {
  // Steps by the golden ratio fill an interval evenly, however many there are.
  private static final double GOLDEN = 0.6180339887498949;
  private static final int MOST_PICTURES = 4;

  private final QualityRuns watch;
  private final RenditionSpec spec;
  private final RungCounters counters;
  private final double groupMs;
  private final double intervalMs;
  private final double spanMs;
  private final int length;
  // What a run decodes, about.
  private final double pixels;
  private final Queue<ByteBuffer> free = new ConcurrentLinkedQueue<>();
  private int allocated;
  private ByteBuffer asked;
  private Run run;
  private long runs;
  private double nextMs = Double.NEGATIVE_INFINITY;
  private boolean unreadable;

  /** From a key picture to the last picture that is measured. */
  private static final class Run {
    final long startMs;
    double dueMs;
    int pictures;
    int fed;
    int needed = Integer.MAX_VALUE;
    // The rest is the watch's thread's.
    final Map<Long, ByteBuffer> targets = new HashMap<>();
    PictureMeter meter;
    String trouble;

    Run(long startMs) {
      this.startMs = startMs;
    }
  }

  RungQuality(
      QualityRuns watch, RenditionSpec spec, RungCounters counters, double perSecond, double groupMs, double pictureMs) {
    this.watch = watch;
    this.spec = spec;
    this.counters = counters;
    this.groupMs = groupMs;
    this.intervalMs = 1000 / perSecond;
    this.spanMs = Math.max(0, Math.min(intervalMs, groupMs) - pictureMs);
    this.pixels = Math.ceil(groupMs / pictureMs) * spec.width() * spec.height();
    this.length = spec.width() * spec.height() + 2 * (spec.width() / 2) * (spec.height() / 2);
  }

  /** Runs that began. */
  long runs() {
    return runs;
  }

  boolean canRun() {
    return !unreadable;
  }

  /** Before a picture is scaled; `startsGroup` where it will be a key picture. True where {@link #taken} is to follow. */
  boolean ask(long time, boolean startsGroup) {
    if (startsGroup) groupBegins(time);
    if (run == null) return false;
    run.pictures++;
    if (run.needed != Integer.MAX_VALUE) return false;
    if (time + 0.5 < run.dueMs) return false;
    while (run.dueMs <= time + 0.5) run.dueMs += intervalMs;
    // With pictures that are coded ahead of their turn, its packet comes so much later.
    if (run.dueMs >= run.startMs + groupMs) run.needed = run.pictures + spec.tuning().bFramesOf(spec.codec()) + 1;
    asked = buffer();
    if (asked == null) counters.notMeasured("measuring falls behind");
    else watch.tap().ask(asked, length);
    return asked != null;
  }

  private void groupBegins(long time) {
    if (run != null) run.needed = Math.min(run.needed, run.pictures);
    if (run != null || unreadable || time + 1 < nextMs || !watch.begin(runs, pixels)) return;
    Run begun = new Run(time);
    begun.dueMs = time + spanMs * ((runs++ * GOLDEN) % 1);
    nextMs = time + intervalMs;
    run = begun;
    watch.submit(() -> open(begun));
  }

  private ByteBuffer buffer() {
    ByteBuffer buffer = free.poll();
    if (buffer != null || allocated == MOST_PICTURES) return buffer;
    allocated++;
    return ByteBuffer.allocateDirect(length);
  }

  /** After it was scaled. */
  void taken(long time) {
    ByteBuffer picture = asked;
    asked = null;
    if (watch.tap().taken()) {
      Run of = run;
      watch.submit(() -> of.targets.put(time, picture));
    } else {
      free.add(picture);
      unreadable();
    }
  }

  /** Pictures don't come through the host's memory. */
  void unreadable() {
    if (!unreadable) counters.notMeasured("the pictures stay in a card's memory");
    unreadable = true;
  }

  /** What the encoder made, in its order. */
  void packet(TranscoderPacket packet) {
    if (run == null) return;
    long time = packet.timecode + packet.timecodeOffset;
    if (run.fed == 0 && time != run.startMs) return;
    Run of = run;
    of.fed++;
    watch.submit(() -> decode(of, packet, time));
    if (of.fed >= of.needed) finish();
  }

  /** No more packets of the run come. */
  void finish() {
    if (run == null) return;
    Run of = run;
    run = null;
    watch.submit(() -> end(of));
  }

  /** The watch's thread has ended; where it has not, it keeps what it works on. */
  void over(boolean ended) {
    if (!ended) counters.notMeasured("measuring did not come to its end");
    for (ByteBuffer buffer = free.poll(); buffer != null; buffer = free.poll()) DirectBytes.free(buffer);
  }

  private void open(Run of) {
    try {
      of.meter = new PictureMeter(spec.codec().codecName, spec.codec().hasUnits());
    } catch (MediaException e) {
      of.trouble = e.getMessage();
    }
  }

  private void decode(Run of, TranscoderPacket packet, long time) {
    if (of.meter == null) return;
    try {
      of.meter.send(packet.buffer, packet.offset, (int) packet.len, time);
    } catch (MediaException e) {
      of.trouble = e.getMessage();
    }
    measure(of);
  }

  private void measure(Run of) {
    while (of.meter.receive()) {
      long time = of.meter.time();
      ByteBuffer picture = of.targets.remove(time);
      if (picture == null) continue;
      if (of.meter.measure(picture, spec.width(), spec.height()))
        counters.measured(of.meter.squaredError(), of.meter.similarity(), time);
      else counters.notMeasured("what was coded is no 8-bit 4:2:0 picture of the same size");
      free.add(picture);
    }
  }

  private void end(Run of) {
    if (of.meter != null) {
      try {
        of.meter.sendEnd();
      } catch (MediaException e) {
        of.trouble = e.getMessage();
      }
      measure(of);
      of.meter.close();
    }
    String why = of.trouble == null ? "its coded picture did not come" : of.trouble;
    for (ByteBuffer picture : of.targets.values()) {
      counters.notMeasured(why);
      free.add(picture);
    }
    of.targets.clear();
    QualityBudget.shared().end(pixels);
  }
}
