package com.zarvo.qvs.host.vod;

import java.util.ArrayList;
import java.util.LinkedHashMap;
import java.util.List;
import java.util.Map;

/**
 * Follows the rate buffer of each rendition over all joins. An encoder begins a chunk as if the buffer were half full; where
 * it is less, and what the chunk takes would empty it, the chunk has to be made again from what is really there.
 */
final class BufferCheck {
  private final Manifest manifest;
  private final List<Rendition> renditions = new ArrayList<>();

  /** What was found for a rendition. */
  private static final class Rendition {
    boolean known = true;
    double leastShare = Double.POSITIVE_INFINITY;
    int dry;
    int own;
  }

  BufferCheck(Manifest manifest, int renditions) {
    this.manifest = manifest;
    for (int i = 0; i < renditions; i++) this.renditions.add(new Rendition());
  }

  /** Follows all chunks; those that have to begin otherwise, with how full the buffer is there in per cent. */
  Map<Integer, List<Integer>> run() {
    Map<Integer, List<Integer>> again = new LinkedHashMap<>();
    for (int i = 0; i < renditions.size(); i++) follow(i, again);
    return again;
  }

  private void follow(int index, Map<Integer, List<Integer>> again) {
    Rendition rendition = renditions.get(index);
    double holds = Double.NaN;
    for (int i = 0; i < manifest.plan.chunks().size(); i++) {
      Manifest.Task task = manifest.tasks.get(i);
      RateBuffer.Facts facts = task.result.buffers().get(index);
      if (facts == null) {
        // Without pictures nothing is taken out.
        if (task.result.coded().get(index) == 0) continue;
        rendition.known = false;
        return;
      }
      if (Double.isNaN(holds)) holds = facts.start();
      double least = facts.least(holds);
      if (facts.least(facts.start()) < 0) rendition.own++;
      else if (least < 0) {
        rendition.dry++;
        int percent = (int) Math.max(1, Math.floor(100 * holds / facts.size()));
        if (facts.steerable() && percent < 100 * facts.start() / facts.size()) mark(again, i, index, percent);
      }
      rendition.leastShare = Math.min(rendition.leastShare, least / facts.size());
      holds = Math.max(0, facts.end(holds, nextSeconds(i, index, facts)));
    }
  }

  private double nextSeconds(int chunk, int index, RateBuffer.Facts facts) {
    for (int i = chunk + 1; i < manifest.plan.chunks().size(); i++) {
      RateBuffer.Facts next = manifest.tasks.get(i).result.buffers().get(index);
      if (next != null) return next.firstSeconds();
    }
    return facts.lastSeconds();
  }

  private void mark(Map<Integer, List<Integer>> again, int task, int index, int percent) {
    List<Integer> all = again.computeIfAbsent(task, none -> new ArrayList<>(manifest.tasks.get(task).bufferPercent));
    all.set(index, percent);
  }

  /** Joins at which a player's buffer would run dry, all renditions together. */
  int dryJoins() {
    return renditions.stream().filter(rendition -> rendition.known).mapToInt(rendition -> rendition.dry).sum();
  }

  /** A rendition each, for the report. */
  List<Map<String, Object>> toMaps() {
    List<Map<String, Object>> maps = new ArrayList<>();
    for (Rendition rendition : renditions) {
      Map<String, Object> map = new LinkedHashMap<>();
      map.put("followed", rendition.known);
      if (rendition.known) {
        map.put("leastPercent", 100 * rendition.leastShare);
        map.put("dryByJoins", rendition.dry);
        map.put("dryByEncoder", rendition.own);
      }
      maps.add(map);
    }
    return maps;
  }
}
