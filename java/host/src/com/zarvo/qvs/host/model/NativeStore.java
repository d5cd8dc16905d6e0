package com.zarvo.qvs.host.model;

import java.io.IOException;
import java.io.InputStream;
import java.io.OutputStream;
import java.net.URL;
import java.nio.channels.FileChannel;
import java.nio.channels.FileLock;
import java.nio.channels.OverlappingFileLockException;
import java.nio.charset.StandardCharsets;
import java.nio.file.DirectoryStream;
import java.nio.file.Files;
import java.nio.file.Path;
import java.nio.file.StandardCopyOption;
import java.nio.file.StandardOpenOption;
import java.nio.file.attribute.PosixFilePermissions;
import java.security.DigestOutputStream;
import java.security.MessageDigest;
import java.security.NoSuchAlgorithmException;
import java.util.ArrayList;
import java.util.Collections;
import java.util.HexFormat;
import java.util.List;
import java.util.Locale;

/**
 * The native libraries in jars of the class path, and their unpacking into a folder that is named after their content.
 * Any number of virtual machines may do that at once: one unpacks, the others wait and find what it left. A folder is
 * there whole or not at all.
 */
final class NativeStore {
  private static final String FOLDER = "META-INF/qvs-natives/";
  private static final int WRITABLE_BY_OTHERS = 0022;
  private static final long RETRY_MS = 20;

  /** One library: its hash, its length, where it is. */
  private record Entry(String hash, long size, String name, URL url) {}

  private final List<Entry> entries;
  private final String hash;

  private NativeStore(List<Entry> entries, String hash) {
    this.entries = entries;
    this.hash = hash;
  }

  /** Of machines like this one, as jars name them. */
  static String platform() {
    String arch = System.getProperty("os.arch");
    return System.getProperty("os.name").toLowerCase(Locale.ROOT) + "-" + (arch.equals("amd64") ? "x86_64" : arch);
  }

  /** Those of all jars on the class path, the plug-ins' too; null where none has any for this machine. */
  static NativeStore ofClassPath() throws IOException {
    List<Entry> entries = new ArrayList<>();
    MessageDigest digest = sha256();
    List<URL> indexes =
        Collections.list(NativeStore.class.getClassLoader().getResources(FOLDER + platform() + "/index"));
    for (URL index : indexes) {
      String text;
      try (InputStream in = index.openStream()) {
        text = new String(in.readAllBytes(), StandardCharsets.UTF_8);
      }
      for (String line : text.lines().sorted().toList()) {
        String[] fields = line.split(" ", 3);
        entries.add(new Entry(fields[0], Long.parseLong(fields[1]), fields[2], new URL(index, fields[2])));
      }
    }
    if (entries.isEmpty()) return null;
    entries.stream().map(Entry::hash).sorted().forEach(each -> digest.update(each.getBytes(StandardCharsets.UTF_8)));
    return new NativeStore(entries, HexFormat.of().formatHex(digest.digest()).substring(0, 32));
  }

  /** The folder within `cache` that holds the libraries, made now where it is not there. */
  Path unpackInto(Path cache) throws IOException {
    Files.createDirectories(
        cache, PosixFilePermissions.asFileAttribute(PosixFilePermissions.fromString("rwx------")));
    checkOwner(cache);
    Path folder = cache.resolve(hash);
    if (isWhole(folder)) return folder;
    try (FileChannel channel =
            FileChannel.open(cache.resolve(hash + ".lock"), StandardOpenOption.CREATE, StandardOpenOption.WRITE);
        FileLock held = lock(channel)) {
      if (held.isValid() && !isWhole(folder)) unpack(folder, cache.resolve(hash + ".part"));
    }
    return folder;
  }

  // What one loads may not be another's to change.
  private static void checkOwner(Path cache) throws IOException {
    Object own = Files.getAttribute(Path.of("/proc/self"), "unix:uid");
    if (!own.equals(Files.getAttribute(cache, "unix:uid"))) throw new IOException("belongs to another user");
    if (((int) Files.getAttribute(cache, "unix:mode") & WRITABLE_BY_OTHERS) != 0)
      throw new IOException("may be written by other users");
  }

  // Within one virtual machine a second class loader is refused instead of waiting.
  private static FileLock lock(FileChannel channel) throws IOException {
    while (true) {
      try {
        return channel.lock();
      } catch (OverlappingFileLockException e) {
        try {
          Thread.sleep(RETRY_MS);
        } catch (InterruptedException interrupted) {
          Thread.currentThread().interrupt();
          throw new IOException("interrupted while another unpacks there");
        }
      }
    }
  }

  private boolean isWhole(Path folder) throws IOException {
    if (!Files.isDirectory(folder)) return false;
    for (Entry entry : entries) {
      Path file = folder.resolve(entry.name);
      if (!Files.exists(file) || Files.size(file) != entry.size) return false;
    }
    return true;
  }

  private void unpack(Path folder, Path part) throws IOException {
    delete(part);
    boolean done = false;
    try {
      Files.createDirectory(part);
      for (Entry entry : entries) unpack(entry, part.resolve(entry.name));
      delete(folder);
      Files.move(part, folder, StandardCopyOption.ATOMIC_MOVE);
      done = true;
    } finally {
      if (!done) delete(part);
    }
  }

  private static void unpack(Entry entry, Path file) throws IOException {
    MessageDigest digest = sha256();
    try (InputStream in = entry.url.openStream();
        OutputStream out = new DigestOutputStream(Files.newOutputStream(file), digest)) {
      in.transferTo(out);
    }
    if (!HexFormat.of().formatHex(digest.digest()).equals(entry.hash))
      throw new IOException(entry.name + " is damaged in its jar");
  }

  private static void delete(Path folder) throws IOException {
    if (!Files.exists(folder)) return;
    try (DirectoryStream<Path> files = Files.newDirectoryStream(folder)) {
      for (Path file : files) Files.delete(file);
    }
    Files.delete(folder);
  }

  private static MessageDigest sha256() {
    try {
      return MessageDigest.getInstance("SHA-256");
    } catch (NoSuchAlgorithmException e) {
      throw new IllegalStateException(e);
    }
  }
}
