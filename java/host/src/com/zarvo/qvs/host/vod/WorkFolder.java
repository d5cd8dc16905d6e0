package com.zarvo.qvs.host.vod;

import com.google.gson.Gson;
import com.google.gson.GsonBuilder;
import com.google.gson.JsonParseException;
import com.zarvo.qvs.host.job.RenditionFiles;
import com.zarvo.qvs.host.media.WholeFile;
import java.io.IOException;
import java.nio.file.DirectoryStream;
import java.nio.file.Files;
import java.nio.file.LinkOption;
import java.nio.file.NoSuchFileException;
import java.nio.file.Path;
import java.util.HashSet;
import java.util.Set;

/**
 * The folder that a controller and its workers share, whatever machines they are on. The manifest is the controller's
 * alone; a worker leaves packets and a result, each whole or not at all.
 */
public final class WorkFolder {
  private static final String ENDING = ".vod";
  private static final String RESULT = ".result.json";
  private static final Gson GSON = new GsonBuilder().setPrettyPrinting().serializeSpecialFloatingPointValues().create();

  private final Path root;

  private WorkFolder(Path root) {
    this.root = root;
  }

  /** The one of an input beside its renditions. */
  public static WorkFolder of(Path directory, Path input) {
    return new WorkFolder(directory.resolve(RenditionFiles.stemOf(input) + ENDING));
  }

  public static WorkFolder at(Path root) {
    return new WorkFolder(root);
  }

  Path root() {
    return root;
  }

  Path tasks() {
    return root.resolve("tasks");
  }

  Path logs() {
    return root.resolve("log");
  }

  Path submissions() {
    return root.resolve("submissions");
  }

  Path lock() {
    return root.resolve("lock");
  }

  boolean hasManifest() {
    return Files.exists(manifestFile());
  }

  Path manifestFile() {
    return root.resolve("manifest.json");
  }

  void create() throws IOException {
    for (Path folder : new Path[] {tasks(), logs(), submissions()}) Files.createDirectories(folder);
  }

  static String stem(int task) {
    return String.format("%05d", task);
  }

  Manifest manifest() throws IOException {
    Manifest manifest = read(manifestFile(), Manifest.class);
    if (manifest == null || !manifest.isWhole()) throw new IOException(manifestFile() + ": is not a manifest");
    return manifest;
  }

  void save(Manifest manifest) throws IOException {
    write(manifestFile(), manifest);
  }

  /** Numbers of all tasks that have a result. */
  Set<Integer> results() throws IOException {
    Set<Integer> found = new HashSet<>();
    try (DirectoryStream<Path> files = Files.newDirectoryStream(tasks(), "*" + RESULT)) {
      for (Path file : files) {
        String name = file.getFileName().toString();
        found.add(Integer.parseInt(name.substring(0, name.length() - RESULT.length())));
      }
    }
    return found;
  }

  /** A task's result, null where there is none whose packets are there. */
  TaskResult result(int task) {
    TaskResult result = read(file(task, RESULT), TaskResult.class);
    return result == null || result.sum() == null || !isThere(result) ? null : result;
  }

  private boolean isThere(TaskResult result) {
    try {
      return Files.size(packets(result.task(), result.sum())) == result.bytes();
    } catch (IOException e) {
      return false;
    }
  }

  Path packets(int task, String sum) {
    return tasks().resolve(PacketFile.nameOf(stem(task), sum));
  }

  void save(TaskResult result) throws IOException {
    write(file(result.task(), RESULT), result);
  }

  void dropResult(int task) throws IOException {
    Files.deleteIfExists(file(task, RESULT));
  }

  void save(int task, Failure failure) throws IOException {
    write(file(task, ".failed.json"), failure);
  }

  /** Why a task failed last, taken away; null where its worker could not say. */
  Failure takeFailure(int task) throws IOException {
    Path file = file(task, ".failed.json");
    Failure failure = read(file, Failure.class);
    Files.deleteIfExists(file);
    return failure;
  }

  void save(int task, Step step) throws IOException {
    write(file(task, ".step.json"), step);
  }

  Step step(int task) {
    return read(file(task, ".step.json"), Step.class);
  }

  private Path file(int task, String ending) {
    return tasks().resolve(stem(task) + ending);
  }

  private static void write(Path file, Object value) throws IOException {
    try (WholeFile whole = WholeFile.create(file)) {
      whole.write(GSON.toJson(value) + "\n");
    }
  }

  // A file that another machine has just replaced may be gone for a moment.
  private static <T> T read(Path file, Class<T> type) {
    try {
      return GSON.fromJson(Files.readString(file), type);
    } catch (IOException | JsonParseException e) {
      return null;
    }
  }

  /** Takes away what a former run has left, all but the lock. */
  void clear() throws IOException {
    for (Path path : new Path[] {manifestFile(), tasks(), logs(), submissions()}) delete(path);
    create();
  }

  /** Takes all of it away. */
  void delete() throws IOException {
    delete(root);
  }

  private static void delete(Path path) throws IOException {
    if (Files.isDirectory(path, LinkOption.NOFOLLOW_LINKS)) {
      try (DirectoryStream<Path> files = Files.newDirectoryStream(path)) {
        for (Path file : files) delete(file);
      } catch (NoSuchFileException e) {
        return;
      }
    }
    Files.deleteIfExists(path);
  }
}
