package com.zarvo.qvs.host.watch;

import java.io.IOException;
import java.io.InputStream;
import java.nio.file.Files;
import java.nio.file.NoSuchFileException;
import java.nio.file.Path;
import java.util.Map;
import java.util.Optional;

/** The page of a preview: a player, which comes along, and the playlists and segments that it plays. */
final class PreviewPages {
  private static final String MASTER = "master.m3u8";
  private static final String LIVE = "/live/";
  private static final Map<String, String[]> RESOURCES =
      Map.of(
          "/", new String[] {"preview.html", "text/html; charset=utf-8"},
          "/hls.js", new String[] {"hls.light.min.js", "text/javascript"});
  private static final Map<String, String> TYPES =
      Map.of("m3u8", "application/vnd.apple.mpegurl", "ts", "video/mp2t", "mp4", "video/mp4", "m4s", "video/mp4");

  private final Path folder;
  private final String master;

  /** The playlist of all renditions has that name in the folder. */
  PreviewPages(Path folder, String master) {
    this.folder = folder.toAbsolutePath().normalize();
    this.master = master;
  }

  /** Empty where nothing of that path is there. */
  Optional<Page> of(String path) throws IOException {
    String[] resource = RESOURCES.get(path);
    if (resource != null) return Optional.of(new Page(200, resource[1], resource(resource[0])));
    return path.startsWith(LIVE) ? file(path.substring(LIVE.length())) : Optional.empty();
  }

  private static byte[] resource(String name) throws IOException {
    try (InputStream in = PreviewPages.class.getResourceAsStream(name)) {
      if (in == null) throw new IOException(name + " is not in the jar");
      return in.readAllBytes();
    }
  }

  private Optional<Page> file(String name) throws IOException {
    Path file = folder.resolve(name.equals(MASTER) ? master : name).normalize();
    String type = TYPES.get(name.substring(name.lastIndexOf('.') + 1));
    if (type == null || !file.startsWith(folder) || !Files.isRegularFile(file)) return Optional.empty();
    try {
      return Optional.of(new Page(200, type, Files.readAllBytes(file)));
    } catch (NoSuchFileException e) {
      // Old segments go while players still ask for them.
      return Optional.empty();
    }
  }
}
