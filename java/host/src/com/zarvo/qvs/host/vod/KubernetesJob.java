package com.zarvo.qvs.host.vod;

import com.zarvo.qvs.host.job.Json;
import java.nio.file.Path;
import java.util.LinkedHashMap;
import java.util.List;
import java.util.Map;

/** The manifest of a Job of Kubernetes with an index a task, in JSON, which is YAML as well. */
public final class KubernetesJob {
  private static final String WORKER = "exec qvs vod-task \"$0\" \"$JOB_COMPLETION_INDEX\"";
  private static final int TRIES_A_TASK = 3;

  private KubernetesJob() {}

  /** `input` and the work folder have to be on the claim, in the container as they are here; nothing else needs to be. */
  public static String text(VodJob.Outline run, int parallel) {
    Map<String, Object> container = new LinkedHashMap<>();
    container.put("name", "worker");
    container.put("image", "qvs:latest");
    container.put("workingDir", run.workingDirectory());
    container.put("command", List.of("sh", "-c", WORKER, run.folder().toString()));
    container.put("env", List.of(map("name", "LC_ALL", "value", "C.UTF-8")));
    container.put("resources", map("requests", map("cpu", "1", "memory", "1Gi")));
    Path shared = run.folder().getParent();
    container.put(
        "volumeMounts",
        List.of(
            map("name", "work", "mountPath", shared.toString()),
            map("name", "input", "mountPath", run.input().getParent().toString(), "readOnly", true)));
    Map<String, Object> pod = new LinkedHashMap<>();
    pod.put("restartPolicy", "Never");
    pod.put("containers", List.of(container));
    pod.put("volumes", List.of(claim("work", "qvs-work"), claim("input", "qvs-input")));
    Map<String, Object> spec = new LinkedHashMap<>();
    spec.put("completionMode", "Indexed");
    spec.put("completions", run.tasks());
    spec.put("parallelism", Math.min(parallel, run.tasks()));
    spec.put("backoffLimit", run.tasks() * TRIES_A_TASK);
    spec.put("template", map("spec", pod));
    Map<String, Object> job = new LinkedHashMap<>();
    job.put("apiVersion", "batch/v1");
    job.put("kind", "Job");
    job.put("metadata", map("name", "qvs-" + run.run()));
    job.put("spec", spec);
    return Json.write(job);
  }

  private static Map<String, Object> claim(String name, String claim) {
    return map("name", name, "persistentVolumeClaim", map("claimName", claim));
  }

  private static Map<String, Object> map(Object... pairs) {
    Map<String, Object> map = new LinkedHashMap<>();
    for (int i = 0; i < pairs.length; i += 2) map.put((String) pairs[i], pairs[i + 1]);
    return map;
  }
}
