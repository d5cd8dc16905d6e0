"""A card's encoder that fails in a live stream: what is lost, and how long its rung is silent."""
import os
import subprocess
import sys

from qvsbench import programs

DEADLINE_MS = 500
FRAMES = 60


def measure(report, bin_folder, build_folder, work_folder, replacements):
    folder = os.path.join(build_folder, "faulty")
    jars = [os.path.join(bin_folder, "qvs-bench-replacement.jar")] + [
        os.path.join(build_folder, "java", name) for name in ("qvs-host.jar", "qvs-transcoder.jar")]
    plugin = os.path.join(folder, "libqvs-vencoder-h264-vaapi.so")
    missing = [path for path in jars + [plugin] if not os.path.exists(path)]
    if missing:
        print(f"bench: replacements are left out, not built: {' '.join(missing)}", file=sys.stderr)
        return
    os.makedirs(work_folder, exist_ok=True)
    clip = os.path.join(work_folder, "replacement-720.mp4")
    if not os.path.exists(clip):
        subprocess.run(["ffmpeg", "-v", "error", "-y", "-f", "lavfi", "-i", "testsrc2=size=1280x720:rate=30", "-frames:v",
                        str(FRAMES), "-c:v", "libx264", "-preset", "veryfast", "-bf", "0", clip], check=True,
                       stdin=subprocess.DEVNULL)
    os.environ["QVS_FAULTY_ENCODER"] = os.path.join(work_folder, "faults.txt")
    programs.collect(report, [["java", f"-Dqvs.library.dir={folder}", "-cp", ":".join(jars), "ReplacementBench", clip,
                               str(replacements), str(DEADLINE_MS)]])
