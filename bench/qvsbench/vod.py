"""Long files in chunks: what cutting costs against a straight run, and how work spreads over nodes of a queue."""
import json
import os
import re
import subprocess
import sys

from qvsbench.process import run

SECONDS = 240
CHUNK_SECONDS = 60
LADDER = ["--rendition", "1280x720@2500k", "--rendition", "640x360@800k"]
SPREAD_CHUNK_SECONDS = 12


def _clip(work_folder):
    clip = os.path.join(work_folder, "vod-720.mp4")
    if not os.path.exists(clip):
        os.makedirs(work_folder, exist_ok=True)
        subprocess.run(["ffmpeg", "-v", "error", "-y", "-f", "lavfi", "-i", "testsrc2=size=1280x720:rate=30,noise=alls=8:allf=t",
                        "-f", "lavfi", "-i", "sine=r=48000", "-t", str(SECONDS), "-pix_fmt", "yuv420p", "-c:v", "libx264", "-preset",
                        "veryfast", "-g", "60", "-b:v", "3M", "-c:a", "aac", clip], check=True, stdin=subprocess.DEVNULL)
    return clip


def _psnr(made, clip):
    done = subprocess.run(["ffmpeg", "-hide_banner", "-nostdin", "-i", made, "-i", clip, "-lavfi",
                           "[1:v]scale=640:360:flags=bicubic[r];[0:v][r]psnr", "-f", "null", "-"],
                          capture_output=True, text=True, check=True)
    return float(re.search(r"PSNR y:([0-9.]+)", done.stderr)[1])


def _vod(host, clip, out, *more):
    told = out + ".json"
    usage = run([host, "vod", clip, "-o", out, *LADDER, "--overwrite", "--report", told, *more])
    with open(told, encoding="utf-8") as file:
        return usage, json.load(file)


def _straight(host, clip, out):
    return run([host, "transcode", clip, "-o", out, *LADDER, "--overwrite", "--no-contact-sheet"])


def _spread(report, host, clip, out):
    """By Slurm where SLURM_CONF or the machine has one: the busiest node's CPU against that of all."""
    if subprocess.run(["sinfo", "-h"], capture_output=True, check=False).returncode != 0:
        print("bench: no Slurm answers, its speed-up is left out", file=sys.stderr)
        return
    _, told = _vod(host, clip, out, "--slurm", "--chunk", str(SPREAD_CHUNK_SECONDS))
    nodes = {}
    for task in [*told["chunks"], told["sound"]]:
        nodes[task["machine"]] = nodes.get(task["machine"], 0) + task["cpuSeconds"]
    report.add("vod.slurm_speed_up", [sum(nodes.values()) / max(nodes.values())])
    inside = sum(task["wallSeconds"] for task in [*told["chunks"], told["sound"]])
    report.add("vod.slurm_wait_s", [(told["wallSeconds"] * len(nodes) - inside) / (len(told["chunks"]) + 1)])


def measure(report, build_folder, work_folder, pairs):
    host = os.path.join(build_folder, "qvs-host")
    if not os.path.exists(host):
        print(f"bench: long files are left out, not built: {host}", file=sys.stderr)
        return
    clip = _clip(work_folder)
    straight, chunked = (os.path.join(work_folder, name) for name in ("vod-straight", "vod-chunked"))
    ratios = []
    for _ in range(min(pairs, 3)):
        plain = _straight(host, clip, straight)
        parts, _ = _vod(host, clip, chunked, "--workers", "1", "--chunk", str(CHUNK_SECONDS))
        ratios.append(parts.cpu_s / plain.cpu_s)
    sizes = [sum(os.path.getsize(os.path.join(folder, f"vod-720_{size}.mp4")) for size in ("1280x720", "640x360"))
             for folder in (straight, chunked)]
    quality = [_psnr(os.path.join(folder, "vod-720_640x360.mp4"), clip) for folder in (straight, chunked)]
    report.fact("vod: sizes, and luma PSNR of 360p", f"{sizes[0]} and {sizes[1]} bytes, {quality[0]:.3f} and {quality[1]:.3f} dB, "
                                            "straight and chunked")
    report.add("vod.cpu_vs_straight", ratios)
    report.add("vod.size_vs_straight", [sizes[1] / sizes[0]])
    report.add("vod.psnr_vs_straight_db", [quality[1] - quality[0]])
    _spread(report, host, clip, os.path.join(work_folder, "vod-slurm"))
