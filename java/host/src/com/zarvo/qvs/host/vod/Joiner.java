package com.zarvo.qvs.host.vod;

import com.zarvo.qvs.host.bitstream.NalUnits;
import com.zarvo.qvs.host.bitstream.ParameterSetChange;
import com.zarvo.qvs.host.bitstream.ParameterSets;
import com.zarvo.qvs.host.job.JobResult;
import com.zarvo.qvs.host.job.JobSettings;
import com.zarvo.qvs.host.job.RenditionFiles;
import com.zarvo.qvs.host.job.StreamChoice;
import com.zarvo.qvs.host.model.HostException;
import com.zarvo.qvs.host.model.RenditionSpec;
import com.zarvo.qvs.host.model.VideoCodec;
import com.zarvo.qvs.host.session.AudioOutput;
import java.io.IOException;
import java.nio.file.NoSuchFileException;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.List;

/**
 * Writes the packets of all tasks into the files of a run, by the writers that one straight run uses: a container never
 * learns that its packets come from many.
 */
final class Joiner {
  private final WorkFolder folder;
  private final Manifest manifest;
  private final StreamChoice choice;
  private final JobResult result;
  private final RenditionFiles files;
  private final List<List<byte[]>> sets = new ArrayList<>();
  private final long[] pictures;

  private Joiner(
      WorkFolder folder, Manifest manifest, StreamChoice choice, JobResult result, RenditionFiles files) {
    this.folder = folder;
    this.manifest = manifest;
    this.choice = choice;
    this.result = result;
    this.files = files;
    this.pictures = new long[choice.renditions().size()];
    for (int i = 0; i < pictures.length; i++) sets.add(null);
  }

  /** Makes the files. A damaged result ends it, with nothing left behind but a result fewer. */
  static void join(
      WorkFolder folder, Manifest manifest, JobSettings settings, StreamChoice choice, JobResult result,
      List<Path> replaceable)
      throws HostException, IOException {
    try (RenditionFiles files = new RenditionFiles(settings, choice.source(), choice.renditions())) {
      files.allow(replaceable);
      new Joiner(folder, manifest, choice, result, files).run();
    }
  }

  private void run() throws HostException, IOException {
    Plan plan = manifest.plan;
    PacketReplay sound = plan.sound() ? open(plan.chunks().size()) : null;
    try {
      List<AudioOutput> outputs = sound == null ? List.of() : sound.outputs();
      files.open(outputs, plan.firstSeconds());
      files.endsAt(plan.endPts());
      boolean more = sound != null && sound.next();
      for (Chunk chunk : plan.chunks()) more = add(chunk, sound, more);
      for (; more; more = sound.next()) sound.to(files);
    } finally {
      if (sound != null) sound.close();
    }
    files.finish();
    result.finished(files.results(), files.audioResults());
  }

  // Sound goes in beside the pictures that are decoded with it.
  private boolean add(Chunk chunk, PacketReplay sound, boolean moreSound) throws HostException, IOException {
    boolean more = moreSound;
    Arrays.fill(pictures, 0);
    try (PacketReplay packets = open(chunk.number())) {
      while (packets.next()) {
        for (; more && sound.seconds() <= packets.seconds(); more = sound.next()) sound.to(files);
        if (pictures[packets.rendition()]++ == 0) watchSets(packets);
        packets.to(files);
      }
    }
    List<Long> coded = manifest.tasks.get(chunk.number()).result.coded();
    for (int i = 0; i < pictures.length; i++)
      if (pictures[i] != coded.get(i))
        throw new HostException("chunk " + (chunk.number() + 1) + ": pictures are missing in it");
    return more;
  }

  private PacketReplay open(int task) throws IOException {
    String sum = manifest.tasks.get(task).sum;
    Path file = folder.packets(task, sum);
    try {
      return new PacketReplay(file, sum, choice.source().timeBase());
    } catch (NoSuchFileException e) {
      throw new DamagedPacketsException(file);
    }
  }

  // Where chunks were made by different encoders a container has to say so.
  private void watchSets(PacketReplay packets) throws HostException {
    int rendition = packets.rendition();
    RenditionSpec spec = choice.renditions().get(rendition);
    if (!packets.isKey())
      throw new HostException("a chunk of " + spec.sizeText() + " does not begin with a key picture");
    if (!spec.codec().hasUnits()) return;
    boolean hevc = spec.codec() == VideoCodec.H265;
    ParameterSets found = new ParameterSets(hevc);
    found.update(NalUnits.ofLengths(packets.bytes(), 0, packets.bytes().length, NalUnits.LENGTH_BYTES));
    List<byte[]> before = sets.set(rendition, found.all());
    if (before == null) return;
    ParameterSetChange change = ParameterSetChange.between(hevc, before, found.all());
    if (change != ParameterSetChange.NONE) files.changeParameterSets(rendition, change);
  }
}
