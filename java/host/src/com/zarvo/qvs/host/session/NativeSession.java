package com.zarvo.qvs.host.session;

import com.zarvo.qvs.host.model.Device;
import com.zarvo.qvs.host.model.HostException;
import com.zarvo.qvs.host.model.NativeLibraries;
import com.zarvo.qvs.transcoder.model.TranscoderNativeStreamContext;
import com.zarvo.qvs.transcoder.model.TranscoderSessionNative;
import java.util.List;
import java.util.function.Consumer;

/** The native session under a {@link TranscodeSession}, as its video and audio paths share it. */
final class NativeSession implements AutoCloseable {
  private static final long FAILED = 0xFFFFFFFFL;
  private static final long FOURCC_YV12 = 0x32315659L;
  private static final long FOURCC_HN12 = 0x32314E48L;

  private final String name;
  private final SessionOutput output;
  private final SessionLog log;
  private final SessionCounters counters;
  private long handle;
  private Device device;
  private long fourcc = FOURCC_YV12;

  NativeSession(String name, SessionOutput output, SessionCounters counters, Device device) throws HostException {
    this(name, output, counters, device, line -> {});
  }

  /** The same, whose log another reads along. */
  NativeSession(
      String name,
      SessionOutput output,
      SessionCounters counters,
      Device device,
      Consumer<SessionLog.Line> logListener)
      throws HostException {
    this.name = name;
    this.counters = counters;
    this.output = output;
    this.device = device;
    this.log = new SessionLog("host/transcode/" + name, logListener);
    NativeLibraries.loadTranscoder();
    handle = TranscoderSessionNative.createInstance(context(""));
    if (handle == 0) throw new HostException("no transcoder session could be made");
    TranscoderSessionNative.initInstance(handle);
  }

  /** The session's number, 0 once it is closed. */
  long handle() {
    return handle;
  }

  /** The stream's name. */
  String name() {
    return name;
  }

  /** Where its pictures are at this time. */
  Device device() {
    return device;
  }

  void leaveDevice() {
    device = Device.SOFTWARE;
    fourcc = FOURCC_YV12;
  }

  /** Where pictures lie on their way: from now on in the device's memory, where no encoder but its own reads them. */
  void keepOnDevice() {
    fourcc = FOURCC_HN12;
  }

  /** From now on in the host's memory, wherever they are worked on. */
  void keepInHost() {
    fourcc = FOURCC_YV12;
  }

  boolean keepsOnDevice() {
    return fourcc == FOURCC_HN12;
  }

  /** The native side's number of the pictures' format. */
  long fourcc() {
    return fourcc;
  }

  SessionOutput output() {
    return output;
  }

  SessionCounters counters() {
    return counters;
  }

  /** What was logged so far; stays readable after the end. */
  SessionLog log() {
    fetchLog();
    return log;
  }

  /** The native side keeps a limited number of lines, so they are fetched now and then. Gives what is new. */
  List<SessionLog.Line> fetchLog() {
    return handle != 0 ? log.fetch(handle) : List.of();
  }

  TranscoderNativeStreamContext context(String rendition) {
    TranscoderNativeStreamContext context = new TranscoderNativeStreamContext();
    context.vhost = "host";
    context.appName = "transcode";
    context.appInstanceName = "_definst_";
    context.streamNameBase = name;
    context.streamName = name;
    context.renditionName = rendition;
    context.sessionExtraDataStr = "";
    context.renditionExtraDataStr = "";
    return context;
  }

  /** Turns a failure number into an exception that carries the session's own words where it has any. */
  void check(long result, String what) throws HostException {
    if (result != 0) throw failure(what, result);
  }

  /** The same once it failed: for calls of every frame, which make no text as long as they go well. */
  HostException failure(String what) {
    return failure(what, FAILED);
  }

  private HostException failure(String what, long number) {
    fetchLog();
    String trouble = log.lastTrouble();
    return new HostException(trouble.isEmpty() ? what : what + " (" + trouble + ")", number, trouble);
  }

  /** The same for what a device may be to blame for. */
  HostException broken(String what) {
    HostException failure = failure(what);
    return device.isSoftware() ? failure : new DeviceFailure(EncoderFault.ERROR, failure.getMessage());
  }

  @Override
  public void close() {
    if (handle == 0) return;
    fetchLog();
    TranscoderSessionNative.destroyInstance(handle);
    handle = 0;
  }
}
