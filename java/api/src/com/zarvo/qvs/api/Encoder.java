package com.zarvo.qvs.api;

import com.zarvo.qvs.host.model.EncoderBackend;
import com.zarvo.qvs.host.model.EncoderList;
import java.util.List;
import java.util.stream.Stream;

/** What can stand behind a rung's encoder. All but the library's own software lives in plug-ins. */
public enum Encoder {
  SOFTWARE(EncoderBackend.SOFTWARE),
  X264(EncoderBackend.X264),
  X265(EncoderBackend.X265),
  VAAPI(EncoderBackend.VAAPI),
  QUICKSYNC(EncoderBackend.QUICKSYNC),
  NVENC(EncoderBackend.NVENC),
  VEGA(EncoderBackend.VEGA),
  U30(EncoderBackend.U30);

  final EncoderBackend own;

  Encoder(EncoderBackend own) {
    this.own = own;
  }

  static EncoderList listOf(Encoder... wanted) {
    if (wanted.length == 0) throw new IllegalArgumentException("a list of encoders names one at least");
    List<EncoderBackend> backends = Stream.of(wanted).map(encoder -> encoder.own).distinct().toList();
    if (backends.size() < wanted.length) throw new IllegalArgumentException("an encoder stands twice in a list");
    return new EncoderList(backends);
  }
}
