"""The ladders' sources, made once and kept in the build folder."""
import glob
import os
import subprocess
import sys
from dataclasses import dataclass

RATE = 30


@dataclass
class Kind:
    width: int
    height: int
    extension: str
    encoder: list  # ffmpeg's arguments


_AVC = ["-c:v", "libx264", "-preset", "veryfast", "-bf", "0", "-g", "120", "-threads", "2"]
KINDS = {
    "vp8": Kind(1280, 720, "ivf", ["-c:v", "libvpx", "-b:v", "4M", "-deadline", "good", "-cpu-used", "5",
                                   "-threads", "2", "-g", "120", "-auto-alt-ref", "0", "-f", "ivf"]),
    "h264": Kind(1920, 1080, "flv", [*_AVC, "-b:v", "8M", "-f", "flv"]),
    "h265": Kind(1920, 1080, "flv", [*_AVC, "-b:v", "8M", "-f", "flv"]),
    "h264-720": Kind(1280, 720, "flv", [*_AVC, "-b:v", "4M", "-f", "flv"]),
}


def _inputs(kind):
    """ffmpeg input arguments and filter, with a word on what they show."""
    media = os.environ.get("QVS_MEDIA", "")
    clips = sorted(glob.glob(os.path.join(media, "clips/hevc/crowd_1920x1080_*"))) if media else []
    if clips:
        return (["-stream_loop", "-1", "-i", clips[0]], f"[0:v]setpts=N/{RATE}/TB,scale={kind.width}:{kind.height}:flags=lanczos[v]",
                f"real: {os.path.basename(clips[0])} (camera, hard motion) at {kind.height}p")
    # Flat test cards are far too easy for a codec: drift a large card under the window, turn a second one over it
    # and add film grain.
    return (["-f", "lavfi", "-i", f"testsrc2=size=1920x1080:rate={RATE}",
             "-f", "lavfi", "-i", f"mandelbrot=size=640x360:rate={RATE}:maxiter=300"],
            "[0:v]crop=1280:720:x='320+300*sin(n/40)':y='180+170*cos(n/31)'[card];"
            "[1:v]rotate=n/25:ow=640:oh=360[turn];"
            "[card][turn]overlay=x='mod(n*7,1400)-300':y='180+100*sin(n/19)',noise=alls=10:allf=t,"
            f"scale={kind.width}:{kind.height},format=yuv420p[v]",
            "synthetic: drifting card, turning fractal, grain (QVS_MEDIA not set)")


def make(folder, frames, name="vp8"):
    """Path of the source and a sentence that says what it is."""
    kind = KINDS[name]
    inputs, graph, text = _inputs(kind)
    path = os.path.join(folder, f"source-{text.split(':')[0]}-{frames}-{kind.height}.{kind.extension}")
    if not os.path.exists(path):
        os.makedirs(folder, exist_ok=True)
        command = ["ffmpeg", "-v", "error", "-y", *inputs, "-filter_complex", graph, "-map", "[v]",
                   "-frames:v", str(frames), "-r", str(RATE), "-pix_fmt", "yuv420p", *kind.encoder, path + ".part"]
        done = subprocess.run(command, stdin=subprocess.DEVNULL, stderr=subprocess.PIPE, text=True, check=False)
        if done.returncode != 0:
            sys.exit(f"bench: making the source failed:\n{done.stderr}")
        os.replace(path + ".part", path)
    return path, text


def raw(folder, frames, name="vp8"):
    """The source's pictures as planes Y, U, V: path, width, height."""
    path, _ = make(folder, frames, name)
    target = os.path.splitext(path)[0] + ".yuv"
    if not os.path.exists(target):
        subprocess.run(["ffmpeg", "-v", "error", "-y", "-i", path, "-pix_fmt", "yuv420p", "-f", "rawvideo", target + ".part"],
                       check=True, stdin=subprocess.DEVNULL)
        os.replace(target + ".part", target)
    return target, KINDS[name].width, KINDS[name].height
