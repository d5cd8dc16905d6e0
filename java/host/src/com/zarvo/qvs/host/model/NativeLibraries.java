package com.zarvo.qvs.host.model;

import com.zarvo.qvs.transcoder.model.TranscoderSessionNative;
import java.nio.file.Files;
import java.nio.file.Path;

/** Loads the native libraries out of the folder that the system property "qvs.library.dir" names. */
public final class NativeLibraries {
  public static final String DIRECTORY_PROPERTY = "qvs.library.dir";

  private static final int PATH_KINDS = 3;
  private static boolean mediaLoaded;
  private static boolean transcoderLoaded;
  private static boolean listenerLoaded;
  private static boolean recorderLoaded;

  private NativeLibraries() {}

  /** The container library: all that MediaReader, MediaWriter and VideoQuality need. */
  public static synchronized void loadMedia() throws HostException {
    if (mediaLoaded) return;
    load("qvs-host-media");
    mediaLoaded = true;
  }

  /** The transcoder, started up. */
  public static synchronized void loadTranscoder() throws HostException {
    if (transcoderLoaded) return;
    try {
      TranscoderSessionNative.load(file("qvs-transcoder"));
    } catch (UnsatisfiedLinkError e) {
      throw new HostException("cannot load the transcoder: " + e.getMessage());
    }
    for (int kind = 0; kind < PATH_KINDS; kind++)
      TranscoderSessionNative.setNativeLibPath(kind, directory().toString());
    loadMedia();
    SilencedStderr muted = new SilencedStderr();
    long result;
    try {
      result = TranscoderSessionNative.nativeInitialize();
    } finally {
      muted.close();
    }
    if (result != 0) throw new HostException("the transcoder did not start");
    transcoderLoaded = true;
  }

  /** The module that watches sessions; it finds the transcoder that is already loaded. */
  public static synchronized void loadListener() throws HostException {
    loadTranscoder();
    if (listenerLoaded) return;
    load("qvs-host-listener");
    listenerLoaded = true;
  }

  /** What records the transcoder's calls; it finds the transcoder that is already loaded. */
  public static synchronized void loadRecorder() throws HostException {
    loadTranscoder();
    if (recorderLoaded) return;
    load("qvs-recorder");
    recorderLoaded = true;
  }

  private static void load(String name) throws HostException {
    try {
      System.load(file(name).toString());
    } catch (UnsatisfiedLinkError e) {
      throw new HostException("cannot load " + name + ": " + e.getMessage());
    }
  }

  private static Path file(String name) throws HostException {
    Path file = directory().resolve(System.mapLibraryName(name));
    if (!Files.exists(file)) throw new HostException(file + " is not there, build it first");
    return file;
  }

  /** The program that looks at plug-ins: installed it lies among them, in a build folder beside theirs. */
  public static Path probe() throws HostException {
    Path installed = directory().resolve("qvs-plugin-probe");
    if (Files.exists(installed)) return installed;
    Path file = directory().resolveSibling("bin").resolve("qvs-plugin-probe");
    if (!Files.exists(file)) throw new HostException(file + " is not there, build it first");
    return file;
  }

  /** The folder of the libraries, and of the plug-ins. */
  public static Path directory() throws HostException {
    String directory = System.getProperty(DIRECTORY_PROPERTY);
    if (directory == null) throw new HostException("-D" + DIRECTORY_PROPERTY + "=DIR is not set");
    return Path.of(directory).toAbsolutePath();
  }
}
