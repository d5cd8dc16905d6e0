"""How long ffmpeg takes from a packet at the frame rate to the same picture in the last rendition."""
import os
import statistics
import subprocess
import sys
import threading
import time

from qvsbench import ffmpeg

FLV_HEADER, TAG_HEADER, TAG_SIZE = 13, 11, 4
SETTLE = 90  # pictures at the start, while ffmpeg looks at its input and works off what has gathered


def _tags(read):
    """FLV tags, whole; with its time in ms where one is an access unit, else None."""
    while len(header := read(TAG_HEADER)) == TAG_HEADER:
        body = read(int.from_bytes(header[1:4], "big") + TAG_SIZE)
        unit = header[0] == 9 and body[1] == 1
        yield header + body, int.from_bytes(header[7:8] + header[4:7], "big") if unit else None


def _note(pipe, times):
    with os.fdopen(pipe, "rb") as file:
        file.read(FLV_HEADER)
        for _, stamp in _tags(file.read):
            if stamp is not None:
                times[stamp] = time.monotonic()


def p50_ms(spec, source):
    pipes = [os.pipe() for _ in spec["rungs"]]
    # Every picture with its own time: ffmpeg would make the rate even that it guessed from the first ones, and drop some.
    targets = [["-fps_mode", "passthrough", "-enc_time_base", "1:1000", "-f", "flv", "-flush_packets", "1", f"pipe:{write}"]
               for _, write in pipes]
    command = ffmpeg.ladder(spec, "pipe:0", targets=targets)
    at = command.index("-i")
    command[at:at] = ["-probesize", "500000", "-analyzeduration", "100000"]  # else it looks at seconds
    child = subprocess.Popen(command, stdin=subprocess.PIPE,
                             pass_fds=[write for _, write in pipes])
    for _, write in pipes:
        os.close(write)
    left = [{} for _ in pipes]
    readers = [threading.Thread(target=_note, args=(pipe, times)) for (pipe, _), times in zip(pipes, left)]
    for reader in readers:
        reader.start()
    entered = {}
    with open(source, "rb") as file, child.stdin as target:
        target.write(file.read(FLV_HEADER))
        begin = time.monotonic()
        for tag, stamp in _tags(file.read):
            if stamp is not None:
                time.sleep(max(0.0, begin + len(entered) / spec["frame_rate"] - time.monotonic()))
                entered[stamp] = time.monotonic()
            target.write(tag)
            target.flush()
    for reader in readers:
        reader.join()
    child.wait()
    settled = list(entered)[SETTLE:]
    delays = [(max(times[stamp] for times in left) - entered[stamp]) * 1000
              for stamp in settled if all(stamp in times for times in left)]
    if len(delays) < len(settled) * 0.9:
        sys.exit(f"bench: of {len(settled)} pictures only {len(delays)} came out of ffmpeg with their own time")
    return statistics.median(delays)
