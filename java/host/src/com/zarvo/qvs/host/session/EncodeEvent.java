package com.zarvo.qvs.host.session;

import jdk.jfr.Category;
import jdk.jfr.DataAmount;
import jdk.jfr.Event;
import jdk.jfr.Label;
import jdk.jfr.Name;
import jdk.jfr.StackTrace;

/** How a rendition's encoder does: every few hundred pictures and at the end. */
@Name("com.zarvo.qvs.Encode")
@Label("Encoder's summary")
@Category("QVS")
@StackTrace(false)
final class EncodeEvent extends Event {
  @Label("Session")
  long session;

  @Label("Rung")
  String rung;

  @Label("Coded pictures")
  long pictures;

  @Label("Bytes")
  @DataAmount
  long bytes;

  @Label("Pictures with the encoder")
  long queueDepth;

  @Label("Scaling, median in seconds")
  double scaleP50;

  @Label("Encoding, median in seconds")
  double encodeP50;

  @Label("Encoding, 95th percentile in seconds")
  double encodeP95;

  @Label("Encoding, 99th percentile in seconds")
  double encodeP99;

  @Label("PSNR of what was measured, in dB")
  double psnrDb;

  static void tell(long session, RungCounters rung) {
    EncodeEvent event = new EncodeEvent();
    if (!event.isEnabled()) return;
    event.session = session;
    event.rung = rung.label();
    event.pictures = rung.pictures();
    event.bytes = rung.bytes();
    event.queueDepth = rung.queueDepth();
    event.scaleP50 = rung.scaling().quantileSeconds(0.5);
    event.encodeP50 = rung.encoding().quantileSeconds(0.5);
    event.encodeP95 = rung.encoding().quantileSeconds(0.95);
    event.encodeP99 = rung.encoding().quantileSeconds(0.99);
    event.psnrDb = rung.quality() == null ? Double.NaN : rung.quality().psnrDb();
    event.commit();
  }
}
