"""Off-line work: still pictures and storyboards against ffmpeg as a process."""
import json
import os
import random
import statistics
import subprocess
import sys

from qvsbench.process import run

SECONDS = 600
TILE_SECONDS = 5
SINGLES = 15


def make_clip(work_folder):
    """Ten minutes of 1080p with a key picture every two seconds, by repeating one piece without coding it again."""
    clip = os.path.join(work_folder, "offline-1080.mp4")
    if os.path.exists(clip):
        return clip
    os.makedirs(work_folder, exist_ok=True)
    piece = os.path.join(work_folder, "offline-piece.mp4")
    subprocess.run(["ffmpeg", "-v", "error", "-y", "-f", "lavfi", "-i", "testsrc2=size=1920x1080:rate=25,noise=alls=8:allf=t",
                    "-t", "20", "-pix_fmt", "yuv420p", "-c:v", "libx264", "-preset", "veryfast", "-g", "50", "-b:v", "5M",
                    piece], check=True, stdin=subprocess.DEVNULL)
    subprocess.run(["ffmpeg", "-v", "error", "-y", "-stream_loop", str(SECONDS // 20 - 1), "-i", piece, "-c", "copy", clip],
                   check=True, stdin=subprocess.DEVNULL)
    return clip


def ffmpeg_still(clip, seconds, target):
    return ["ffmpeg", "-v", "error", "-y", "-nostdin", "-ss", f"{seconds:.3f}", "-skip_frame", "nokey", "-i", clip,
            "-frames:v", "1", "-vf", "scale=320:180", target]


def ffmpeg_board(clip, target):
    return ["ffmpeg", "-v", "error", "-y", "-nostdin", "-skip_frame", "nokey", "-i", clip, "-an", "-vf",
            f"fps=1/{TILE_SECONDS},scale=160:90,tile=10x10", target]


def ratios(first, second):
    return [one / other for one, other in zip(first, second)]


def measure(report, bin_folder, build_folder, work_folder, pairs):
    library = os.path.join(build_folder, "lib")
    jars = [os.path.join(bin_folder, "qvs-bench-offline.jar")] + [
        os.path.join(build_folder, "java", name) for name in ("qvs-host.jar", "qvs-transcoder.jar")]
    host = os.path.join(build_folder, "qvs-host")
    missing = [path for path in [*jars, host] if not os.path.exists(path)]
    if missing:
        print(f"bench: off-line work is left out, not built: {' '.join(missing)}", file=sys.stderr)
        return
    clip = make_clip(work_folder)
    output = os.path.join(work_folder, "stills")

    times = random.Random(7)
    ffmpeg, process = [], []
    for _ in range(SINGLES):
        seconds = times.random() * SECONDS
        ffmpeg.append(run(ffmpeg_still(clip, seconds, os.path.join(work_folder, "still.jpg"))).wall_s)
        process.append(run([host, "thumbs", clip, "-o", output, "--overwrite", "--at", f"{seconds:.3f}", "--size",
                            "320x180"]).wall_s)
    # A heap of fixed size, or its own growth would stand for that of the native side.
    os.environ.update(MALLOC_MMAP_THRESHOLD_="131072", MALLOC_TRIM_THRESHOLD_="131072")
    heap = ["-Xms96m", "-Xmx96m", "-XX:+AlwaysPreTouch", "-XX:TieredStopAtLevel=1"]
    inside = json.loads(run(["java", "-XX:+UseSerialGC", *heap, f"-Dqvs.library.dir={library}", "-cp", ":".join(jars),
                             "OfflineBench", clip, str(SECONDS)]).output.splitlines()[-1])
    report.fact("ffmpeg's thumbnail process, p50", f"{statistics.median(ffmpeg) * 1000:.0f} ms")
    report.add("thumbnail.inside_vs_ffmpeg", [inside["p50_ms"] / 1000 / statistics.median(ffmpeg)])
    report.add("thumbnail.process_vs_ffmpeg", ratios(process, ffmpeg))
    report.add("thumbnail.hundred_grow_mib", [inside["grown_mib"]])

    boards, rivals = [], []
    for _ in range(max(3, pairs // 2)):
        boards.append(run([host, "thumbs", clip, "-o", output, "--overwrite", "--storyboard", "--every",
                           str(TILE_SECONDS), "--size", "160x90"]))
        rivals.append(run(ffmpeg_board(clip, os.path.join(work_folder, "board-%d.jpg"))))
    report.add("storyboard.wall_vs_ffmpeg", ratios([one.wall_s for one in boards], [one.wall_s for one in rivals]))
    report.add("storyboard.cpu_vs_ffmpeg", ratios([one.cpu_s for one in boards], [one.cpu_s for one in rivals]))
