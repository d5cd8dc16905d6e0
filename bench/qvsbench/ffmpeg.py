"""The ffmpeg command that makes the same ladder in one process."""
import os


def _encoder(spec, rung, threads):
    kbit = rung["bitrate"] // 1000
    # The library's encoders keep libvpx's rate buffer: 6 s long, 4 s full at the start, 5 s aimed at.
    return ["-c:v", "libvpx", "-deadline", "realtime", "-cpu-used", str(spec["cpu_used"]), "-b:v", f"{kbit}k",
            "-minrate", f"{kbit}k", "-maxrate", f"{kbit}k", "-bufsize", f"{kbit * 6}k",
            "-rc_init_occupancy", f"{kbit * 4}k", "-lag-in-frames", "0", "-g", str(spec["key_frame_interval"]),
            "-keyint_min", str(spec["key_frame_interval"]),  # equal: key frames at this distance only
            *(["-threads", str(threads)] if threads else [])]


def ladder(spec, source, folder=None, threads=None):
    """`threads` None leaves every thread count at ffmpeg's default. Without `folder` the packets go nowhere."""
    one = ["-threads", str(threads)] if threads else []
    filters = ["-filter_threads", str(threads), "-filter_complex_threads", str(threads)] if threads else []
    rungs = spec["rungs"]
    graph = f"[0:v]split={len(rungs)}" + "".join(f"[s{i}]" for i in range(len(rungs)))
    for i, rung in enumerate(rungs):
        same = (rung["width"], rung["height"]) == (rungs[0]["width"], rungs[0]["height"])
        graph += f";[s{i}]" + ("null" if same else f"scale={rung['width']}:{rung['height']}:flags=bicubic") + f"[o{i}]"
    command = ["ffmpeg", "-v", "error", "-nostdin", "-y", *one, "-i", source, *filters, "-filter_complex", graph]
    for i, rung in enumerate(rungs):
        target = ["-f", "ivf", os.path.join(folder, f"{rung['height']}.ivf")] if folder else ["-f", "null", "-"]
        command += ["-map", f"[o{i}]", *_encoder(spec, rung, threads), *target]
    return command
