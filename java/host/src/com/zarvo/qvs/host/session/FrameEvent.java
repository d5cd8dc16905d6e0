package com.zarvo.qvs.host.session;

import jdk.jfr.Category;
import jdk.jfr.Enabled;
import jdk.jfr.Event;
import jdk.jfr.Label;
import jdk.jfr.Name;
import jdk.jfr.StackTrace;
import jdk.jfr.Timespan;

/** A picture that went to an encoder. Off unless a recording asks for it; one object a rendition serves for all. */
@Name("com.zarvo.qvs.Frame")
@Label("Picture to an encoder")
@Category("QVS")
@Enabled(false)
@StackTrace(false)
final class FrameEvent extends Event {
  @Label("Rung")
  String rung;

  @Label("Time of the picture in milliseconds")
  long timeMs;

  @Label("Time in the encoder's calls")
  @Timespan(Timespan.NANOSECONDS)
  long encodeNs;

  void tell(long pictureMs, long ns) {
    timeMs = pictureMs;
    encodeNs = ns;
    commit();
  }
}
