package com.zarvo.qvs.host.vod;

import java.util.List;

/**
 * What a worker tells of a task that it finished.
 *
 * @param run the manifest's
 * @param bufferPercent the chunk's beginning, which the controller may have changed since
 * @param sum of the file of packets
 * @param pictures of the input that were decoded
 * @param coded pictures of each rendition
 * @param encoders what made each rendition
 * @param leftOut why there is no sound, null where there is
 * @param audioDecoder what decoded the sound, null for pictures
 * @param restarts how often a queue began it anew by itself
 * @param log lines that tell of trouble
 */
record TaskResult(
    String run,
    int task,
    List<Integer> bufferPercent,
    String sum,
    long bytes,
    long pictures,
    long damagedPictures,
    long damagedAudioPackets,
    List<Long> coded,
    List<String> encoders,
    List<RateBuffer.Facts> buffers,
    String leftOut,
    String machine,
    long pid,
    int restarts,
    double wallSeconds,
    double cpuSeconds,
    List<String> log) {}
