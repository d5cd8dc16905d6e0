package com.zarvo.qvs.host.model;

import com.zarvo.qvs.transcoder.model.TranscoderSessionNative;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.function.Consumer;

/** Loads the native libraries, all from the place where the first of them is found. */
public final class NativeLibraries {
  public static final String DIRECTORY_PROPERTY = NativePlaces.DIRECTORY_PROPERTY;

  private static final int PATH_KINDS = 3;
  private static Path home;
  // The property's value when the first was loaded, which may have come from elsewhere.
  private static String told;
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
    load("qvs-transcoder", TranscoderSessionNative::load);
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
    load(name, file -> System.load(file.toString()));
  }

  private static void load(String name, Consumer<Path> loader) throws HostException {
    String file = System.mapLibraryName(name);
    if (home == null) {
      home = NativePlaces.load(file, loader);
      told = System.getProperty(DIRECTORY_PROPERTY);
      return;
    }
    String why = NativeTrouble.loading(home.resolve(file), loader);
    if (why != null) throw new HostException("cannot load " + file + ": " + home.resolve(file) + " " + why);
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
  public static synchronized Path directory() throws HostException {
    if (home == null) loadMedia();
    String now = System.getProperty(DIRECTORY_PROPERTY);
    return now == null || now.equals(told) ? home : Path.of(now);
  }
}
