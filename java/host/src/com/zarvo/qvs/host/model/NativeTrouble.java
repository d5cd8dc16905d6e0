package com.zarvo.qvs.host.model;

import java.io.DataInputStream;
import java.io.IOException;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.Map;
import java.util.function.Consumer;
import java.util.regex.Matcher;
import java.util.regex.Pattern;

/** Says in words why a native library does not load, where the linker's own message leaves it open. */
final class NativeTrouble {
  private static final int ELF_MAGIC = 0x7F454C46;
  private static final Path OWN_PROGRAM = Path.of("/proc/self/exe");
  private static final Map<Integer, String> MACHINES =
      Map.of(3, "x86", 40, "ARM", 62, "x86_64", 183, "aarch64", 243, "RISC-V");
  private static final Pattern MISSING_FILE = Pattern.compile("(lib[^\\s:/]+\\.so[.\\d]*): cannot open shared object");
  private static final Pattern MISSING_SYMBOL = Pattern.compile("undefined symbol: (\\S+)");
  private static final Pattern NEWER_LIBC = Pattern.compile("version [`'](GLIBC(?:XX)?_[\\w.]+)' not found");
  private static final Pattern SONAME = Pattern.compile("(lib.+)\\.so\\.(\\d+)");
  private static final Map<String, String> ODD_PACKAGES = Map.of("libvorbis0", "libvorbis0a");

  private NativeTrouble() {}

  /** Tries to load a library; why that failed, null where it did not. */
  static String loading(Path file, Consumer<Path> loader) {
    if (!Files.exists(file)) return "is not there";
    if (!Files.isReadable(file)) return "may not be read by this user";
    try {
      loader.accept(file);
      return null;
    } catch (UnsatisfiedLinkError e) {
      return explain(file, String.valueOf(e.getMessage()));
    }
  }

  /** `said` is the linker's message. */
  static String explain(Path file, String said) {
    int machine = machineOf(file);
    if (machine < 0) return "is no ELF library, or a damaged one";
    int own = machineOf(OWN_PROGRAM);
    if (own >= 0 && machine != own) return "is for " + nameOf(machine) + ", this virtual machine runs on " + nameOf(own);
    if (said.contains("failed to map segment") && isNoExec(file))
      return "lies on a file system that is mounted noexec";
    if (runsOnMusl()) return "needs glibc, this virtual machine runs on musl (" + said + ")";
    Matcher libc = NEWER_LIBC.matcher(said);
    if (libc.find()) return "was built for a newer C library, this system has no " + libc.group(1);
    Matcher library = MISSING_FILE.matcher(said);
    if (library.find()) return "needs " + library.group(1) + ", which is not installed" + packageOf(library.group(1));
    Matcher symbol = MISSING_SYMBOL.matcher(said);
    if (symbol.find())
      return "misses the symbol " + symbol.group(1) + ": a library that it needs is of another version";
    return said;
  }

  private static int machineOf(Path file) {
    try (DataInputStream in = new DataInputStream(Files.newInputStream(file))) {
      if (in.readInt() != ELF_MAGIC) return -1;
      boolean littleEndian = (in.readShort() & 0xFF) == 1;
      in.skipNBytes(12);
      int machine = in.readUnsignedShort();
      return littleEndian ? machine >> 8 | (machine & 0xFF) << 8 : machine;
    } catch (IOException e) {
      return -1;
    }
  }

  private static String nameOf(int machine) {
    return MACHINES.getOrDefault(machine, "machine " + machine);
  }

  /** By the mount that holds the file, which is the one with the longest path. */
  private static boolean isNoExec(Path file) {
    try {
      Path real = file.toRealPath();
      int longest = -1;
      boolean noExec = false;
      for (String line : Files.readAllLines(Path.of("/proc/self/mountinfo"))) {
        String[] fields = line.split(" ");
        Path mount = Path.of(fields[4].replace("\\040", " "));
        if (!real.startsWith(mount) || mount.getNameCount() < longest) continue;
        longest = mount.getNameCount();
        noExec = ("," + fields[5] + ",").contains(",noexec,");
      }
      return noExec;
    } catch (IOException | RuntimeException e) {
      return false;
    }
  }

  private static boolean runsOnMusl() {
    try {
      return Files.readString(Path.of("/proc/self/maps")).contains("/ld-musl-");
    } catch (IOException e) {
      return false;
    }
  }

  // Debian names the package of a library after its soname.
  private static String packageOf(String library) {
    Matcher soname = SONAME.matcher(library);
    if (!soname.matches()) return "";
    boolean digit = Character.isDigit(soname.group(1).charAt(soname.group(1).length() - 1));
    String name = soname.group(1) + (digit ? "-" : "") + soname.group(2);
    return " (Debian: " + ODD_PACKAGES.getOrDefault(name, name) + ")";
  }
}
