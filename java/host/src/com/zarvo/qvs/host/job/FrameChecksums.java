package com.zarvo.qvs.host.job;

import com.zarvo.qvs.host.model.HostException;
import com.zarvo.qvs.host.model.QuarterTurn;
import com.zarvo.qvs.host.session.FrameTap;
import com.zarvo.qvs.host.session.TranscodeSession;
import java.security.MessageDigest;
import java.security.NoSuchAlgorithmException;
import java.util.HexFormat;

/** Sums over the decoded pictures of a session as they lie in its pool: planes Y, U, V without padding. */
public final class FrameChecksums implements AutoCloseable {
  private final MessageDigest total = md5();
  private final MessageDigest one = md5();
  private final FrameTap tap;

  public FrameChecksums(TranscodeSession session) throws HostException {
    tap = new FrameTap(session.handle());
  }

  /** The md5 of the picture decoded last. */
  public String next() {
    byte[] frame = tap.lastFrame();
    one.update(frame, 0, tap.length());
    total.update(frame, 0, tap.length());
    return HexFormat.of().formatHex(one.digest());
  }

  /** Takes the picture decoded last, turned clockwise, into the sum of all. */
  public void addTurned(int width, int height, int quarters) {
    total.update(QuarterTurn.turn(tap.lastFrame(), width, height, quarters));
  }

  /** The md5 of all pictures together. Asked once. */
  public String total() {
    return HexFormat.of().formatHex(total.digest());
  }

  private static MessageDigest md5() {
    try {
      return MessageDigest.getInstance("MD5");
    } catch (NoSuchAlgorithmException e) {
      throw new IllegalStateException(e);
    }
  }

  @Override
  public void close() {
    tap.close();
  }
}
