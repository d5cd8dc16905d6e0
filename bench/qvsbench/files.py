"""Files through the host as they come by default against ffmpeg's libx264 with its own defaults: quality and cost."""
import os
import re
import subprocess
import sys

from qvsbench import ffmpeg, source
from qvsbench.process import run

# Rates at which coding shows, by the clip's full size.
CLIPS = {"clips/hevc/crowd_1920x1080_25fps_4000kbps_h265.mp4": 4_500_000, "clips/h264/bear-1280x720.mp4": 2_500_000,
         "clips/h264/sintel-1024x436.mp4": 500_000, "clips/h264/bottle-detection.mp4": 200_000,
         "clips/h264/video_h264_main_b_frames.mp4": 500_000}
SHARES = (1, 2 / 3, 1 / 3)  # of the sides
FRAMES = 300
MOST_APART = 0.003  # of the sizes
KEY_SECONDS = 10  # as far as ffmpeg's 250 pictures
LADDER = [(1920, 1080, 4_500_000), (1280, 720, 2_500_000), (640, 360, 600_000)]


def _run(command):
    done = subprocess.run(command, stdin=subprocess.DEVNULL, capture_output=True, text=True, check=False)
    if done.returncode != 0:
        sys.exit(f"bench: {' '.join(command)} ended with {done.returncode}:\n{done.stderr}")
    return done.stdout + done.stderr


def _bytes(path):
    """Coded bytes, without the container's, and without the settings that libx264 writes into its first picture."""
    sizes = _run(["ffprobe", "-v", "error", "-select_streams", "v:0", "-show_entries", "packet=size", "-of", "csv=p=0", path])
    return sum(int(line.strip(",")) for line in sizes.split())


def _quality(coded, reference):
    graph = "[0:v]settb=AVTB,setpts=N,split[a][b];[1:v]settb=AVTB,setpts=N,split[c][d];[a][c]psnr;[b][d]ssim"
    text = _run(["ffmpeg", "-hide_banner", "-i", coded, "-i", reference, "-lavfi", graph, "-f", "null", "-"])
    return float(re.search(r"PSNR y:([0-9.]+)", text)[1]), float(re.search(r"SSIM Y:([0-9.]+)", text)[1])


def _reference(clip, share, work):
    """The pictures of a rung without loss, which both then code: scaling is not compared."""
    path = os.path.join(work, "reference.mp4")
    scale = f"scale='2*round(iw*{share}/2)':'2*round(ih*{share}/2)':flags=bicubic,format=yuv420p"
    _run(["ffmpeg", "-v", "error", "-y", "-i", clip, "-an", "-vf", scale, "-frames:v", str(FRAMES), "-c:v", "libx264",
          "-qp", "0", "-preset", "ultrafast", path])
    size = _run(["ffprobe", "-v", "error", "-select_streams", "v:0", "-show_entries", "stream=width,height", "-of",
                 "csv=p=0:s=x", path]).strip()
    return path, size


def _ours(host, reference, size, rate, work):
    _run([host, "transcode", reference, "-o", work, "--overwrite", "--no-contact-sheet", "--keyframes", str(KEY_SECONDS),
          "--rendition", f"{size}@{rate}"])
    return os.path.join(work, f"reference_{size}.mp4")


def _theirs(reference, rate, wanted, work):
    path = os.path.join(work, "ffmpeg.mp4")
    for _ in range(6):
        _run(["ffmpeg", "-v", "error", "-y", "-i", reference, "-c:v", "libx264", "-preset", "veryfast", "-b:v", str(round(rate)), path])
        ratio = wanted / _bytes(path)
        if abs(ratio - 1) < MOST_APART:
            break
        rate *= ratio
    return path


def _measure_quality(report, host, work):
    media = os.environ.get("QVS_MEDIA", "")
    decibels, similarity = [], []
    for name, full in CLIPS.items():
        clip = os.path.join(media, name)
        if not media or not os.path.exists(clip):
            print(f"bench: {name} is not under QVS_MEDIA, its quality is left out", file=sys.stderr)
            continue
        told = []
        for share in SHARES:
            rate = round(full * share ** 1.5)
            reference, size = _reference(clip, share, work)
            ours = _ours(host, reference, size, rate, work)
            theirs = _theirs(reference, rate, _bytes(ours), work)
            (psnr, ssim), (their_psnr, their_ssim) = _quality(ours, reference), _quality(theirs, reference)
            decibels.append(psnr - their_psnr)
            similarity.append(ssim - their_ssim)
            told.append(f"{size}: {_bytes(ours)} and {_bytes(theirs)} bytes, {psnr:.3f} and {their_psnr:.3f} dB, "
                        f"{ssim:.5f} and {their_ssim:.5f}, asked for {rate}")
        report.fact(f"files: {os.path.basename(clip)}, host and ffmpeg", "; ".join(told))
    if decibels:
        report.add("h264_file_ladder.psnr_vs_ffmpeg_db", [min(decibels)], f"luma, worst of {len(decibels)}, dB; "
                   f"mean {sum(decibels) / len(decibels):+.3f}")
        report.add("h264_file_ladder.ssim_vs_ffmpeg", [min(similarity)], f"luma, worst of {len(similarity)}; "
                   f"mean {sum(similarity) / len(similarity):+.5f}")


def _measure_cost(report, host, work, pairs, frames):
    path, about = source.make(work, frames, "h264")
    spec = {"rungs": [{"width": w, "height": h, "bitrate": rate} for w, h, rate in LADDER], "extension": "264-file"}
    targets = [[os.path.join(work, f"ffmpeg-{h}.mp4")] for _, h, _ in LADDER]
    theirs = ffmpeg.ladder(spec, path, targets=targets)
    ours = [host, "transcode", path, "-o", work, "--overwrite", "--no-contact-sheet", "--keyframes", str(KEY_SECONDS)]
    for w, h, rate in LADDER:
        ours += ["--rendition", f"{w}x{h}@{rate}"]
    report.fact("files: source", about)
    rounds = []
    for number in range(pairs):
        print(f"bench: ladder of a file, round {number + 1} of {pairs}", file=sys.stderr)
        rounds.append((run(ours), run(theirs)))
    for name, value in {"cpu_vs_ffmpeg": lambda usage: usage.cpu_s, "wall_vs_ffmpeg": lambda usage: usage.wall_s,
                        "rss_vs_ffmpeg": lambda usage: usage.peak_rss_kib[0]}.items():
        report.add(f"h264_file_ladder.{name}", [value(a) / value(b) for a, b in rounds])


def measure(report, build_folder, work_folder, pairs, frames):
    host = os.path.join(build_folder, "qvs-host")
    work = os.path.join(work_folder, "files")
    os.makedirs(work, exist_ok=True)
    _measure_quality(report, host, work)
    _measure_cost(report, host, work, pairs, frames)
