"""The ffmpeg command that makes the same ladder in one process."""
import os


def _vp8(spec, rung, threads):
    kbit = rung["bitrate"] // 1000
    # The library's encoders keep libvpx's rate buffer: 6 s long, 4 s full at the start, 5 s aimed at.
    return ["-c:v", "libvpx", "-deadline", "realtime", "-cpu-used", str(spec["cpu_used"]), "-b:v", f"{kbit}k",
            "-minrate", f"{kbit}k", "-maxrate", f"{kbit}k", "-bufsize", f"{kbit * 6}k",
            "-rc_init_occupancy", f"{kbit * 4}k", "-lag-in-frames", "0", "-g", str(spec["key_frame_interval"]),
            "-keyint_min", str(spec["key_frame_interval"]),  # equal: key frames at this distance only
            *(["-threads", str(threads)] if threads else [])]


def _h264(spec, rung, threads):
    kbit = rung["bitrate"] // 1000
    return ["-c:v", "libx264", "-preset", "veryfast", "-tune", "zerolatency", "-b:v", f"{kbit}k", "-maxrate", f"{kbit}k",
            "-bufsize", f"{kbit * 220 // 100}k", "-x264-params", "keyint=infinite:min-keyint=1:scenecut=0:aud=1",
            "-force_key_frames", f"expr:not(mod(n,{spec['key_frame_interval']}))", "-forced-idr", "1",
            *(["-threads", str(threads)] if threads else [])]


def _h264_file(_, rung, threads):
    return ["-c:v", "libx264", "-preset", "veryfast", "-b:v", str(rung["bitrate"]), *(["-threads", str(threads)] if threads else [])]


def _h265(spec, rung, threads):
    kbit = rung["bitrate"] // 1000
    pools = ":pools=none" if threads == 1 else ""
    return ["-c:v", "libx265", "-preset", "superfast", "-tune", "zerolatency", "-b:v", f"{kbit}k", "-maxrate", f"{kbit}k",
            "-bufsize", f"{kbit}k", "-x265-params",
            f"keyint=-1:scenecut=0:open-gop=0:repeat-headers=1:info=0:log-level=none{pools}",
            "-force_key_frames", f"expr:not(mod(n,{spec['key_frame_interval']}))", "-forced-idr", "1"]


_ENCODERS = {"ivf": (_vp8, "ivf"), "264": (_h264, "h264"), "264-file": (_h264_file, "mp4"), "265": (_h265, "hevc")}  # by the rendition's extension


def ladder(spec, source, folder=None, threads=None, targets=None):
    """`threads` None leaves every thread count at ffmpeg's default. Without `folder` the packets go nowhere; `targets`
    are output arguments by rung instead."""
    encoder, container = _ENCODERS[spec["extension"]]
    one = ["-threads", str(threads)] if threads else []
    filters = ["-filter_threads", str(threads), "-filter_complex_threads", str(threads)] if threads else []
    rungs = spec["rungs"]
    graph = f"[0:v]split={len(rungs)}" + "".join(f"[s{i}]" for i in range(len(rungs)))
    for i, rung in enumerate(rungs):
        same = (rung["width"], rung["height"]) == (rungs[0]["width"], rungs[0]["height"])
        graph += f";[s{i}]" + ("null" if same else f"scale={rung['width']}:{rung['height']}:flags=bicubic") + f"[o{i}]"
    command = ["ffmpeg", "-v", "error", "-nostdin", "-y", *one, "-i", source, *filters, "-filter_complex", graph]
    for i, rung in enumerate(rungs):
        target = ["-f", "null", "-"]
        if folder:
            target = ["-f", container, os.path.join(folder, f"{rung['height']}.{spec['extension']}")]
        if targets:
            target = targets[i]
        command += ["-map", f"[o{i}]", *encoder(spec, rung, threads), *target]
    return command
