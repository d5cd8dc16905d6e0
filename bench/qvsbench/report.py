"""Figures, their bounds, the table and the JSON file."""
import json
import statistics
from dataclasses import dataclass, field

# name -> (kind of bound, bound, what is measured). Kind: "max", "min" or None for a row that only informs.
FIGURES = {
    "vp8_ladder.cpu_vs_floor": ("max", 1.03, "CPU, session / libvpx and zimg called directly"),
    "vp8_ladder.cpu_vs_ffmpeg": ("max", 0.85, "CPU, session / ffmpeg with default threads"),
    "vp8_ladder.cpu_vs_ffmpeg_1thread": ("max", 0.97, "CPU, session / ffmpeg with one thread everywhere"),
    "vp8_ladder.wall_parallel_vs_ffmpeg": ("max", 0.75, "wall time, rungs in parallel / ffmpeg, default threads"),
    "vp8_ladder.rss_one_vs_ffmpeg": ("max", 0.85, "peak resident memory, one ladder / one ffmpeg process"),
    "vp8_ladder.rss_four_per_ladder_vs_ffmpeg": ("max", 0.65, "the same, four in one process / four ffmpeg processes"),
    "vp8_ladder.latency_above_codecs_p50_ms": ("max", 1.0, "frame in to last packet out, less the codecs' time, ms"),
    "vp8_ladder.four_ladders_per_core_vs_ffmpeg_1thread": ("min", 1.02, "ladders at 30/s per core, four at once"),
    "vp8_ladder.allocations_per_frame": ("max", 0.0, "beyond coded packets and libvpx's own, after warm-up"),
    "h264_ladder.cpu_vs_floor": ("max", 1.02, "CPU, session / libavcodec, zimg and libx264 called directly"),
    "h264_ladder.cpu_vs_ffmpeg": ("max", 0.92, "CPU, session / ffmpeg with default threads"),
    "h264_ladder.cpu_vs_ffmpeg_1thread": ("max", 0.97, "CPU, session / ffmpeg with one thread everywhere"),
    "h264_ladder.wall_parallel_vs_ffmpeg": ("max", 0.78, "wall time, rungs in parallel / ffmpeg, default threads"),
    "h264_ladder.rss_one_vs_ffmpeg": ("max", 0.85, "peak resident memory, one 1080p ladder / one ffmpeg process"),
    "h264_ladder.rss_four_per_ladder_vs_ffmpeg": ("max", 0.60, "four 720p ladders in one process / four ffmpeg processes"),
    "h264_ladder.four_ladders_per_core_vs_ffmpeg_1thread": ("min", 1.02, "720p ladders at 30/s per core, four at once"),
    "h264_ladder.latency_p50_parallel_vs_ffmpeg": ("max", 0.80, "720p30 to the last rendition, p50 / ffmpeg, default threads"),
    "h264_ladder.latency_above_codecs_p50_ms": (None, 0, "frame in to last packet out, less the codecs' time, ms"),
    "h264_ladder.allocations_per_frame": (None, 0, "beyond coded packets and the codecs' own, after warm-up"),
    **{f"h264_quality.{clip}_vs_x264_db": ("min", -0.05, "luma PSNR, session less x264 command line, equal size and preset")
       for clip in ("crowd", "bear", "sintel")},
    "h264_file_ladder.psnr_vs_ffmpeg_db": ("min", -0.1, "luma PSNR, a file by default less ffmpeg's libx264 by default, worst rung, dB"),
    "h264_file_ladder.ssim_vs_ffmpeg": ("min", -0.001, "luma SSIM, the same"),
    "h264_file_ladder.cpu_vs_ffmpeg": ("max", 0.95, "CPU, 1080p file to 1080p, 720p, 360p through the host / one ffmpeg process"),
    "h264_file_ladder.wall_vs_ffmpeg": ("max", 0.85, "wall time, the same"),
    "h264_file_ladder.rss_vs_ffmpeg": ("max", 0.85, "peak resident memory, the same"),
    "scaler.yv12_1080_720_vs_zimg": ("max", 0.85, "1080p to 720p YV12, bicubic / zimg bicubic, same instruction set"),
    "picture.turn_vs_straight": ("max", 1.25, "1080p to 1080x1920 YV12, turned by a quarter / the same sizes unturned"),
    "picture.turn_720_vs_straight": ("max", 1.4, "1080p to 720x1280 YV12, turned by a quarter / to 1280x720"),
    "picture.turn_vs_copy": (None, 0, "1080p to 1080x1920 YV12, turned by a quarter, unscaled / a copy"),
    "yv12_to_nv12.vs_memcpy": ("max", 1.06, "1080p, / memcpy of the same bytes"),
    "nv12_to_yv12.vs_memcpy": ("max", 1.06, "1080p, / memcpy of the same bytes"),
    "bgra_to_yv12.vs_memcpy": ("max", 2.2, "1080p, BT.709 full range, / memcpy of the bytes moved"),
    "overlay_400x200_1080.ms": ("max", 0.03, "BGRA with soft edges on a 1080p picture, ms"),
    "overlay_400x200_1080.vs_ffmpeg": ("max", 1.0, "the same / libavfilter's overlay"),
    "h265_ladder.cpu_vs_ffmpeg": ("max", 0.95, "CPU, 1080p to 1080p, 720p, 480p, superfast, session / ffmpeg with libx265"),
    "h265_ladder.wall_vs_ffmpeg": ("max", 0.90, "wall time, the same"),
    "h265_ladder.rss_vs_ffmpeg": ("max", 0.80, "peak resident memory, the same"),
    "plugins.vaapi_vs_memcpy": ("max", 2.0, "CPU, 720p, host, plug-in and an upload to a fake driver that codes nothing / one memcpy of the picture"),
    "plugins.vaapi_overhead_us": (None, 0, "the same a picture, us"),
    "plugins.x264_vs_direct": ("max", 1.01, "CPU, 720p, plug-in and host / libx264 called directly, same settings and bytes"),
    "plugins.x264_vs_direct_allocations": ("max", 0.0, "a picture, beyond libx264's own and the coded bytes"),
    "plugins.x265_vs_direct": ("max", 1.01, "CPU, 720p superfast, plug-in and host / libx265 called directly, the same"),
    "plugins.x265_vs_direct_allocations": ("max", 0.0, "a picture, beyond libx265's own and the coded bytes"),
    "boundary.share_of_frame_percent": ("max", 0.3, "native boundary's share of a 720p ladder frame, %"),
    "replacement.lost": ("max", 0.0, "pictures lost or twice, a 720p30 rung whose encoder fails, hangs or is late"),
    "replacement.gap_ms": ("max", 150.0, "failed call to the rung's next packet, p95, beyond the call's deadline, ms"),
    "replacement.gap_worst_ms": (None, 0, "the same, the longest"),
    "metrics.cpu_cost": ("max", 1.003, "CPU, 720p H.264 ladder with progress, scrapes and flight recording / without"),
    "startup.first_packet": ("max", 0.6, "installed host, nothing running to the first packet of each of three 720p rungs, s"),
    "startup.first_packet_cpu": (None, 0, "the same, CPU of a whole run of one picture, s"),
    "startup.first_packet_ffmpeg": (None, 0, "one ffmpeg process, the same ladder, to the first bytes of each file, s"),
    "metrics.quality_cpu_cost": ("max", 1.02, "CPU, the same ladder with --live-quality / without"),
    "cuda.pixel_copies": ("max", 0.0, "copies of pixels between host and device, 1080p to three rungs with overlays"),
    "cuda.launches": ("max", 6.0, "kernels a picture and rung, the same"),
    "cuda.synchronisations": ("max", 1.0, "waits for the device a picture and rung, the same"),
    "cuda.memory_left": ("max", 0.0, "device memory after 500 sessions opened and closed, bytes more than before"),
    "cuda.resize_vs_bandwidth": ("max", 4.0, "1080p to 720p planar, device time / its bytes at the card's bandwidth"),
    "cuda.three_rungs_us": ("max", 60.0, "1080p to 720p, 480p, 360p, device time a picture, us"),
    "cuda.three_rungs_overlays_us": ("max", 90.0, "the same with a 400x200 overlay each"),
    "card.handles_open": ("max", 0.0, "pictures on the card after 100,000 with random drops, skips, replacements and sizes"),
    "card.frames_with_host_pixels": ("max", 0.0, "frames between decoder, scaler and encoder that have host memory"),
    "card.host_us_per_picture_and_rung": ("max", 20.0, "CPU beyond the fakes' own work, microseconds"),
    "card.h263_vs_direct": ("max", 1.03, "CPU, 352x288, through the encoder / libavcodec called directly, same bytes"),
    "capture.v210_vs_memcpy": ("max", 1.6, "1080p v210 to planes / memcpy of its bytes"),
    "capture.levels_percent": ("max", 0.1, "levels of 16 channels, share of a picture's time at 25/s, %"),
    "capture.vanc_percent": ("max", 1.0, "the packets of 40 blanking lines, share of a picture's time at 1080p50, %"),
    "capture.cpu_vs_direct": ("max", 1.02, "CPU, 1080p20 to 1080p, 720p, 360p, from a device / its pictures read into the session"),
    "capture.allocations_per_picture": ("max", 0.0, "the same, beyond coded pictures and the codecs' own, after warm-up"),
    "capture.growth_percent": ("max", 1.0, "resident memory, two devices into two sessions, stopped and started 8 times, %"),
    "capture.unaccounted_pictures": ("max", 0.0, "the same: sent, less delivered, less told as dropped"),
    "capture.dropped_pictures": ("max", 0.0, "a device through ./qvs capture at x264 ultrafast"),
    "capture.av_offset_ms": ("max", 34.0, "the same: last coded sound against last coded picture, at worst, ms"),
    "capture.clock_offset_ms": ("max", 40.0, "the same: a picture's time against the wall clock, at worst, ms"),
    "thumbnail.inside_vs_ffmpeg": ("max", 0.3, "1080p key picture to JPEG 320x180, p50, in a running host / ffmpeg process"),
    "thumbnail.process_vs_ffmpeg": ("max", 5.0, "the same as a process of its own, the virtual machine's start included"),
    "thumbnail.hundred_grow_mib": ("max", 1.0, "resident memory that a hundred thumbnails in a row add, MiB"),
    "storyboard.wall_vs_ffmpeg": ("max", 0.7, "wall time, ten minutes of 1080p, a tile each 5 s / one ffmpeg process"),
    "storyboard.cpu_vs_ffmpeg": ("max", 0.7, "CPU, the same"),
    "vod.cpu_vs_straight": ("max", 1.03, "CPU, four minutes of 720p to 720p and 360p in chunks of 60 s by one worker / straight"),
    "vod.size_vs_straight": ("max", 1.02, "size, the same"),
    "vod.psnr_vs_straight_db": ("min", -0.05, "luma PSNR of 360p, chunks less straight, dB"),
    "vod.slurm_speed_up": ("min", 3.8, "CPU of all chunks / of the busiest node's, four nodes of one core share"),
    "vod.slurm_wait_s": (None, 0, "node seconds a task that no worker used: the queue's, and those of an idle end"),
    "resample.snr_db": ("min", 93.0, "swept sine 20 to 16000 Hz, 44100 to 48000 stereo, 16 bits, dB"),
    "resample.times_real_time": ("min", 2000.0, "44100 to 48000 stereo in blocks of 1024, one core"),
    "resample.speed_vs_libswresample": ("min", 0.95, "the same / libswresample called directly, same settings"),
    "resample.first_stream_mib": ("max", 3.0, "resident memory that a process's first resampler adds, MiB"),
    "resample.further_stream_mib": ("max", 3.0, "the same, each further one"),
    "audio_road.first_stream_mib": (None, 0, "the same, a process's first road: loads libavcodec and its libraries"),
    "audio_road.further_stream_mib": ("max", 3.0, "the same, each further one: Opus in, AAC and Opus out"),
    "audio_road.cpu_vs_floor": ("max", 1.03, "CPU, Opus to AAC and Opus / the same libraries called directly"),
    "audio_road.cpu_vs_ffmpeg": ("max", 0.95, "CPU, the same / one ffmpeg process"),
    "audio_road.floor_cpu_vs_ffmpeg": (None, 0, "CPU, the libraries called directly / one ffmpeg process"),
    "audio_road.peak_rss_vs_ffmpeg": (None, 0, "peak resident memory, session / ffmpeg"),
}


@dataclass
class Measured:
    name: str
    value: float
    samples: list = field(default_factory=list)
    note: str = ""

    def verdict(self):
        kind, bound, _ = FIGURES.get(self.name, (None, None, ""))
        if kind is None:
            return None
        return self.value <= bound if kind == "max" else self.value >= bound


class Report:
    def __init__(self):
        self.rows = []
        self.facts = {}

    def add(self, name, samples, note=""):
        """A figure whose value is the median of `samples`."""
        self.rows.append(Measured(name, statistics.median(samples), list(samples), note))

    def fact(self, name, value):
        """Something a reader needs to judge the figures by."""
        self.facts[name] = value

    def missed(self):
        return [row.name for row in self.rows if row.verdict() is False]

    def print(self):
        for name, value in self.facts.items():
            print(f"{name}: {value}")
        width = max((len(row.name) for row in self.rows), default=0)
        print(f"\n{'figure':{width}}  measured  {'spread':>13}  bound    verdict")
        for row in self.rows:
            kind, bound, text = FIGURES.get(row.name, (None, None, ""))
            limit = {"max": "<= ", "min": ">= ", None: ""}[kind] + (f"{bound:g}" if kind else "-")
            verdict = {True: "ok", False: "MISS", None: ""}[row.verdict()]
            spread = f"{min(row.samples):.3f}-{max(row.samples):.3f}" if len(row.samples) > 1 else ""
            print(f"{row.name:{width}}  {row.value:8.3f}  {spread:>13}  {limit:7}  {verdict:4}  {row.note or text}")

    def write_json(self, path):
        rows = []
        for row in self.rows:
            kind, bound, text = FIGURES.get(row.name, (None, None, ""))
            rows.append({"name": row.name, "value": row.value, "samples": row.samples, "bound_kind": kind,
                         "bound": bound, "ok": row.verdict(), "meaning": row.note or text})
        with open(path, "w", encoding="utf-8") as file:
            json.dump({"facts": self.facts, "figures": rows}, file, indent=2)
            file.write("\n")
