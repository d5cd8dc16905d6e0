package com.zarvo.qvs.host.model;

import java.util.ArrayList;
import java.util.List;
import java.util.Locale;
import java.util.stream.Collectors;

/** The encoders that a rendition may have, the most wanted first. */
public record EncoderList(List<EncoderBackend> backends) {
  /** The library's own software, and nothing else. */
  public static final EncoderList SOFTWARE = new EncoderList(List.of(EncoderBackend.SOFTWARE));

  public EncoderList {
    backends = List.copyOf(backends);
  }

  /** Reads "vaapi+x264"; where no other comma is about, "vaapi,x264" too. */
  public static EncoderList parse(String text) {
    List<EncoderBackend> backends = new ArrayList<>();
    for (String name : text.toLowerCase(Locale.ROOT).split("[+,]", -1)) {
      EncoderBackend backend = EncoderBackend.of(name);
      if (backends.contains(backend))
        throw new IllegalArgumentException("encoder '" + name + "' stands twice in '" + text + "'");
      backends.add(backend);
    }
    return new EncoderList(backends);
  }

  /** True where all that can be had is the library's own software, which is not replaced. */
  public boolean isSoftwareAlone() {
    return backends.equals(SOFTWARE.backends);
  }

  @Override
  public String toString() {
    return backends.stream().map(backend -> backend.label).collect(Collectors.joining("+"));
  }
}
