package com.zarvo.qvs.host.cli;

import com.zarvo.qvs.host.model.NativeLibraries;
import java.io.ByteArrayOutputStream;
import java.io.IOException;
import java.io.PrintStream;
import java.nio.charset.StandardCharsets;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.List;
import java.util.Map;

/** One run of the command line with what it printed. */
record Captured(int code, String out, String err) {
  static Captured run(String... arguments) {
    PrintStream out = System.out;
    PrintStream err = System.err;
    ByteArrayOutputStream outBytes = new ByteArrayOutputStream();
    ByteArrayOutputStream errBytes = new ByteArrayOutputStream();
    System.setOut(new PrintStream(outBytes, true, StandardCharsets.UTF_8));
    System.setErr(new PrintStream(errBytes, true, StandardCharsets.UTF_8));
    try {
      int code = Main.run(arguments);
      return new Captured(
          code, outBytes.toString(StandardCharsets.UTF_8), errBytes.toString(StandardCharsets.UTF_8));
    } finally {
      System.setOut(out);
      System.setErr(err);
    }
  }

  /** The whole process, as a user starts it: what native code prints counts too. Its words go into a file. */
  static Process start(Path said, String... arguments) throws IOException {
    return start(List.of(), said, arguments);
  }

  /** The same begun by another command, to which it is the arguments. */
  static Process start(List<String> starter, Path said, String... arguments) throws IOException {
    ProcessBuilder builder = builder(said, arguments);
    builder.command().addAll(0, starter);
    return builder.start();
  }

  /** The same in an environment with more in it. */
  static Process startWith(Map<String, String> environment, Path said, String... arguments) throws IOException {
    ProcessBuilder builder = builder(said, arguments);
    builder.environment().putAll(environment);
    return builder.start();
  }

  /** The same with a file as standard input. */
  static Process start(Path input, Path said, String... arguments) throws IOException {
    return builder(said, arguments).redirectInput(input.toFile()).start();
  }

  private static ProcessBuilder builder(Path said, String... arguments) {
    List<String> command = new ArrayList<>();
    command.add(Path.of(System.getProperty("java.home"), "bin", "java").toString());
    command.add("-XX:-UsePerfData");
    String libraries = NativeLibraries.DIRECTORY_PROPERTY;
    command.add("-D" + libraries + "=" + System.getProperty(libraries));
    command.addAll(List.of("-cp", System.getProperty("java.class.path"), Main.class.getName()));
    command.addAll(List.of(arguments));
    return new ProcessBuilder(command).redirectErrorStream(true).redirectOutput(said.toFile());
  }

  List<String> outLines() {
    return out.lines().toList();
  }
}
