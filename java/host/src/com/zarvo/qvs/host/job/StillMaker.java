package com.zarvo.qvs.host.job;

import com.zarvo.qvs.host.bitstream.StartCodes;
import com.zarvo.qvs.host.media.KeyPictures;
import com.zarvo.qvs.host.media.MediaException;
import com.zarvo.qvs.host.media.MediaPacket;
import com.zarvo.qvs.host.media.MediaReader;
import com.zarvo.qvs.host.media.StreamInfo;
import com.zarvo.qvs.host.model.HostException;
import com.zarvo.qvs.host.model.StillLayout;
import com.zarvo.qvs.host.model.VideoCodec;
import com.zarvo.qvs.host.session.StillSession;
import com.zarvo.qvs.host.session.VideoSource;
import java.nio.ByteBuffer;
import java.util.List;

/** Still pictures of a file by their times, upright and laid out. */
final class StillMaker implements AutoCloseable {
  private static final int TRIES = 8;
  private static final long NEVER = Long.MIN_VALUE / 2;

  private final StreamInfo video;
  private final KeyPictures pictures;
  private final StartCodes form;
  private final StillSession session;
  private final StillLayout layout;
  private final StillSession.Wanted wanted;
  private final boolean exact;
  private final boolean best;
  private final long start;

  /** A picture and its time in units of the stream's time base. */
  record Shot(long pts, StillImage image) {}

  StillMaker(MediaReader reader, ThumbsSettings settings) throws HostException, MediaException {
    VideoCodec codec = VideoSource.codecOf(settings.input(), reader.video());
    video = reader.video();
    exact = settings.exact();
    best = settings.best();
    double aspect = video.pixelAspect().num() > 0 ? video.pixelAspect().toDouble() : 1;
    layout =
        StillLayout.of(
            video.width(), video.height(), aspect, video.orientation(), settings.size(), settings.fit());
    int limit = settings.format().maxSide;
    if (layout == null || layout.width() > limit || layout.height() > limit)
      throw new HostException(settings.input() + ": no picture of it can have that size");
    form = new StartCodes(codec.hasUnits(), codec == VideoCodec.H265, reader.videoConfig());
    wanted =
        new StillSession.Wanted(
            layout.codedWidth(), layout.codedHeight(), layout.crop(), settings.deinterlace());
    pictures = new KeyPictures(reader);
    MediaPacket first = pictures.at(NEVER);
    if (first == null) throw new HostException(settings.input() + ": no key picture in it");
    start = first.pts();
    session = open(settings, codec);
  }

  private static StillSession open(ThumbsSettings settings, VideoCodec codec) throws HostException {
    try {
      return new StillSession(MediaReader.nameOf(settings.input()), codec);
    } catch (HostException e) {
      throw new HostException(settings.input() + ": " + e.getMessage());
    }
  }

  StillLayout layout() {
    return layout;
  }

  /** Seconds from the first picture on. */
  double seconds(long pts) {
    return video.timeBase().toSeconds(pts - start);
  }

  private long ptsOf(double seconds) {
    return start + video.timeBase().ofMilliseconds(Math.round(seconds * 1000));
  }

  /** True where nothing in the file is shown as late as that, as far as is known. */
  boolean isPast(double seconds) {
    return pictures.isPast(ptsOf(seconds));
  }

  /** Time of the picture that `at` would give where no choice among several is asked for. */
  private List<MediaPacket> runAt(double seconds) throws MediaException {
    if (exact) return pictures.runTo(ptsOf(seconds));
    MediaPacket key = pictures.at(ptsOf(seconds));
    return key == null ? List.of() : List.of(key);
  }

  /**
   * The picture for a time, or the most interesting one from there up to another time. `known` is given back where it is
   * that very picture. Null where none can be decoded.
   */
  Shot at(double seconds, double until, Shot known) throws MediaException {
    if (!best) return make(runAt(seconds), known);
    Shot chosen = null;
    double most = -1;
    long tried = NEVER;
    for (int i = 0; i < TRIES; i++) {
      List<MediaPacket> run = runAt(seconds + (until - seconds) * i / TRIES);
      if (run.isEmpty() || last(run).pts() == tried) continue;
      tried = last(run).pts();
      Shot shot = make(run, known);
      double interest = shot == null ? -1 : shot.image().interest();
      Shot loser = interest > most ? chosen : shot;
      if (interest > most) chosen = shot;
      most = Math.max(most, interest);
      if (loser != null && loser != known && loser != chosen) loser.image().close();
    }
    return chosen;
  }

  /** The next key picture of all; one without an image where it can't be decoded; null at the end. */
  Shot next() throws MediaException {
    MediaPacket key = pictures.next();
    if (key == null) return null;
    Shot shot = make(List.of(key), null);
    return shot != null ? shot : new Shot(key.pts(), null);
  }

  /** Why the last one came to nothing. */
  String lastWord() {
    return session.lastWord();
  }

  private Shot make(List<MediaPacket> run, Shot known) {
    if (run.isEmpty()) return null;
    long pts = last(run).pts();
    if (known != null && known.pts() == pts) return known;
    ByteBuffer pixels = session.make(run.stream().map(this::packet).toList(), wanted);
    if (pixels == null) return null;
    return new Shot(pts, new StillImage(pixels, wanted.width(), wanted.height()).laidOut(layout));
  }

  private StillSession.Packet packet(MediaPacket packet) {
    return new StillSession.Packet(form.of(packet.data(), packet.key()), packet.timecodeMs(), packet.key());
  }

  private static MediaPacket last(List<MediaPacket> run) {
    return run.get(run.size() - 1);
  }

  @Override
  public void close() {
    session.close();
  }
}
