"""What the native boundary costs a ladder frame: the same calls with and without a Java VM around them."""
import json
import os
import statistics
import subprocess
import sys

from qvsbench import source
from qvsbench.process import run

FRAMES = 6000


def _small_source(folder, large):
    """The ladder's source shrunk to 32x32: all calls stay, next to no codec work does."""
    path = os.path.join(folder, "source-small.ivf")
    if not os.path.exists(path):
        subprocess.run(["ffmpeg", "-v", "error", "-y", "-i", large, "-vf", "scale=32:32", "-c:v", "libvpx", "-b:v",
                        "200k", "-threads", "1", "-auto-alt-ref", "0", "-f", "ivf", path], check=True,
                       stdin=subprocess.DEVNULL)
    return path


def measure(report, bin_folder, build_folder, work_folder, pairs, frames):
    jars = [os.path.join(bin_folder, "qvs-bench-boundary.jar"), os.path.join(build_folder, "java/qvs-transcoder.jar")]
    library = os.path.join(build_folder, "lib/libqvs-transcoder.so")
    missing = [path for path in jars + [library] if not os.path.exists(path)]
    if missing:
        print(f"bench: the boundary is left out, not built: {' '.join(missing)}", file=sys.stderr)
        return
    probe, ladder = (os.path.join(bin_folder, name) for name in ("qvs-bench-probe", "qvs-bench-ladder"))
    large, _ = source.make(work_folder, frames)
    small = _small_source(work_folder, large)
    plain_command = [probe, small, "--ladder", "vp8-small", "--latency", "--frames", str(FRAMES)]
    java_command = ["java", "-Xshare:auto", "-cp", ":".join(jars), "BoundaryBench", library, small, str(FRAMES)]
    frame_us = statistics.median(run([ladder, large]).cpu_s for _ in range(3)) / frames * 1e6
    shares, costs = [], []
    for _ in range(pairs):
        plain_us = json.loads(run(plain_command).output)["latency_p50_ms"] * 1000
        java_us = json.loads(run(java_command).output.splitlines()[-1])["frame_p50_us"]
        costs.append(java_us - plain_us)
        shares.append(costs[-1] / frame_us * 100)
    report.add("boundary.share_of_frame_percent", shares)
    report.add("boundary.us_per_frame", costs, "what the calls of a three-rung frame cost above plain C++, us")
