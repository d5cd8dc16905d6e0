package com.zarvo.qvs.host.session;

import com.zarvo.qvs.host.bitstream.SpliceCue;
import com.zarvo.qvs.host.bitstream.SpliceReader;
import com.zarvo.qvs.transcoder.model.TranscoderNativeVideoDecodeAncillaryData;
import java.util.ArrayList;
import java.util.LinkedHashSet;
import java.util.List;
import java.util.Set;

/** The splices that a device's pictures announce, until they are due. Messages come several times; each counts once. */
final class CaptureCues {
  private static final int REMEMBERED = 256;

  private record Due(SpliceCue cue, long ms) {}

  private record Known(long eventId, boolean out) {}

  private final SpliceReader reader = new SpliceReader();
  private final List<Due> waiting = new ArrayList<>();
  private final Set<Known> known = new LinkedHashSet<>();

  /** Takes what came with a picture of that time. */
  void accept(List<TranscoderNativeVideoDecodeAncillaryData> packets, long ms) {
    for (TranscoderNativeVideoDecodeAncillaryData packet : packets)
      if ((packet.did & 0xFF) == SpliceReader.DID && (packet.sid & 0xFF) == SpliceReader.SID)
        for (SpliceReader.Request request : reader.accept(packet.buffer)) schedule(request, ms);
  }

  private void schedule(SpliceReader.Request request, long ms) {
    SpliceCue cue = request.cue();
    if (cue == null) {
      waiting.removeIf(due -> due.cue.eventId() == request.eventId());
      known.removeIf(one -> one.eventId == request.eventId());
      return;
    }
    if (!isNew(cue)) return;
    // The end that a break announced with its beginning gives way to one that is told.
    if (!cue.out()) waiting.removeIf(due -> due.cue.eventId() == cue.eventId() && !due.cue.out());
    waiting.add(new Due(cue, ms + request.preRollMs()));
  }

  private boolean isNew(SpliceCue cue) {
    if (known.size() >= REMEMBERED) known.remove(known.iterator().next());
    return known.add(new Known(cue.eventId(), cue.out()));
  }

  /** The next cue that is due at a picture of that time, null for none. */
  SpliceCue take(long ms) {
    for (int i = 0; i < waiting.size(); i++) {
      Due due = waiting.get(i);
      if (due.ms > ms) continue;
      waiting.remove(i);
      SpliceCue cue = due.cue;
      if (cue.out() && cue.autoReturn() && cue.durationMs() > 0)
        waiting.add(new Due(new SpliceCue(false, cue.eventId(), 0, false, cue.programId()), due.ms + cue.durationMs()));
      return cue;
    }
    return null;
  }
}
