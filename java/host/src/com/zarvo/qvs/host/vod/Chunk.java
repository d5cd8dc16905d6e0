package com.zarvo.qvs.host.vod;

import java.util.List;

/**
 * A part of the pictures of an input, from one key picture to another. Two chunks share no picture; where pictures are
 * coded behind the next chunk's key and shown before it, they are this one's, which then decodes that key too.
 *
 * @param fromPts the first picture's time, in units of the stream
 * @param toPts the next chunk's
 * @param decodePts the key picture with which decoding begins: the first picture, or one before where fields are merged with
 *     what went before
 * @param packets to be decoded, counted from that one on in the order of the file
 * @param sum over their times and lengths
 * @param pictures that are shown
 * @param dueMs of each rendition with a frame rate of its own: when its next picture is due; NaN for the first of all
 */
record Chunk(
    int number, long decodePts, long fromPts, long toPts, int packets, long sum, int pictures, List<Double> dueMs) {}
