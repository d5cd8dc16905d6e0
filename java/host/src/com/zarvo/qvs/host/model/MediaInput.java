package com.zarvo.qvs.host.model;

import java.nio.file.Files;
import java.nio.file.Path;
import java.util.Locale;
import java.util.Map;
import java.util.regex.Matcher;
import java.util.regex.Pattern;

/**
 * What is read: a file, a FIFO, "-" for standard input, pictures of one name that are numbered (shot%04d.png) or fill
 * a folder, or a URL. Only a URL opens the network, and only by its own protocol.
 */
public final class MediaInput {
  private static final Pattern URL = Pattern.compile("([A-Za-z][A-Za-z0-9+.-]*)://(.*)", Pattern.DOTALL);
  private static final Pattern NUMBERED = Pattern.compile(".*%(0[0-9]+)?d.*");
  private static final String HTTP = "http,https,tcp,tls,httpproxy,crypto,data";
  /** What libavformat may open for the sake of a URL. */
  private static final Map<String, String> PROTOCOLS =
      Map.of("http", HTTP, "https", HTTP, "srt", "srt", "rtmp", "rtmp,tcp", "rtmps", "rtmps,rtmp,tls,tcp", "udp", "udp");
  private static final String OF_FILES = "file,crypto,data";

  private final String text;
  private final Path path;
  private final String protocol;
  private double pictureRate = 25;
  private double patienceSeconds = 15;
  private boolean anyFormat;

  private MediaInput(String text, Path path, String protocol) {
    this.text = text;
    this.path = path;
    this.protocol = protocol;
  }

  /** A file, even where its name looks like something else. */
  public static MediaInput of(Path path) {
    return new MediaInput(path.toString(), path, null);
  }

  /** By what a person wrote; refuses a URL of a protocol that is not taken. */
  public static MediaInput parse(String text) {
    Matcher url = URL.matcher(text);
    if (!url.matches()) return of(Path.of(text));
    String protocol = url.group(1).toLowerCase(Locale.ROOT);
    if (!PROTOCOLS.containsKey(protocol))
      throw new IllegalArgumentException("no input by " + protocol + ", take http, https, srt, rtmp, rtmps or udp");
    return new MediaInput(text, Path.of(nameOf(url.group(2))), protocol);
  }

  // The last part of the path, else the server.
  private static String nameOf(String rest) {
    String name = withoutSecrets(rest).replaceAll("/+$", "").replaceAll(".*/", "");
    name = name.replaceAll("[^A-Za-z0-9._-]+", "-").replaceAll("^[-.]+|-+$", "");
    return name.isEmpty() ? "stream" : name;
  }

  private static String withoutSecrets(String rest) {
    return rest.replaceAll("[?#].*", "").replaceAll("^[^/@]*@", "");
  }

  /** Pictures a second of a sequence of pictures, 25 unless told; 0 leaves it. */
  public MediaInput pictureRate(double rate) {
    if (rate > 0) pictureRate = rate;
    return this;
  }

  /** How long a server may be silent. */
  public MediaInput patienceSeconds(double seconds) {
    patienceSeconds = seconds;
    return this;
  }

  /** Takes whatever libavformat and libavcodec know, and not only what is common. */
  public MediaInput anyFormat(boolean any) {
    anyFormat = any;
    return this;
  }

  public boolean isUrl() {
    return protocol != null;
  }

  /** The file; of a URL a name that a file may have. */
  public Path path() {
    return path;
  }

  /** True for pictures that are files of their own. */
  public boolean isSequence() {
    return !isUrl() && (Files.isDirectory(path) || NUMBERED.matcher(text).matches() && !Files.exists(path));
  }

  public double pictureRate() {
    return pictureRate;
  }

  public long patienceMs() {
    return Math.round(patienceSeconds * 1000);
  }

  public boolean takesAnyFormat() {
    return anyFormat;
  }

  /** As libavformat is to open it. */
  public String address() {
    return text;
  }

  /** What may be opened for it, as libavformat lists protocols. */
  public String protocols() {
    return isUrl() ? PROTOCOLS.get(protocol) : OF_FILES;
  }

  public boolean isHttp() {
    return isUrl() && PROTOCOLS.get(protocol).equals(HTTP);
  }

  /** For a person; nothing that may be a secret. */
  @Override
  public String toString() {
    return isUrl() ? protocol + "://" + withoutSecrets(text.substring(text.indexOf("://") + 3)) : text;
  }
}
