package com.zarvo.qvs.host.vod;

import com.zarvo.qvs.host.job.JobResult;
import com.zarvo.qvs.host.job.JobSettings;
import com.zarvo.qvs.host.job.StreamChoice;
import com.zarvo.qvs.host.media.MediaException;
import com.zarvo.qvs.host.media.MediaFeed;
import com.zarvo.qvs.host.media.MediaKind;
import com.zarvo.qvs.host.media.MediaPacket;
import com.zarvo.qvs.host.media.MediaReader;
import com.zarvo.qvs.host.model.HostException;
import com.zarvo.qvs.host.model.Rational;

/** The coded pictures of one chunk, as its plan saw them. */
final class ChunkFeed implements AutoCloseable {
  // Containers find some key picture near the one that is looked for, or none.
  private static final int[] SEEK_BACK_SECONDS = {0, 10};

  private final Chunk chunk;
  private final MediaReader reader;
  private final StreamChoice choice;
  private final MediaFeed feed;
  private final PacketSum sum = new PacketSum();
  private MediaPacket first;
  private byte[] config;
  private int taken;

  /** Opens the input; nothing can be read before {@link #find}. */
  ChunkFeed(JobSettings settings, Plan plan, Chunk chunk) throws HostException, MediaException {
    this.chunk = chunk;
    reader = MediaReader.open(settings.input());
    boolean ready = false;
    try {
      choice = StreamChoice.of(settings, reader, new JobResult(settings));
      // Where times are mended those of sound have their part in it.
      if (plan.seekable()) reader.ignore(MediaKind.AUDIO);
      feed = plan.seekable() ? null : new MediaFeed(reader);
      ready = true;
    } finally {
      if (!ready) reader.close();
    }
  }

  MediaReader reader() {
    return reader;
  }

  StreamChoice choice() {
    return choice;
  }

  /** Goes to the first picture, with `seek` past all in front of it; false where it isn't found. */
  boolean find(boolean seek) throws MediaException {
    if (!seek || chunk.number() == 0) return findFromHere();
    Rational unit = reader.video().timeBase();
    for (int back : SEEK_BACK_SECONDS) {
      reader.seek(chunk.decodePts() - (long) back * unit.den() / unit.num());
      if (findFromHere()) return true;
    }
    return false;
  }

  private boolean findFromHere() throws MediaException {
    for (MediaPacket packet = read(); packet != null; packet = read()) {
      if (packet.newConfig() != null) config = packet.newConfig();
      boolean found = chunk.number() == 0 || packet.pts() == chunk.decodePts() && packet.key() && !packet.hidden();
      if (!found && (packet.pts() <= chunk.decodePts() || packet.hidden())) continue;
      first = found ? packet : null;
      if (found && config != null) first = packet.withConfig(config);
      return found;
    }
    return false;
  }

  // Containers keep empty packets where a live encoder dropped a picture.
  private MediaPacket read() throws MediaException {
    MediaPacket packet;
    do packet = feed != null ? feed.next() : reader.next();
    while (packet != null && (packet.kind() != MediaKind.VIDEO || packet.data().length == 0));
    return packet;
  }

  /** The next coded picture, null behind the last one. */
  MediaPacket next() throws MediaException {
    if (taken == chunk.packets()) return null;
    MediaPacket packet = first != null ? first : read();
    first = null;
    if (packet == null) return null;
    taken++;
    sum.add(packet);
    return packet;
  }

  /** True where what was read is what the plan was made of. */
  boolean isAsPlanned() {
    return taken == chunk.packets() && sum.value() == chunk.sum();
  }

  @Override
  public void close() {
    reader.close();
  }
}
