"""The path of a frame on a GPU: counts on the emulated one, times on a real one."""
import ctypes
import os

from qvsbench import programs


def has_driver():
    try:
        ctypes.CDLL("libcuda.so.1")
        return True
    except OSError:
        return False


def measure(report, bin_folder, build_folder):
    emulated = os.path.join(build_folder, "fakes/nvidia")
    if not has_driver() and os.path.isdir(emulated):
        os.environ["LD_LIBRARY_PATH"] = ":".join(filter(None, [emulated, os.environ.get("LD_LIBRARY_PATH")]))
    programs.collect(report, [[os.path.join(bin_folder, "qvs-bench-cuda")]])
