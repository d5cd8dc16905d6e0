"""Sound: the resampler against its library, and Opus into AAC and Opus against the floor and ffmpeg."""
import json
import os
import subprocess
import sys

from qvsbench import programs
from qvsbench.process import run

SECONDS = 120  # of the road's source


def _source(folder):
    """An Opus file and a word on what it holds: tones that wander over noise, neither easy nor silent."""
    path = os.path.join(folder, f"source-{SECONDS}.opus")
    if not os.path.exists(path):
        os.makedirs(folder, exist_ok=True)
        sound = (f"aevalsrc='0.3*sin(2*PI*t*(220+40*sin(t/3)))+0.2*sin(2*PI*t*(1760+300*sin(t)))*(0.5+0.5*sin(9*t))"
                 f"+0.1*(random(0)-0.5)|0.3*sin(2*PI*t*(277+30*sin(t/4)))+0.2*sin(2*PI*t*3100)*(0.5+0.5*cos(7*t))"
                 f"+0.1*(random(1)-0.5)':s=48000:d={SECONDS}")
        subprocess.run(["ffmpeg", "-v", "error", "-y", "-f", "lavfi", "-i", sound, "-c:a", "libopus", "-b:a", "128k",
                        "-f", "ogg", path + ".part"], check=True, stdin=subprocess.DEVNULL)
        os.replace(path + ".part", path)
    return path, f"synthetic: wandering tones and noise, {SECONDS} s of 48 kHz stereo Opus"


def _ffmpeg(source, folder=None):
    """The same renditions by one ffmpeg process: the same filter, Opus effort and frame length."""
    def target(name):
        return ["-f", "adts" if name == "aac" else "ogg", os.path.join(folder, name)] if folder else ["-f", "null", "-"]
    return ["ffmpeg", "-v", "error", "-nostdin", "-y", "-i", source,
            "-map", "0:a", "-af", "aresample=44100:filter_size=64:cutoff=0.95:internal_sample_fmt=fltp",
            "-c:a", "aac", "-aac_coder", "fast", "-b:a", "128k", *target("aac"),
            "-map", "0:a", "-c:a", "libopus", "-b:a", "96k", "-vbr", "constrained",
            "-compression_level", "9", *target("opus")]


def _road(report, bin_folder, work_folder, pairs):
    session, floor = (os.path.join(bin_folder, name) for name in ("qvs-bench-audio-session", "qvs-bench-audio-floor"))
    if not os.path.exists(session) or not os.path.exists(floor):
        print("bench: the audio road is not built, its figures are left out", file=sys.stderr)
        return
    source, about = _source(work_folder)
    made = json.loads(run([session, source]).output)
    programs.collect(report, [[session, source, "--memory"]])
    if "missing" in made:
        print(f"bench: the audio road is left out, not part of this build: {made['missing']}", file=sys.stderr)
        return
    run(_ffmpeg(source, work_folder))
    report.fact("source of the sound", about)
    report.fact("renditions, session", made)
    report.fact("renditions, floor", json.loads(run([floor, source]).output))
    report.fact("rendition files, ffmpeg", {name: os.path.getsize(os.path.join(work_folder, name))
                                            for name in ("aac", "opus")})
    rounds = []
    for number in range(pairs):
        print(f"bench: audio, round {number + 1} of {pairs}", file=sys.stderr)
        rounds.append([run([session, source]), run([floor, source]), run(_ffmpeg(source))])
    report.add("audio_road.cpu_vs_floor", [ours.cpu_s / floor.cpu_s for ours, floor, _ in rounds])
    report.add("audio_road.cpu_vs_ffmpeg", [ours.cpu_s / ffmpeg.cpu_s for ours, _, ffmpeg in rounds])
    report.add("audio_road.floor_cpu_vs_ffmpeg", [floor.cpu_s / ffmpeg.cpu_s for _, floor, ffmpeg in rounds])
    report.add("audio_road.peak_rss_vs_ffmpeg",
               [ours.peak_rss_kib[0] / ffmpeg.peak_rss_kib[0] for ours, _, ffmpeg in rounds])


def measure(report, bin_folder, work_folder, pairs):
    programs.collect(report, [[os.path.join(bin_folder, "qvs-bench-resample"), "--pairs", str(pairs)]])
    _road(report, bin_folder, work_folder, pairs)
