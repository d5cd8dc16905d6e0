"""How long the installed host takes from nothing to the first packets of a ladder."""
import datetime
import json
import os
import subprocess
import sys
import time

from qvsbench.process import run

RUNGS = (("1280x720", "2500k"), ("854x480", "1200k"), ("640x360", "700k"))


def install(build_folder, work_folder):
    """The host as packages have it, with its archive of classes; None where it can't be installed."""
    tree = os.path.join(work_folder, "installed")
    if subprocess.run(["cmake", "--install", build_folder, "--prefix", tree], stdout=subprocess.DEVNULL).returncode:
        return None
    host, archive = os.path.join(tree, "bin/qvs"), os.path.join(work_folder, "classes.jsa")
    with open(host, encoding="utf-8") as file:
        lines = [f"archive={archive}\n" if line.startswith("archive=") else line for line in file]
    with open(host, "w", encoding="utf-8") as file:
        file.writelines(lines)
    made = subprocess.run([host, "class-archive", archive], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    return host if made.returncode == 0 else None


def make_clip(work_folder, frames, name):
    clip = os.path.join(work_folder, name)
    os.makedirs(work_folder, exist_ok=True)
    subprocess.run(["ffmpeg", "-v", "error", "-y", "-f", "lavfi", "-i", "testsrc2=size=1280x720:rate=30", "-f", "lavfi", "-i",
                    "sine", "-t", str(frames / 30), "-c:v", "libx264", "-preset", "veryfast", "-c:a", "aac", clip],
                   check=True, stdin=subprocess.DEVNULL)
    return clip


def host_ladder(host, clip, output, report):
    rungs = [word for size, rate in RUNGS for word in ("--rendition", f"{size}@{rate}")]
    return [host, "transcode", clip, "-o", output, "--format", "ts", "--overwrite", "--no-contact-sheet", "--report", report, *rungs]


def host_start(host, clip, output):
    report = os.path.join(output, "report.json")
    begun = time.time()
    run(host_ladder(host, clip, output, report))
    with open(report, encoding="utf-8") as file:
        first = json.load(file)["firstPackets"]
    return datetime.datetime.fromisoformat(first.replace("Z", "+00:00")).timestamp() - begun


def ffmpeg_start(clip, output):
    files = [os.path.join(output, f"{size}.ts") for size, _ in RUNGS]
    command = ["ffmpeg", "-v", "error", "-nostdin", "-y", "-i", clip]
    for (size, rate), file in zip(RUNGS, files):
        command += ["-vf", f"scale={size.replace('x', ':')}", "-c:v", "libx264", "-preset", "veryfast", "-b:v", rate, "-c:a",
                    "aac", "-flush_packets", "1", file]
        if os.path.exists(file):
            os.remove(file)
    begun = time.monotonic()
    process = subprocess.Popen(command)
    while process.poll() is None and not all(os.path.exists(file) and os.path.getsize(file) for file in files):
        time.sleep(0.001)
    seconds = time.monotonic() - begun
    process.kill()
    process.wait()
    return seconds


def measure(report, build_folder, work_folder, pairs):
    host = install(build_folder, work_folder)
    if not host:
        print("bench: the start is left out, what it takes is not built: ./qvs package", file=sys.stderr)
        return
    clip, picture = make_clip(work_folder, 60, "start.mp4"), make_clip(work_folder, 1, "picture.mp4")
    output = os.path.join(work_folder, "start")
    os.makedirs(output, exist_ok=True)
    ours, rival, cpu = [], [], []
    for _ in range(max(3, pairs)):
        ours.append(host_start(host, clip, output))
        rival.append(ffmpeg_start(clip, output))
        cpu.append(run(host_ladder(host, picture, output, os.path.join(output, "report.json"))).cpu_s)
    report.add("startup.first_packet", ours)
    report.add("startup.first_packet_ffmpeg", rival)
    report.add("startup.first_packet_cpu", cpu)
