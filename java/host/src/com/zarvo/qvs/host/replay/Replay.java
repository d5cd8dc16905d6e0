package com.zarvo.qvs.host.replay;

import com.zarvo.qvs.host.model.HostException;
import com.zarvo.qvs.host.model.NativeLibraries;
import com.zarvo.qvs.transcoder.model.TranscoderSessionNative;
import java.io.IOException;
import java.lang.reflect.InvocationTargetException;
import java.nio.BufferUnderflowException;
import java.nio.ByteBuffer;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.HashMap;
import java.util.List;
import java.util.Map;
import java.util.Set;
import java.util.TreeMap;
import java.util.TreeSet;
import java.util.function.Consumer;

/**
 * Runs the native calls of a recording again, one after the other in the order in which they began, and compares what
 * they answer. Calls of several threads come on one: those of a session that ran side by side don't touch each other.
 */
public final class Replay {
  private static final int PROCESS = 1;
  private static final int NATIVE = 2;
  private static final int CLASS = 3;
  private static final int ENTER = 4;
  private static final int EXIT = 5;
  private static final int FORMAT = 1;

  /** What came of it. */
  public record Result(
      long calls, long compared, int sessions, List<String> differences, List<String> remarks, String damage, String endsWithin) {
    /** True where all of the file could be read and each answer that can be compared was the same. */
    public boolean isEqual() {
      return differences.isEmpty() && damage == null;
    }
  }

  /** A call that was made and whose recorded answer is still to come. */
  private record Made(RecordedNative called, String what, Object[] given, long result, boolean thrown, boolean compared, long handle) {}

  private final Path file;
  private final boolean onlyList;
  private final int mostDifferences;
  private final Consumer<String> lines;
  private final ValueReader values = new ValueReader();
  private final Map<Integer, RecordedNative> natives = new HashMap<>();
  private final Map<Long, Made> pending = new TreeMap<>();
  /** Handles as recorded, and those of this process. */
  private final Map<Long, Long> sessions = new HashMap<>();
  private final Set<Long> inexact = new TreeSet<>();
  private final Set<Long> devices = new TreeSet<>();
  private final Set<Long> queued = new TreeSet<>();
  private final List<String> differences = new ArrayList<>();
  private final List<String> remarks = new ArrayList<>();
  private long calls;
  private int created;
  private long skipped;
  private long uncertain;
  private long bound;
  private long timed;
  private long ofMachine;
  private boolean hasGap;

  /** `lines` gets each call in words where `onlyList` is set: then none is made. */
  public Replay(Path file, boolean onlyList, int mostDifferences, Consumer<String> lines) {
    this.file = file;
    this.onlyList = onlyList;
    this.mostDifferences = mostDifferences;
    this.lines = lines;
  }

  public Result run() throws HostException, IOException {
    try (RecordingFrames frames = new RecordingFrames(file)) {
      if (!onlyList) NativeLibraries.loadTranscoder();
      long number = 0;
      for (ByteBuffer frame = frames.next(); frame != null && differences.size() < mostDifferences; frame = frames.next()) {
        number++;
        if (frames.isBehindGap()) passGap();
        try {
          take(frame);
        } catch (BufferUnderflowException e) {
          throw new RecordingException(file + ": frame " + number + " is shorter than it should be");
        } catch (RecordingException e) {
          throw new RecordingException(file + ", frame " + number + ": " + e.getMessage());
        }
      }
      return result(frames.damage());
    } finally {
      if (!onlyList) closeSessions();
    }
  }

  private Result result(String damage) {
    if (uncertain > 0) remarks.add(uncertain + " calls of sessions that lack a part were made again and not compared");
    if (skipped > 0) remarks.add(skipped + " calls of sessions whose beginning is lost were left out");
    if (bound > 0) remarks.add(bound + " calls of sessions that read a device were made again and not compared");
    if (timed > 0) remarks.add(timed + " calls of sessions whose pictures wait for their encoders were made again and not compared");
    if (ofMachine > 0) remarks.add(ofMachine + " calls that ask for the machine or its log were made again and not compared");
    String within = pending.isEmpty() || onlyList ? null : pending.values().iterator().next().what();
    return new Result(calls, calls - uncertain - skipped - bound - timed - ofMachine, created, differences, remarks, damage, within);
  }

  private void take(ByteBuffer frame) throws RecordingException {
    switch (frame.get()) {
      case PROCESS -> readProcess(frame);
      case NATIVE -> {
        int number = Short.toUnsignedInt(frame.getShort());
        natives.put(number, RecordedNative.of(ValueReader.text(frame), ValueReader.text(frame), ValueReader.text(frame)));
      }
      case CLASS -> values.define(frame);
      case ENTER -> enter(frame);
      case EXIT -> leave(frame);
      default -> throw new RecordingException("a frame of an unknown kind");
    }
  }

  private void readProcess(ByteBuffer frame) throws RecordingException {
    int format = frame.getInt();
    if (format != FORMAT) throw new RecordingException("its format is " + format + ", this host reads " + FORMAT);
    frame.getInt();
    for (int left = Short.toUnsignedInt(frame.getShort()); left > 0; left--) {
      String[] variable = ValueReader.text(frame).split("=", 2);
      boolean isSame = variable.length == 2 && variable[1].equals(System.getenv(variable[0]));
      if (!isSame && !variable[0].startsWith("QVS_RECORD")) remarks.add("recorded with " + String.join("=", variable));
    }
  }

  /** Sessions that live on behind it lack calls; answers of those that were under way may be lost. */
  private void passGap() {
    hasGap = true;
    inexact.addAll(sessions.keySet());
    pending.clear();
  }

  private void enter(ByteBuffer frame) throws RecordingException {
    long number = frame.getLong();
    int thread = frame.getInt();
    long timeNs = frame.getLong();
    RecordedNative called = natives.get(Short.toUnsignedInt(frame.getShort()));
    if (called == null) throw new RecordingException("a call of a native that it does not describe");
    if (called.method() == null) throw new RecordingException("this host has no native " + called.name() + called.signature());
    Class<?>[] types = called.method().getParameterTypes();
    Object[] arguments = new Object[types.length];
    for (int i = 0; i < types.length; i++) arguments[i] = values.read(frame, types[i]);
    String what = String.format("call %d, %s%s on thread %d at %.3f s", number, called.name(), shown(arguments), thread, timeNs / 1e9);
    if (onlyList) lines.accept(what);
    if (called.isOfTheProcess()) return;
    calls++;
    if (onlyList) return;
    long handle = called.takesSession() ? (Long) arguments[0] : 0;
    if (hasGap && handle != 0 && !sessions.containsKey(handle)) {
      skipped++;
      return;
    }
    if (handle != 0 && called.bindsDevice()) devices.add(handle);
    if (handle != 0 && called.queuesPictures(arguments)) queued.add(handle);
    if (handle != 0) arguments[0] = sessions.getOrDefault(handle, handle);
    pending.put(number, make(called, what, arguments, handle));
  }

  private static String shown(Object[] arguments) {
    StringBuilder text = new StringBuilder("(");
    for (int i = 0; i < arguments.length; i++) text.append(i == 0 ? "" : ", ").append(Difference.shown(arguments[i]));
    return text.append(')').toString();
  }

  private Made make(RecordedNative called, String what, Object[] arguments, long handle) throws RecordingException {
    boolean compared = false;
    if (!called.isCompared()) ofMachine++;
    else if (inexact.contains(handle)) uncertain++;
    else if (devices.contains(handle)) bound++;
    else if (queued.contains(handle)) timed++;
    else compared = true;
    // The object is the call's own where nothing could be read of it.
    for (int i = 0; i < arguments.length; i++) if (!called.method().getParameterTypes()[i].isPrimitive()) arguments[i] = orNull(arguments[i]);
    try {
      long result = (Long) called.method().invoke(null, arguments);
      return new Made(called, what, arguments, result, false, compared, handle);
    } catch (InvocationTargetException e) {
      return new Made(called, what, arguments, 0, true, compared, handle);
    } catch (IllegalAccessException | IllegalArgumentException e) {
      throw new RecordingException("its arguments don't fit: " + what);
    }
  }

  private static Object orNull(Object value) {
    return value == ValueReader.UNREAD || value == ValueReader.SAME ? null : value;
  }

  private void leave(ByteBuffer frame) throws RecordingException {
    Made made = pending.remove(frame.getLong());
    long result = frame.getLong();
    boolean thrown = frame.get() != 0;
    if (made == null) return;
    if (made.called().creates()) {
      sessions.put(result, made.result());
      inexact.remove(result);
      devices.remove(result);
      queued.remove(result);
      created++;
      // Two handles are never alike, but both are one, or none.
      if ((result == 0) != (made.result() == 0)) differ(made, "expected " + result + ", got " + made.result());
      return;
    }
    String found = thrown != made.thrown() ? "expected " + (thrown ? "an" : "no") + " exception" : null;
    if (found == null && result != made.result()) found = "expected " + result + ", got " + made.result();
    Class<?>[] types = made.called().method().getParameterTypes();
    for (int i = 0; i < types.length; i++) {
      if (types[i].isPrimitive()) continue;
      Object expected = values.read(frame, types[i]);
      // What went in unchanged came out so, but for what this run has made of it.
      if (expected != ValueReader.SAME && found == null) found = Difference.find("argument " + (i + 1), expected, made.given()[i]);
    }
    if (found != null) differ(made, found);
  }

  private void differ(Made made, String what) {
    if (made.compared()) differences.add(made.what() + ": " + what);
  }

  private void closeSessions() {
    for (long handle : sessions.values())
      if (handle != 0) TranscoderSessionNative.destroyInstance(handle);
  }
}
