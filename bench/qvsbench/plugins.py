"""The software encoders' plug-ins against their libraries called directly, and an H.265 ladder against ffmpeg."""
import os

from qvsbench import ladder, programs, source

FRAMES = 120  # pictures of a run: libx265 takes seconds for them


def measure(report, bin_folder, build_folder, work_folder, pairs):
    pictures, width, height = source.raw(work_folder, FRAMES)
    programs.collect(report, [[os.path.join(bin_folder, "qvs-bench-plugins"), os.path.join(build_folder, "lib"), pictures,
                               str(width), str(height), str(pairs)]])
    ladder.measure_h265(report, bin_folder, work_folder, pairs, FRAMES)
