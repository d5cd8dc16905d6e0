package com.zarvo.qvs.api;

import com.zarvo.qvs.host.media.Interruption;
import com.zarvo.qvs.host.media.MediaFeed;
import com.zarvo.qvs.host.media.MediaKind;
import com.zarvo.qvs.host.media.MediaPacket;
import com.zarvo.qvs.host.media.MediaReader;
import com.zarvo.qvs.host.model.HostException;
import com.zarvo.qvs.host.model.NativeLibraries;
import java.io.IOException;
import java.lang.ref.Reference;
import java.nio.file.Path;
import java.util.concurrent.locks.ReentrantLock;

/**
 * The packets of a media file, of a pipe or of standard input ("-"), in the order in which they lie there. Any thread may
 * call; calls wait for each other.
 */
public final class MediaSource implements AutoCloseable {
  private final MediaReader reader;
  private final MediaFeed feed;
  private final Interruption interruption;
  private final Custody custody;
  private final ReentrantLock lock = new ReentrantLock();
  private boolean closed;

  private MediaSource(MediaReader reader, Interruption interruption) {
    this.reader = reader;
    this.feed = new MediaFeed(reader);
    this.interruption = interruption;
    this.custody = Custody.of(this, "the source " + reader.path(), reader::close);
  }

  /** Opens any container that libavformat reads. What does not end by itself ends when it is closed. */
  public static MediaSource open(Path path) throws IOException {
    try {
      NativeLibraries.loadMedia();
    } catch (HostException e) {
      throw new TranscodeException(e);
    }
    Interruption interruption = new Interruption();
    return new MediaSource(MediaReader.open(path, interruption), interruption);
  }

  /** The next packet, null at the end. */
  public SourcePacket next() throws IOException {
    lock.lock();
    try {
      if (closed) throw new IllegalStateException("the source " + reader.path() + " is closed");
      MediaPacket packet = feed.next();
      if (packet == null) return null;
      return new SourcePacket(packet, packet.kind() == MediaKind.AUDIO ? feed.following(MediaKind.AUDIO) : null);
    } finally {
      lock.unlock();
      Reference.reachabilityFence(this);
    }
  }

  public boolean hasPictures() {
    return reader.video() != null;
  }

  public boolean hasSound() {
    return reader.audio() != null;
  }

  /** Pixels as the pictures are to be seen, 0 without any. */
  public int width() {
    return hasPictures() ? reader.video().upright().width() : 0;
  }

  public int height() {
    return hasPictures() ? reader.video().upright().height() : 0;
  }

  /** Milliseconds, -1 where nobody knows. */
  public long duration() {
    return hasPictures() ? reader.video().durationMs() : hasSound() ? reader.audio().durationMs() : -1;
  }

  /** What the input promised and did not hold, or what broke it; null where it ended well. */
  public String trouble() {
    return feed.trouble();
  }

  MediaReader reader() {
    return reader;
  }

  MediaFeed feed() {
    return feed;
  }

  /** Ends a {@link #next} that waits for live input, waits for one that works, and lets go of the file. */
  @Override
  public void close() {
    interruption.request();
    lock.lock();
    try {
      if (!closed) custody.close();
      closed = true;
    } finally {
      lock.unlock();
    }
  }
}
