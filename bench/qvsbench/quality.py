"""Quality of the H.264 encoder against the x264 command line at the same bit rate, preset and buffer, on real clips."""
import os
import re
import subprocess
import sys

from qvsbench.process import run

FRAMES = 200  # as qvs-bench-h264 takes
RATE = 25
CLIPS = {"clips/hevc/crowd_1920x1080_25fps_4000kbps_h265.mp4": 4_500_000, "clips/h264/bear-1280x720.mp4": 2_500_000,
         "clips/h264/sintel-1024x436.mp4": 1_200_000}
MOST_APART = 0.002  # of the sizes


def _shell(command):
    done = subprocess.run(["bash", "-o", "pipefail", "-c", command], stdin=subprocess.DEVNULL, capture_output=True,
                          text=True, check=False)
    if done.returncode != 0:
        sys.exit(f"bench: {command} ended with {done.returncode}:\n{done.stderr}")
    return done.stdout + done.stderr


def _pictures(clip):
    return f"ffmpeg -v error -i '{clip}' -map 0:v:0 -pix_fmt yuv420p -frames:v {FRAMES} -f rawvideo -"


def _command_line(clip, size, kbit, target):
    _shell(f"{_pictures(clip)} | x264 --quiet --demuxer raw --input-res {size} --fps {RATE} --preset veryfast "
           f"--tune zerolatency --threads 1 --bitrate {kbit:.0f} --vbv-maxrate {kbit:.0f} --vbv-bufsize {kbit * 2.2:.0f} "
           f"--keyint infinite --scenecut 0 -o '{target}' -")


def _command_line_at_size(clip, size, kbit, target, wanted_bytes):
    for _ in range(8):
        _command_line(clip, size, kbit, target)
        ratio = wanted_bytes / os.path.getsize(target)
        if abs(ratio - 1) < MOST_APART:
            break
        kbit *= ratio


def _luma_psnr(coded, clip, size):
    text = _shell(f"{_pictures(clip)} | ffmpeg -hide_banner -r {RATE} -i '{coded}' -f rawvideo -pix_fmt yuv420p -s {size} "
                  f"-r {RATE} -i - -lavfi '[0:v][1:v]psnr' -f null -")
    return float(re.search(r"PSNR y:([0-9.]+)", text)[1])


def measure(report, bin_folder, work_folder):
    media = os.environ.get("QVS_MEDIA", "")
    for name, bitrate in CLIPS.items():
        clip = os.path.join(media, name)
        if not media or not os.path.exists(clip):
            print(f"bench: {name} is not under QVS_MEDIA, its quality is left out", file=sys.stderr)
            continue
        size = _shell(f"ffprobe -v error -select_streams v:0 -show_entries stream=width,height -of csv=p=0:s=x '{clip}'").strip()
        os.makedirs(work_folder, exist_ok=True)
        ours, theirs = (os.path.join(work_folder, f"quality-{who}.264") for who in ("session", "x264"))
        run([os.path.join(bin_folder, "qvs-bench-h264"), "--encode", str(bitrate), clip, ours])
        _command_line_at_size(clip, size, bitrate / 1000, theirs, os.path.getsize(ours))
        sizes = [os.path.getsize(path) for path in (ours, theirs)]
        quality = [_luma_psnr(path, clip, size) for path in (ours, theirs)]
        report.fact(f"quality: {os.path.basename(clip)}", f"{sizes[0]} and {sizes[1]} bytes, luma PSNR {quality[0]:.3f} "
                                                          f"and {quality[1]:.3f} dB, session and x264 command line")
        report.add(f"h264_quality.{os.path.basename(clip).split('-')[0].split('_')[0]}_vs_x264_db", [quality[0] - quality[1]])
