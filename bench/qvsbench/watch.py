"""What it costs a ladder to be watched."""
import os
import sys

from qvsbench import programs, source


def measure(report, bin_folder, build_folder, work_folder, pairs, frames):
    library = os.path.join(build_folder, "lib")
    jars = [os.path.join(bin_folder, "qvs-bench-watch.jar")] + [
        os.path.join(build_folder, "java", name) for name in ("qvs-host.jar", "qvs-transcoder.jar")]
    missing = [path for path in jars if not os.path.exists(path)]
    if missing:
        print(f"bench: the cost of metrics is left out, not built: {' '.join(missing)}", file=sys.stderr)
        return
    clip, _ = source.make(work_folder, frames, "h264-720")
    programs.collect(report, [["java", "-XX:+UseSerialGC", f"-Dqvs.library.dir={library}", "-cp", ":".join(jars), "WatchBench",
                               clip, str(pairs)]])
