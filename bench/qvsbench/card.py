"""The accelerator card's road over its fake, and H.263 against libavcodec called directly."""
import os

from qvsbench import programs


def measure(report, bin_folder, pairs):
    programs.collect(report, [[os.path.join(bin_folder, "qvs-bench-card"), str(pairs)]])
