"""Command line of the bench."""
import argparse
import os

from qvsbench import audio, boundary, capture, card, cuda, files, ladder, offline, plugins, programs, quality, replacement, startup, vod, watch
from qvsbench.report import Report

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))


def main(description):
    parser = argparse.ArgumentParser(description=description, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("part", nargs="?", default="all",
                        choices=["all", "ladder", "quality", "picture", "plugins", "boundary", "audio", "replacement",
                                 "watch", "cuda", "card", "capture", "offline", "files", "startup"])
    parser.add_argument("--json", metavar="FILE", help="write the figures there too")
    parser.add_argument("--build", default=os.path.join(ROOT, "build/release"), help="build folder to measure")
    parser.add_argument("--pairs", type=int, default=7, help="alternating runs of each program (default 7)")
    parser.add_argument("--frames", type=int, default=300, help="frames of the ladder's source (default 300)")
    parser.add_argument("--codec", default="all", choices=["all", *ladder.CODECS], help="the ladder's (default all)")
    parser.add_argument("--replacements", type=int, default=200, help="encoders that fail (default 200)")
    parser.add_argument("--seconds", type=int, default=600, help="that a device plays into a ladder (default 600)")
    options = parser.parse_args()

    report = Report()
    bin_folder = os.path.join(options.build, "bench")
    work = os.path.join(options.build, "bench-work")
    if options.part in ("all", "ladder"):
        ladder.measure(report, bin_folder, work, options.pairs, options.frames, options.codec)
    if options.part in ("all", "quality"):
        quality.measure(report, bin_folder, work)
    if options.part in ("all", "picture"):
        programs.picture(report, bin_folder)
    if options.part in ("all", "plugins"):
        plugins.measure(report, bin_folder, options.build, work, options.pairs)
    if options.part in ("all", "boundary"):
        boundary.measure(report, bin_folder, options.build, work, options.pairs, options.frames)
    if options.part in ("all", "audio"):
        audio.measure(report, bin_folder, work, options.pairs)
    if options.part in ("all", "replacement"):
        replacement.measure(report, bin_folder, options.build, work, options.replacements)
    if options.part in ("all", "watch"):
        watch.measure(report, bin_folder, options.build, work, options.pairs, options.frames)
    if options.part in ("all", "cuda"):
        cuda.measure(report, bin_folder, options.build)
    if options.part in ("all", "card"):
        card.measure(report, bin_folder, options.pairs)
    if options.part in ("all", "capture"):
        capture.measure(report, bin_folder, options.build, work, options.pairs, options.frames, options.seconds)
    if options.part in ("all", "offline"):
        offline.measure(report, bin_folder, options.build, work, options.pairs)
        vod.measure(report, options.build, work, options.pairs)
    if options.part in ("all", "files"):
        files.measure(report, options.build, work, options.pairs, options.frames)
    if options.part in ("all", "startup"):
        startup.measure(report, options.build, work, options.pairs)
    report.print()
    if options.json:
        report.write_json(options.json)
    if not report.rows:
        print("bench: nothing was measured")
        return 1
    return 1 if report.missed() else 0
