package com.zarvo.qvs.host.session;

import jdk.jfr.Category;
import jdk.jfr.Event;
import jdk.jfr.Label;
import jdk.jfr.Name;
import jdk.jfr.StackTrace;

/** A session has ended. */
@Name("com.zarvo.qvs.Session")
@Label("Session")
@Category("QVS")
@StackTrace(false)
final class SessionEvent extends Event {
  @Label("Session")
  long session;

  @Label("Stream")
  String name;

  @Label("Pictures")
  long pictures;

  @Label("Damaged pictures")
  long damagedPictures;

  @Label("Damaged packets of sound")
  long damagedAudioPackets;

  @Label("Seconds of input")
  double seconds;

  @Label("Seconds of work")
  double wallSeconds;
}
