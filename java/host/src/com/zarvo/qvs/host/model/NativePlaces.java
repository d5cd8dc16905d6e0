package com.zarvo.qvs.host.model;

import java.io.File;
import java.io.IOException;
import java.nio.file.FileSystemException;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.List;
import java.util.function.Consumer;

/**
 * The places where the native libraries may lie: the folder of a property and no other where that is set, else the
 * folders of the virtual machine's own library path, else the jars of the class path, unpacked into a cache.
 */
final class NativePlaces {
  static final String DIRECTORY_PROPERTY = "qvs.library.dir";
  static final String CACHE_PROPERTY = "qvs.cache.dir";
  private static final String LIBRARY_PATH = "java.library.path";

  private final String file;
  private final Consumer<Path> loader;
  private final List<String> tried = new ArrayList<>();

  private NativePlaces(String file, Consumer<Path> loader) {
    this.file = file;
    this.loader = loader;
  }

  /** Loads a library from the first place where that can be done, and tells which folder it was. */
  static Path load(String file, Consumer<Path> loader) throws HostException {
    NativePlaces places = new NativePlaces(file, loader);
    Path found = places.find();
    if (found == null) throw new HostException("cannot load " + file + ": " + String.join("; ", places.tried));
    return found;
  }

  private Path find() {
    String directory = System.getProperty(DIRECTORY_PROPERTY);
    if (directory != null) {
      Path folder = Path.of(directory).toAbsolutePath();
      return loads(folder) ? folder : null;
    }
    tried.add("-D" + DIRECTORY_PROPERTY + "=DIR is not set");
    Path found = findOnPath(System.getProperty(LIBRARY_PATH, ""));
    return found != null ? found : findInJars();
  }

  private Path findOnPath(String path) {
    int before = tried.size();
    for (String part : path.split(File.pathSeparator)) {
      Path folder = Path.of(part).toAbsolutePath();
      if (!part.isEmpty() && Files.exists(folder.resolve(file)) && loads(folder)) return folder;
    }
    if (tried.size() == before) tried.add(LIBRARY_PATH + " (" + path + ") does not have it");
    return null;
  }

  private Path findInJars() {
    NativeStore store;
    try {
      store = NativeStore.ofClassPath();
    } catch (IOException e) {
      tried.add("the class path cannot be read: " + e.getMessage());
      return null;
    }
    if (store == null) {
      tried.add("no jar of the class path has libraries for " + NativeStore.platform());
      return null;
    }
    for (Path cache : caches()) {
      try {
        Path folder = store.unpackInto(cache);
        if (loads(folder)) return folder;
      } catch (IOException | UnsupportedOperationException e) {
        tried.add(cache + " (cache of the jar's libraries): " + reasonOf(e));
      }
    }
    return null;
  }

  private static List<Path> caches() {
    String chosen = System.getProperty(CACHE_PROPERTY);
    if (chosen != null) return List.of(Path.of(chosen).toAbsolutePath());
    List<Path> caches = new ArrayList<>();
    String xdg = System.getenv("XDG_CACHE_HOME");
    Path home = Path.of(System.getProperty("user.home", ""));
    if (xdg != null && xdg.startsWith("/")) caches.add(Path.of(xdg, "qvs"));
    else if (home.isAbsolute() && Files.isDirectory(home)) caches.add(home.resolve(".cache/qvs"));
    caches.add(Path.of(System.getProperty("java.io.tmpdir"), "qvs-" + System.getProperty("user.name")));
    return caches;
  }

  private static String reasonOf(Exception e) {
    if (!(e instanceof FileSystemException fault)) return e.getMessage();
    String kind = fault.getReason() != null ? fault.getReason() : fault.getClass().getSimpleName();
    return fault.getFile() + ": " + kind;
  }

  private boolean loads(Path folder) {
    String why = NativeTrouble.loading(folder.resolve(file), loader);
    if (why != null) tried.add(folder.resolve(file) + " " + why);
    return why == null;
  }
}
