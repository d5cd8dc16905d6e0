package com.zarvo.qvs.host.media;

/** A container being written by libavformat. Closing it without {@link #finish} leaves an incomplete file. */
final class Muxer implements AutoCloseable {
  private long handle;

  private Muxer(long handle) {
    this.handle = handle;
  }

  /**
   * Creates a file in a container that libavformat names so.
   *
   * @param segmented packets go out in the order in which they come, so that the file can be cut
   */
  static Muxer open(String path, String format, boolean segmented) throws MediaException {
    return new Muxer(create(path, format, segmented));
  }

  /** Streams come before {@link #begin}; their numbers count from 0. */
  void add(OutputTrack track) throws MediaException {
    if (track instanceof OutputTrack.Video video)
      addVideo(handle, track.codecName(), track.config(), new VideoProperties(video));
    else if (track instanceof OutputTrack.Audio audio)
      addAudio(handle, track.codecName(), track.config(), new AudioProperties(audio));
  }

  void option(String name, String value) {
    setOption(handle, name, value);
  }

  /** `keepTimes`: no time lies before 0 but by a codec's delay, the container is not to move any. */
  void begin(boolean keepTimes) throws MediaException {
    begin(handle, keepTimes);
  }

  void write(int track, OutputPacket packet) throws MediaException {
    write(
        handle, track, packet.data(), packet.offset(), packet.length(), packet.pts(), packet.dts(), packet.duration(),
        packet.discard(), packet.key());
  }

  /** Ends the file, which is whole then, and goes on in another. */
  void cut(String nextPath) throws MediaException {
    cut(handle, nextPath);
  }

  void finish() throws MediaException {
    finish(handle);
  }

  boolean isOpen() {
    return handle != 0;
  }

  @Override
  public void close() {
    if (handle != 0) close(handle);
    handle = 0;
  }

  private static native long create(String path, String format, boolean segmented) throws MediaException;

  private static native void addVideo(long handle, String codec, byte[] config, VideoProperties properties)
      throws MediaException;

  private static native void addAudio(long handle, String codec, byte[] config, AudioProperties properties)
      throws MediaException;

  private static native void setOption(long handle, String name, String value);

  private static native void begin(long handle, boolean keepTimes) throws MediaException;

  private static native void write(
      long handle,
      int track,
      byte[] data,
      int offset,
      int length,
      long pts,
      long dts,
      long duration,
      long discard,
      boolean key)
      throws MediaException;

  private static native void cut(long handle, String nextPath) throws MediaException;

  private static native void finish(long handle) throws MediaException;

  private static native void close(long handle);
}
