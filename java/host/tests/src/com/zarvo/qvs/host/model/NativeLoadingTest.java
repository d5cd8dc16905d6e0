package com.zarvo.qvs.host.model;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertThrows;
import static org.junit.jupiter.api.Assertions.assertTrue;

import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Path;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.io.TempDir;

/** What is said of native libraries that do not load. */
class NativeLoadingTest {
  private static final String FILE = "libqvs-host-media.so";

  @TempDir Path folder;

  /** The library with a text in it replaced by another of the same length, or with another byte at a place. */
  private String troubleOf(String text, String other, int at, int value) throws Exception {
    Path real = Path.of(System.getProperty(NativePlaces.DIRECTORY_PROPERTY), FILE);
    String bytes = new String(Files.readAllBytes(real), StandardCharsets.ISO_8859_1);
    if (text != null) bytes = bytes.replace(text, other);
    byte[] changed = bytes.getBytes(StandardCharsets.ISO_8859_1);
    if (at >= 0) changed[at] = (byte) value;
    Path file = Files.write(folder.resolve(FILE), changed);
    return NativeTrouble.loading(file, library -> System.load(library.toString()));
  }

  @Test
  void eachFaultIsCalledByItsName() throws Exception {
    String missing = troubleOf("libavformat.so.59", "libavformat.so.99", -1, 0);
    assertEquals("needs libavformat.so.99, which is not installed (Debian: libavformat99)", missing);
    String machine = troubleOf(null, null, 18, 243);
    assertTrue(machine.startsWith("is for RISC-V, this virtual machine runs on "), machine);
    assertEquals("is no ELF library, or a damaged one", troubleOf(null, null, 0, 0));
    assertEquals("is not there", NativeTrouble.loading(folder.resolve("none.so"), library -> {}));
    Path own = Files.copy(Path.of("/proc/self/exe"), folder.resolve("own"));
    assertEquals(
        "misses the symbol av_x: a library that it needs is of another version",
        NativeTrouble.explain(own, "own: undefined symbol: av_x"));
  }

  @Test
  void eachPlaceThatWasTriedIsNamed() throws Exception {
    String before = System.getProperty(NativePlaces.DIRECTORY_PROPERTY);
    String path = System.getProperty("java.library.path");
    try {
      Files.writeString(folder.resolve(FILE), "text");
      System.setProperty(NativePlaces.DIRECTORY_PROPERTY, folder.toString());
      String why = folder.resolve(FILE) + " is no ELF library, or a damaged one";
      assertEquals("cannot load " + FILE + ": " + why, trouble());
      System.clearProperty(NativePlaces.DIRECTORY_PROPERTY);
      System.setProperty("java.library.path", folder.toString());
      System.setProperty(NativePlaces.CACHE_PROPERTY, "/proc/none");
      String all = trouble();
      assertTrue(all.contains("-Dqvs.library.dir=DIR is not set; " + why + "; /proc/none (cache of the jar's"), all);
    } finally {
      System.setProperty(NativePlaces.DIRECTORY_PROPERTY, before);
      System.setProperty("java.library.path", path);
      System.clearProperty(NativePlaces.CACHE_PROPERTY);
    }
  }

  private static String trouble() {
    return assertThrows(
            HostException.class, () -> NativePlaces.load(FILE, library -> System.load(library.toString())))
        .getMessage();
  }
}
