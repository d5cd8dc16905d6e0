package com.zarvo.qvs.host.vod;

import com.zarvo.qvs.host.job.JobResult;
import com.zarvo.qvs.host.job.Json;
import com.zarvo.qvs.host.model.Rational;
import java.util.ArrayList;
import java.util.LinkedHashMap;
import java.util.List;
import java.util.Map;

/** What became of a file that many worked at: what a straight run tells, and what each of them did. */
public final class VodReport {
  private final JobResult result;
  private final List<Map<String, Object>> chunks = new ArrayList<>();
  private final List<String> trouble = new ArrayList<>();
  private Map<String, Object> sound;
  private List<Map<String, Object>> buffers = List.of();
  private String note;
  private String leftOut;
  private String workers;
  private double cpuSeconds;

  VodReport(JobResult result) {
    this.result = result;
  }

  /** The files and all that a straight run tells. */
  public JobResult result() {
    return result;
  }

  /** Why the input was not cut, null where it was. */
  public String note() {
    return note;
  }

  /** Why there is no sound, null where there is or none was wanted. */
  public String leftOut() {
    return leftOut;
  }

  /** Lines of trouble that workers logged. */
  public List<String> trouble() {
    return trouble;
  }

  void note(String why) {
    note = why;
  }

  void leftOut(String why) {
    leftOut = why;
  }

  void buffers(List<Map<String, Object>> found) {
    buffers = found;
  }

  void tasks(Manifest manifest, String kind, Rational unit) {
    workers = kind;
    for (int i = 0; i < manifest.tasks.size(); i++) {
      Manifest.Task task = manifest.tasks.get(i);
      if (task.result != null) cpuSeconds += task.result.cpuSeconds();
      if (task.result != null) for (String line : task.result.log()) if (!trouble.contains(line)) trouble.add(line);
      if (manifest.plan.isSound(i)) sound = map(task);
      else chunks.add(map(manifest, manifest.plan.chunks().get(i), task, unit));
    }
  }

  private static Map<String, Object> map(Manifest manifest, Chunk chunk, Manifest.Task task, Rational unit) {
    boolean last = chunk.number() + 1 == manifest.plan.chunks().size();
    Map<String, Object> map = new LinkedHashMap<>();
    map.put("chunk", chunk.number() + 1);
    map.put("fromSeconds", chunk.number() == 0 ? manifest.plan.firstSeconds() : unit.toSeconds(chunk.fromPts()));
    map.put("toSeconds", unit.toSeconds(last ? manifest.plan.endPts() : chunk.toPts()));
    map.put("pictures", chunk.pictures());
    map.putAll(map(task));
    return map;
  }

  private static Map<String, Object> map(Manifest.Task task) {
    Map<String, Object> map = new LinkedHashMap<>();
    map.put("done", task.isDone());
    map.put("tries", task.earlierTries + task.tries + (task.result == null ? 0 : task.result.restarts()));
    if (task.redone > 0) map.put("madeAgainForBuffer", task.redone);
    if (!task.failures.isEmpty()) map.put("failures", task.failures);
    if (task.result == null) return map;
    map.put("machine", task.result.machine());
    map.put("wallSeconds", task.result.wallSeconds());
    map.put("cpuSeconds", task.result.cpuSeconds());
    map.put("bytes", task.result.bytes());
    map.put("sum", task.sum);
    if (!task.result.encoders().isEmpty()) map.put("encoders", task.result.encoders());
    if (task.result.damagedPictures() > 0) map.put("damagedPictures", task.result.damagedPictures());
    return map;
  }

  /** As JSON. */
  public String toJson() {
    Map<String, Object> report = result.toMap();
    report.put("workers", workers);
    report.put("cpuSeconds", cpuSeconds);
    if (note != null) report.put("note", note);
    if (leftOut != null) report.put("soundLeftOut", leftOut);
    report.put("chunks", chunks);
    if (sound != null) report.put("sound", sound);
    report.put("buffers", buffers);
    report.put("log", trouble);
    return Json.write(report);
  }
}
