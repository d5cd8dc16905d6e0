"""How long ffmpeg takes from a packet at the frame rate to the same picture in the last rendition."""
import os
import statistics
import subprocess
import threading
import time

from qvsbench import ffmpeg

FLV_HEADER, TAG_HEADER, TAG_SIZE = 13, 11, 4
SETTLE = 30  # pictures at the start, while ffmpeg looks at its input


def _tags(read):
    """FLV tags, whole; with a word whether each is an access unit."""
    while len(header := read(TAG_HEADER)) == TAG_HEADER:
        body = read(int.from_bytes(header[1:4], "big") + TAG_SIZE)
        yield header + body, header[0] == 9 and body[1] == 1


def _note(pipe, times):
    with os.fdopen(pipe, "rb") as file:
        file.read(FLV_HEADER)
        for _, unit in _tags(file.read):
            if unit:
                times.append(time.monotonic())


def p50_ms(spec, source):
    pipes = [os.pipe() for _ in spec["rungs"]]
    targets = [["-f", "flv", "-flush_packets", "1", f"pipe:{write}"] for _, write in pipes]
    command = ffmpeg.ladder(spec, "pipe:0", targets=targets)
    at = command.index("-i")
    command[at:at] = ["-probesize", "500000", "-analyzeduration", "100000"]  # else it looks at seconds
    child = subprocess.Popen(command, stdin=subprocess.PIPE,
                             pass_fds=[write for _, write in pipes])
    for _, write in pipes:
        os.close(write)
    left = [[] for _ in pipes]
    readers = [threading.Thread(target=_note, args=(pipe, times)) for (pipe, _), times in zip(pipes, left)]
    for reader in readers:
        reader.start()
    entered = []
    with open(source, "rb") as file, child.stdin as target:
        target.write(file.read(FLV_HEADER))
        begin = time.monotonic()
        for tag, unit in _tags(file.read):
            if unit:
                time.sleep(max(0.0, begin + len(entered) / spec["frame_rate"] - time.monotonic()))
                entered.append(time.monotonic())
            target.write(tag)
            target.flush()
    for reader in readers:
        reader.join()
    child.wait()
    done = [max(times) for times in zip(*left)]
    return statistics.median((out - into) * 1000 for into, out in list(zip(entered, done))[SETTLE:])
