"""Encoders' plug-ins against their libraries called directly, the road to a card against a copy, and an H.265 ladder against ffmpeg."""
import os

from qvsbench import ladder, programs, source

FRAMES = 120  # pictures of a run: libx265 takes seconds for them


def measure(report, bin_folder, build_folder, work_folder, pairs):
    pictures, width, height = source.raw(work_folder, FRAMES)
    program = os.path.join(bin_folder, "qvs-bench-plugins")
    fakes = os.path.join(build_folder, "fakes")
    driver = ["env", "LD_PRELOAD=" + os.path.join(fakes, "fake-drm-shim.so"), "LIBVA_DRIVERS_PATH=" + fakes,
              "LIBVA_DRIVER_NAME=fake", "QVS_FAKE_FAULTS=encoder=off"]
    job = [os.path.join(build_folder, "lib"), pictures, str(width), str(height), str(pairs)]
    programs.collect(report, [driver + [program, "vaapi"] + job, [program, "software"] + job])
    ladder.measure_h265(report, bin_folder, work_folder, pairs, FRAMES)
