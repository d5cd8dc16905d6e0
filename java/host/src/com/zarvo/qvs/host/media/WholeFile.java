package com.zarvo.qvs.host.media;

import java.io.IOException;
import java.nio.charset.StandardCharsets;
import java.nio.file.FileSystemException;
import java.nio.file.Files;
import java.nio.file.LinkOption;
import java.nio.file.Path;
import java.nio.file.StandardCopyOption;
import java.util.concurrent.ThreadLocalRandom;

/**
 * A small file that stands under its name only once it is whole: players and other readers see it so or not at all.
 * Until then its bytes lie beside it.
 */
public final class WholeFile implements AutoCloseable {
  private final Path target;
  private final Path part;

  private WholeFile(Path target, Path part) {
    this.target = target;
    this.part = part;
  }

  /** Proves that the file can be written by a beginning of it. */
  public static WholeFile create(Path target) throws IOException {
    if (Files.isDirectory(target)) throw new FileSystemException(target.toString(), null, "is a directory");
    Path part = partOf(target);
    try {
      Files.createFile(part);
    } catch (FileSystemException e) {
      throw new FileSystemException(target.toString(), null, "cannot be written (" + reasonOf(e) + ")");
    }
    return new WholeFile(target, part);
  }

  /** A name beside a file that no other run takes for its own unfinished one. */
  static Path partOf(Path target) {
    Path part;
    do {
      String own = Integer.toHexString(ThreadLocalRandom.current().nextInt());
      part = target.resolveSibling(target.getFileName() + "." + own + ".part");
    } while (Files.exists(part, LinkOption.NOFOLLOW_LINKS));
    return part;
  }

  /** Where the virtual machine ends before its owner can, a file that is not whole goes too. */
  static void dropOnExit(Path part) {
    try {
      part.toFile().deleteOnExit();
    } catch (IllegalStateException e) {
      // The end has begun by a signal: the run still ends by itself, and its owner drops what is not whole.
      assert e.getMessage() != null;
    }
  }

  /** Why a file operation failed, without the file's name. */
  static String reasonOf(IOException e) {
    if (!(e instanceof FileSystemException system)) return e.getMessage();
    String reason = system.getReason();
    return reason != null ? reason : e.getClass().getSimpleName().replace("Exception", "");
  }

  /** Where the bytes go until the end. */
  public Path part() {
    return part;
  }

  /** All of a text at once. */
  public void write(String text) throws IOException {
    write(text.getBytes(StandardCharsets.UTF_8));
  }

  /** All bytes at once. */
  public void write(byte[] bytes) throws IOException {
    try {
      Files.write(part, bytes);
    } catch (IOException e) {
      throw new FileSystemException(target.toString(), null, "cannot be written (" + reasonOf(e) + ")");
    }
    finish();
  }

  /** What lies in `part` is whole. */
  public void finish() throws IOException {
    // The other way to replace a file takes the old one away first: for a moment readers would find none.
    Files.move(part, target, StandardCopyOption.ATOMIC_MOVE);
  }

  /** Drops what is not whole. */
  @Override
  public void close() throws IOException {
    Files.deleteIfExists(part);
  }
}
