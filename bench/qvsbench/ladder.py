"""The ladders of LadderSpec.h: the session against the floor and against ffmpeg."""
import json
import os
import shutil
import statistics
import sys

from qvsbench import ffmpeg, latency, source
from qvsbench.process import run, run_together

TOGETHER = 4  # ladders side by side
WARM_UP = 70  # frames that the count of allocations leaves out
MOST_APART = 1.0  # percent of a rendition's size


# For H.265 it only tells the ladder: the plug-ins are held against their library by themselves.
FLOORS = {"vp8": "qvs-bench-floor", "h264": "qvs-bench-floor-h264", "h264-720": "qvs-bench-floor-h264",
          "h265": "qvs-bench-floor-h264"}


class Ladder:
    def __init__(self, name, bin_folder, work_folder, frames):
        self.name = name
        self.source, self.about = source.make(work_folder, frames, name)
        floor = os.path.join(bin_folder, FLOORS[name])
        self.session = [os.path.join(bin_folder, "qvs-bench-ladder"), self.source, "--ladder", name]
        self.floor = [floor, self.source, "--ladder", name]
        self.probe = [os.path.join(bin_folder, "qvs-bench-probe"), self.source, "--ladder", name]
        self.work = work_folder
        self.spec = json.loads(run([floor, "--spec", name]).output)

    def _rendition(self, name, rung):
        return os.path.join(self.work, name, f"{self.spec['rungs'][rung]['height']}.{self.spec['extension']}")

    def outputs(self, name, command_of_folder):
        """Runs once with files; bytes of each rendition."""
        folder = os.path.join(self.work, name)
        shutil.rmtree(folder, ignore_errors=True)
        os.makedirs(folder)
        run(command_of_folder(folder))
        return [os.path.getsize(self._rendition(name, i)) for i in range(len(self.spec["rungs"]))]

    def check_same_work(self, report):
        """Says how far the renditions' sizes lie apart: a ratio only means something between equals."""
        sizes = {
            "session": self.outputs("session", lambda folder: [*self.session, "--out", folder]),
            "parallel": self.outputs("parallel",
                                     lambda folder: [*self.session, "--parallel", "--out", folder]),
            "floor": self.outputs("floor", lambda folder: [*self.floor, "--out", folder]),
            "ffmpeg": self.outputs("ffmpeg", lambda folder: ffmpeg.ladder(self.spec, self.source, folder)),
            "ffmpeg, one thread": self.outputs(
                "ffmpeg-1thread", lambda folder: ffmpeg.ladder(self.spec, self.source, folder, threads=1)),
        }
        self.check_sizes(report, sizes)
        report.fact(f"{self.name}: packets, session and floor, top rung", self._same("session", "floor", 0))
        report.fact(f"{self.name}: packets, in turn and in parallel, all rungs",
                    " ".join(self._same("session", "parallel", i) for i in range(len(self.spec["rungs"]))))

    def check_sizes(self, report, sizes):
        report.fact(f"{self.name}: source", self.about)
        for name, values in sizes.items():
            apart = [abs(value / ours - 1) * 100 for value, ours in zip(values, sizes["session"])]
            report.fact(f"{self.name}: rendition bytes, {name}",
                        f"{values} (at most {max(apart):.2f} % from the session's)")
            if max(apart) > MOST_APART:
                report.fact(f"WARNING, {self.name}, {name}", f"sizes lie more than {MOST_APART} % apart")

    def _same(self, one, other, rung):
        names = [self._rendition(name, rung) for name in (one, other)]
        contents = [open(name, "rb").read() for name in names]
        return "identical" if contents[0] == contents[1] else "DIFFERENT"

    def programs(self, wanted):
        cores = set(sorted(os.sched_getaffinity(0))[:2])
        single = ffmpeg.ladder(self.spec, self.source, threads=1)
        rows = {
            "session": lambda: run(self.session),
            "floor": lambda: run(self.floor),
            "ffmpeg": lambda: run(ffmpeg.ladder(self.spec, self.source)),
            "ffmpeg_1thread": lambda: run(single),
            "parallel": lambda: run([*self.session, "--parallel"]),
            "four": lambda: run([*self.session, "--ladders", str(TOGETHER)], cores),
            "ffmpeg_four": lambda: run_together([single] * TOGETHER, cores),
        }
        return {name: rows[name] for name in wanted}

    def rounds(self, pairs, wanted):
        """`pairs` runs of each program, in turn."""
        rounds = []
        for number in range(pairs):
            print(f"bench: {self.name} ladder, round {number + 1} of {pairs}", file=sys.stderr)
            rounds.append({name: start() for name, start in self.programs(wanted).items()})
        return rounds


ONE = ["session", "floor", "ffmpeg", "ffmpeg_1thread", "parallel"]
FOUR = ["four", "ffmpeg_four"]


def _ratios(rounds, top, bottom, value):
    return [value(one[top]) / value(one[bottom]) for one in rounds]


def _add_one(report, prefix, rounds):
    def add(name, top, bottom, value):
        report.add(f"{prefix}.{name}", _ratios(rounds, top, bottom, value))

    add("cpu_vs_floor", "session", "floor", lambda usage: usage.cpu_s)
    add("cpu_vs_ffmpeg", "session", "ffmpeg", lambda usage: usage.cpu_s)
    add("cpu_vs_ffmpeg_1thread", "session", "ffmpeg_1thread", lambda usage: usage.cpu_s)
    add("wall_parallel_vs_ffmpeg", "parallel", "ffmpeg", lambda usage: usage.wall_s)
    add("rss_one_vs_ffmpeg", "session", "ffmpeg", lambda usage: usage.peak_rss_kib[0])
    add("floor_cpu_vs_ffmpeg_1thread", "floor", "ffmpeg_1thread", lambda usage: usage.cpu_s)
    add("parallel_cpu_vs_session", "parallel", "session", lambda usage: usage.cpu_s)


def _add_four(report, prefix, rounds):
    report.add(f"{prefix}.rss_four_per_ladder_vs_ffmpeg",
               [one["four"].peak_rss_kib[0] / TOGETHER / statistics.mean(one["ffmpeg_four"].peak_rss_kib)
                for one in rounds])
    report.add(f"{prefix}.four_ladders_per_core_vs_ffmpeg_1thread",
               _ratios(rounds, "ffmpeg_four", "four", lambda usage: usage.wall_s))


def _add_probes(report, prefix, ladder, pairs, frames):
    probes = [json.loads(run([*ladder.probe, "--latency"]).output) for _ in range(pairs)]
    report.add(f"{prefix}.latency_above_codecs_p50_ms", [probe["above_codecs_p50_ms"] for probe in probes])
    report.add(f"{prefix}.latency_p50_ms", [probe["latency_p50_ms"] for probe in probes])
    if frames <= WARM_UP:
        return
    counted = json.loads(run([*ladder.probe, "--allocations"]).output)
    report.add(f"{prefix}.allocations_per_frame", [counted["beyond_packets_per_frame"]])
    report.fact(f"{ladder.name}: allocations a frame", f"coded packets {counted['packets_per_frame']:.3f}, "
                                                       f"inside the codecs {counted['codec_per_frame']:.3f}")


def _measure_vp8(report, bin_folder, work_folder, pairs, frames):
    ladder = Ladder("vp8", bin_folder, work_folder, frames)
    ladder.check_same_work(report)
    rounds = ladder.rounds(pairs, ONE + FOUR)
    _add_one(report, "vp8_ladder", rounds)
    _add_four(report, "vp8_ladder", rounds)
    _add_probes(report, "vp8_ladder", ladder, pairs, frames)


def _measure_h264(report, bin_folder, work_folder, pairs, frames):
    """One ladder from 1080p; four side by side from 720p."""
    ladder = Ladder("h264", bin_folder, work_folder, frames)
    ladder.check_same_work(report)
    _add_one(report, "h264_ladder", ladder.rounds(pairs, ONE))
    _add_probes(report, "h264_ladder", ladder, pairs, frames)
    small = Ladder("h264-720", bin_folder, work_folder, frames)
    _add_four(report, "h264_ladder", small.rounds(pairs, FOUR))
    paced = [*small.probe, "--latency", "--paced", "--parallel"]
    samples = [(json.loads(run(paced).output)["latency_p50_ms"], latency.p50_ms(small.spec, small.source))
               for _ in range(pairs)]
    report.fact("h264-720: latency p50, session and ffmpeg, ms", ", ".join(f"{a:.1f} / {b:.1f}" for a, b in samples))
    report.add("h264_ladder.latency_p50_parallel_vs_ffmpeg", [ours / theirs for ours, theirs in samples])


def measure_h265(report, bin_folder, work_folder, pairs, frames):
    """Rungs side by side, as a host runs them, against one ffmpeg process."""
    ladder = Ladder("h265", bin_folder, work_folder, frames)
    ladder.check_sizes(report, {
        "session": ladder.outputs("parallel", lambda folder: [*ladder.session, "--parallel", "--out", folder]),
        "ffmpeg": ladder.outputs("ffmpeg", lambda folder: ffmpeg.ladder(ladder.spec, ladder.source, folder)),
    })
    rounds = ladder.rounds(pairs, ["parallel", "ffmpeg"])
    for name, value in {"cpu_vs_ffmpeg": lambda usage: usage.cpu_s, "wall_vs_ffmpeg": lambda usage: usage.wall_s,
                        "rss_vs_ffmpeg": lambda usage: usage.peak_rss_kib[0]}.items():
        report.add(f"h265_ladder.{name}", _ratios(rounds, "parallel", "ffmpeg", value))


CODECS = {"vp8": _measure_vp8, "h264": _measure_h264}


def measure(report, bin_folder, work_folder, pairs, frames, codec="all"):
    for name, measure_one in CODECS.items():
        if codec in ("all", name):
            measure_one(report, bin_folder, work_folder, pairs, frames)
