"""What the road from a capture device costs, and whether a device's ladder keeps up with it."""
import json
import os
import subprocess
import sys

from qvsbench import programs
from qvsbench.process import run

PICTURES = 120
GROWTH_SECONDS = 60


def _directory(folder, name, size, rate, sound):
    """A capture directory of two seconds of a moving picture."""
    path = os.path.join(folder, name)
    properties = os.path.join(path, "info.properties")
    if os.path.exists(properties):
        return path
    os.makedirs(path, exist_ok=True)
    seconds = str(PICTURES / rate)
    subprocess.run(["ffmpeg", "-v", "error", "-y", "-f", "lavfi", "-i", f"testsrc2=size={size}:rate={rate}", "-t", seconds,
                    "-vf", "format=yuv420p,swapuv", "-f", "rawvideo", os.path.join(path, "video.yuv")], check=True,
                   stdin=subprocess.DEVNULL)
    width, height = size.split("x")
    text = (f"video.file.path: video.yuv\nvideo.frameWidth: {width}\nvideo.frameHeight: {height}\n"
            f"video.frameRateEnum: {rate}\n")
    if sound:
        subprocess.run(["ffmpeg", "-v", "error", "-y", "-f", "lavfi", "-i", "sine=sample_rate=48000", "-t", seconds, "-ac",
                        "2", os.path.join(path, "sound.wav")], check=True, stdin=subprocess.DEVNULL)
        text += "audio.file.path: sound.wav\n"
    with open(properties, "w", encoding="ascii") as file:
        file.write(text)
    return path


def measure(report, bin_folder, build_folder, work_folder, pairs, frames, seconds):
    programs.collect(report, [[os.path.join(bin_folder, "qvs-bench-capture-card"), "--pairs", str(pairs)]])
    program = os.path.join(bin_folder, "qvs-bench-capture")
    probe = os.path.join(bin_folder, "qvs-bench-capture-probe")
    host = os.path.join(build_folder, "qvs-host")
    missing = [path for path in (program, probe, host) if not os.path.exists(path)]
    if missing:
        print(f"bench: capture is left out, not built: {' '.join(missing)}", file=sys.stderr)
        return
    # Slow enough that nothing is dropped: a device reads its pictures whether anybody takes them or not.
    large = _directory(work_folder, "capture-1080p20", "1920x1080", 20, False)
    ratios = []
    for _ in range(pairs):
        device, direct = (json.loads(run([program, mode, large, str(frames)]).output.splitlines()[-1])
                          for mode in ("device", "direct"))
        if device["dropped"]:
            print("bench: pictures were dropped, the machine is too busy for capture.cpu_vs_direct", file=sys.stderr)
        else:
            ratios.append(device["cpu"] / direct["cpu"])
    if ratios:
        report.add("capture.cpu_vs_direct", ratios)
    told = json.loads(run([probe, "allocations", large, str(max(frames, 200))]).output.splitlines()[-1])
    report.add("capture.allocations_per_picture", [told["allocations"]])
    small = _directory(work_folder, "capture-360p60", "640x360", 60, False)
    told = json.loads(run([program, "growth", small, str(GROWTH_SECONDS)]).output.splitlines()[-1])
    report.add("capture.growth_percent", [100 * told["growth"]], f"{GROWTH_SECONDS} s, {told['pictures']} pictures")
    report.add("capture.unaccounted_pictures", [told["unaccounted"]])
    _ladder(report, host, work_folder, seconds)


def _ladder(report, host, work_folder, seconds):
    movie = _directory(work_folder, "capture-1080p30", "1920x1080", 30, True)
    told = os.path.join(work_folder, "capture.json")
    progress = os.path.join(work_folder, "capture.progress")
    command = [host, "capture", movie, "-o", os.path.join(work_folder, "capture-out"), "--duration", str(seconds), "--preset",
               "ultrafast", "--encoder", "x264", "--report", told, "--progress", progress, "--no-contact-sheet"]
    for size in ("1920x1080@4M", "1280x720@2M", "640x360@700k"):
        command += ["--rendition", size]
    run(command)
    with open(told, encoding="utf-8") as file:
        capture = json.load(file)["capture"]
    with open(progress, encoding="utf-8") as file:
        lines = [json.loads(line) for line in file]
    offsets = [abs(line["avOffsetSeconds"]) for line in lines if line.get("avOffsetSeconds") is not None]
    note = f"1080p30, 3 rungs, {seconds} s"
    report.add("capture.dropped_pictures", [capture["droppedPictures"]], note)
    report.add("capture.av_offset_ms", [1000 * max(offsets, default=0)], "the largest of each second")
    report.add("capture.clock_offset_ms", [1000 * capture["worstClockOffsetSeconds"]], "of a picture, when it was taken")
