package com.zarvo.qvs.transcoder.test;

import java.io.IOException;
import java.io.UncheckedIOException;
import java.lang.reflect.Method;
import java.net.MalformedURLException;
import java.net.URL;
import java.net.URLClassLoader;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.Set;

/**
 * The library in a world of its own, in which some model classes lack fields and others don't exist. It loads a copy of
 * the library, since one file serves one class loader.
 */
final class Variant extends URLClassLoader {
  private static final String PREFIX = "com.zarvo.qvs.transcoder.";

  private final Set<String> stripped;
  private final Set<String> hidden;
  private final URLClassLoader strippedClasses;

  private Variant(Set<String> stripped, Set<String> hidden) throws MalformedURLException {
    super(new URL[] {Path.of(System.getProperty("qvs.modelJar")).toUri().toURL()}, getPlatformClassLoader());
    this.stripped = stripped;
    this.hidden = hidden;
    this.strippedClasses =
        new URLClassLoader(new URL[] {Path.of(System.getProperty("qvs.strippedClasses")).toUri().toURL()}, null);
  }

  static Variant of(Set<String> stripped, Set<String> hidden) throws Exception {
    // First the library itself: modules that need it are bound to the first one loaded of its name.
    Library.start();
    Variant variant = new Variant(stripped, hidden);
    Path library = Path.of(System.getProperty("qvs.library"));
    Path copy = Files.createTempFile("variant", ".so");
    copy.toFile().deleteOnExit();
    Files.copy(library, copy, java.nio.file.StandardCopyOption.REPLACE_EXISTING);
    variant.call("load", copy);
    return variant;
  }

  @Override
  protected Class<?> findClass(String name) throws ClassNotFoundException {
    String simple = name.substring(name.lastIndexOf('.') + 1);
    if (hidden.contains(simple)) throw new ClassNotFoundException(name);
    if (!stripped.contains(simple)) return super.findClass(name);
    try (var in = strippedClasses.getResourceAsStream(name.replace('.', '/') + ".class")) {
      byte[] code = in.readAllBytes();
      return defineClass(name, code, 0, code.length);
    } catch (IOException e) {
      throw new UncheckedIOException(e);
    }
  }

  /** An object of a class, named with its sub-package, as in "model.TranscoderPacket". */
  Object make(String name) throws ReflectiveOperationException {
    return loadClass(PREFIX + name).getConstructor().newInstance();
  }

  static Object get(Object object, String field) throws ReflectiveOperationException {
    return object.getClass().getField(field).get(object);
  }

  static void set(Object object, String field, Object value) throws ReflectiveOperationException {
    object.getClass().getField(field).set(object, value);
  }

  /** Calls a native by name; of two forms, the one with as many arguments. */
  Object call(String name, Object... arguments) throws ReflectiveOperationException {
    Class<?> cls = loadClass(PREFIX + "model.TranscoderSessionNative");
    for (Method method : cls.getMethods()) {
      if (method.getName().equals(name) && method.getParameterCount() == arguments.length) {
        return method.invoke(null, arguments);
      }
    }
    throw new NoSuchMethodException(name);
  }
}
