package com.zarvo.qvs.host.job;

import com.zarvo.qvs.host.model.HostException;
import com.zarvo.qvs.host.session.FrameTap;
import com.zarvo.qvs.host.session.TranscodeSession;
import java.util.zip.CRC32C;

/**
 * Holds the decoded pictures of an endless stream against its first pass: picture n of each pass has to come at its
 * own time and with the samples that it had then.
 */
final class FrameWatch implements AutoCloseable {
  private final EndlessStream stream;
  private final FrameTap tap;
  private final long[] sums;
  private final CRC32C sum = new CRC32C();
  private long count;
  private long strays;

  FrameWatch(EndlessStream stream, TranscodeSession session) throws HostException {
    this.stream = stream;
    this.tap = new FrameTap(session.handle());
    this.sums = new long[stream.shownInPass()];
  }

  /** The next decoded picture came, at that exact time. */
  void decoded(long pts) {
    int place = (int) (count % sums.length);
    byte[] samples = tap.lastFrame();
    sum.reset();
    sum.update(samples, 0, tap.length());
    boolean same = count < sums.length || sums[place] == sum.getValue();
    sums[place] = sum.getValue();
    if (!same || pts != stream.shownAt(count)) strays++;
    count++;
  }

  long count() {
    return count;
  }

  /** Pictures that came at another time or with other samples than they should. */
  long strays() {
    return strays;
  }

  @Override
  public void close() {
    tap.close();
  }
}
