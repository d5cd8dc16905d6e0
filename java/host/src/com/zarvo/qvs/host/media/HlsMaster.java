package com.zarvo.qvs.host.media;

import com.zarvo.qvs.host.bitstream.ParameterSets;
import com.zarvo.qvs.host.model.Container;
import java.io.IOException;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.Locale;

/** The playlist of an HLS ladder: one entry a rendition, from which players choose. */
public final class HlsMaster {
  private static final String AAC_LOW_COMPLEXITY = "mp4a.40.2";
  private static final String LENGTH_TAG = "#EXTINF:";

  private final StringBuilder text = new StringBuilder("#EXTM3U\n#EXT-X-VERSION:3\n#EXT-X-INDEPENDENT-SEGMENTS\n");

  /**
   * A rendition in its folder beside the playlist, with a segment at least.
   *
   * @param bitRate what its segments still to come are expected to need, 0 where all are there
   */
  public void add(Path folder, OutputTrack.Video track, boolean audio, long bitRate) throws IOException {
    Rates rates = Rates.of(folder).andExpected(bitRate);
    String codecs = ParameterSets.ofRecord(track.isHevc(), track.config()).playlistName() + (audio ? "," + AAC_LOW_COMPLEXITY : "");
    text.append("#EXT-X-STREAM-INF:BANDWIDTH=").append(rates.peak);
    text.append(",AVERAGE-BANDWIDTH=").append(rates.average);
    text.append(",RESOLUTION=").append(track.width()).append('x').append(track.height());
    if (track.frameRate().num() > 0)
      text.append(String.format(Locale.ROOT, ",FRAME-RATE=%.3f", track.frameRate().toDouble()));
    text.append(",CODECS=\"").append(codecs).append("\"\n");
    text.append(folder.getFileName()).append('/').append(Container.PLAYLIST).append('\n');
  }

  /** The same of sound alone. */
  public void addAudio(Path folder) throws IOException {
    Rates rates = Rates.of(folder);
    text.append("#EXT-X-STREAM-INF:BANDWIDTH=").append(rates.peak);
    text.append(",AVERAGE-BANDWIDTH=").append(rates.average);
    text.append(",CODECS=\"").append(AAC_LOW_COMPLEXITY).append("\"\n");
    text.append(folder.getFileName()).append('/').append(Container.PLAYLIST).append('\n');
  }

  /** Players may be reading the file: they see it whole or not at all. */
  public void write(Path file) throws IOException {
    try (WholeFile whole = WholeFile.create(file)) {
      whole.write(text.toString());
    }
  }

  /** Bits a second, the container's own included: of the busiest segment, and of all. */
  private record Rates(long peak, long average) {
    static Rates of(Path folder) throws IOException {
      double peak = 0;
      double bits = 0;
      double seconds = 0;
      double length = 0;
      for (String line : Files.readAllLines(folder.resolve(Container.PLAYLIST))) {
        if (line.startsWith(LENGTH_TAG)) length = Double.parseDouble(line.substring(LENGTH_TAG.length()).split(",")[0]);
        if (line.isEmpty() || line.startsWith("#") || length <= 0) continue;
        double size = 8.0 * Files.size(folder.resolve(line));
        peak = Math.max(peak, size / length);
        bits += size;
        seconds += length;
      }
      return new Rates((long) Math.ceil(peak), seconds > 0 ? Math.round(bits / seconds) : 0);
    }

    Rates andExpected(long bitRate) {
      return new Rates(Math.max(peak, bitRate), Math.max(average, bitRate));
    }
  }
}
