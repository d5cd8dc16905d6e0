package com.zarvo.qvs.host.session;

import jdk.jfr.Category;
import jdk.jfr.Event;
import jdk.jfr.Label;
import jdk.jfr.Name;
import jdk.jfr.StackTrace;

/** An encoder took the place of one that failed, and gave its first packet. */
@Name("com.zarvo.qvs.Replacement")
@Label("Encoder replaced")
@Category("QVS")
@StackTrace(false)
final class ReplacementEvent extends Event {
  @Label("Rung")
  String rung;

  @Label("Time of the first picture in milliseconds")
  long timeMs;

  @Label("From")
  String from;

  @Label("To")
  String to;

  @Label("Why")
  String why;

  @Label("Pictures encoded again")
  int picturesAgain;

  @Label("Gap in milliseconds")
  double gapMs;
}
