"""VP8 720p into 720p, 480p and 360p: the session against the floor and against ffmpeg."""
import json
import os
import shutil
import statistics

from qvsbench import ffmpeg, source
from qvsbench.process import run, run_together

TOGETHER = 4  # ladders side by side


class Ladder:
    def __init__(self, bin_folder, work_folder, frames):
        self.session = os.path.join(bin_folder, "qvs-bench-ladder")
        self.floor = os.path.join(bin_folder, "qvs-bench-floor")
        self.probe = os.path.join(bin_folder, "qvs-bench-probe")
        self.work = work_folder
        self.spec = json.loads(run([self.floor, "--spec"]).output)
        self.source, self.about = source.make(work_folder, frames)

    def outputs(self, name, command_of_folder):
        """Runs once with files; bytes of each rendition."""
        folder = os.path.join(self.work, name)
        shutil.rmtree(folder, ignore_errors=True)
        os.makedirs(folder)
        run(command_of_folder(folder))
        return [os.path.getsize(os.path.join(folder, f"{rung['height']}.ivf")) for rung in self.spec["rungs"]]

    def check_same_work(self, report):
        """Says how far the renditions' sizes lie apart: a ratio only means something between equals."""
        sizes = {
            "session": self.outputs("session", lambda folder: [self.session, self.source, "--out", folder]),
            "parallel": self.outputs("parallel",
                                     lambda folder: [self.session, self.source, "--parallel", "--out", folder]),
            "floor": self.outputs("floor", lambda folder: [self.floor, self.source, "--out", folder]),
            "ffmpeg": self.outputs("ffmpeg", lambda folder: ffmpeg.ladder(self.spec, self.source, folder)),
            "ffmpeg, one thread": self.outputs(
                "ffmpeg-1thread", lambda folder: ffmpeg.ladder(self.spec, self.source, folder, threads=1)),
        }
        report.fact("source", self.about)
        for name, values in sizes.items():
            apart = [abs(value / ours - 1) * 100 for value, ours in zip(values, sizes["session"])]
            report.fact(f"rendition bytes, {name}", f"{values} (at most {max(apart):.2f} % from the session's)")
        report.fact("packets, session and floor, top rung", self._same("session", "floor", 0))
        report.fact("packets, in turn and in parallel, all rungs",
                    " ".join(self._same("session", "parallel", i) for i in range(len(self.spec["rungs"]))))

    def _same(self, one, other, rung):
        names = [os.path.join(self.work, name, f"{self.spec['rungs'][rung]['height']}.ivf") for name in (one, other)]
        contents = [open(name, "rb").read() for name in names]
        return "identical" if contents[0] == contents[1] else "DIFFERENT"

    def round(self):
        """One run of each program, in turn."""
        cores = set(sorted(os.sched_getaffinity(0))[:2])
        single = ffmpeg.ladder(self.spec, self.source, threads=1)
        return {
            "session": run([self.session, self.source]),
            "floor": run([self.floor, self.source]),
            "ffmpeg": run(ffmpeg.ladder(self.spec, self.source)),
            "ffmpeg_1thread": run(single),
            "parallel": run([self.session, self.source, "--parallel"]),
            "four": run([self.session, self.source, "--ladders", str(TOGETHER)], cores),
            "ffmpeg_four": run_together([single] * TOGETHER, cores),
        }


def _ratios(rounds, top, bottom, value):
    return [value(one[top]) / value(one[bottom]) for one in rounds]


def measure(report, bin_folder, work_folder, pairs, frames):
    ladder = Ladder(bin_folder, work_folder, frames)
    ladder.check_same_work(report)
    ladder.round()  # warms the file cache
    rounds = [ladder.round() for _ in range(pairs)]

    def add(name, top, bottom, value):
        report.add("vp8_ladder." + name, _ratios(rounds, top, bottom, value))

    add("cpu_vs_floor", "session", "floor", lambda usage: usage.cpu_s)
    add("cpu_vs_ffmpeg", "session", "ffmpeg", lambda usage: usage.cpu_s)
    add("cpu_vs_ffmpeg_1thread", "session", "ffmpeg_1thread", lambda usage: usage.cpu_s)
    add("wall_parallel_vs_ffmpeg", "parallel", "ffmpeg", lambda usage: usage.wall_s)
    add("rss_one_vs_ffmpeg", "session", "ffmpeg", lambda usage: usage.peak_rss_kib[0])
    report.add("vp8_ladder.rss_four_per_ladder_vs_ffmpeg",
               [one["four"].peak_rss_kib[0] / TOGETHER / statistics.mean(one["ffmpeg_four"].peak_rss_kib)
                for one in rounds])
    add("four_ladders_per_core_vs_ffmpeg_1thread", "ffmpeg_four", "four", lambda usage: usage.wall_s)
    add("floor_cpu_vs_ffmpeg_1thread", "floor", "ffmpeg_1thread", lambda usage: usage.cpu_s)
    add("parallel_cpu_vs_session", "parallel", "session", lambda usage: usage.cpu_s)

    probes = [json.loads(run([ladder.probe, ladder.source, "--latency"]).output) for _ in range(pairs)]
    report.add("vp8_ladder.latency_above_codecs_p50_ms", [probe["above_codecs_p50_ms"] for probe in probes])
    report.add("vp8_ladder.latency_p50_ms", [probe["latency_p50_ms"] for probe in probes])
    counted = json.loads(run([ladder.probe, ladder.source, "--allocations"]).output)
    report.add("vp8_ladder.allocations_per_frame", [counted["beyond_packets_per_frame"]])
    report.fact("allocations a frame", f"coded packets {counted['packets_per_frame']:.3f}, "
                                       f"inside libvpx {counted['codec_per_frame']:.3f}")
