package com.zarvo.qvs.host;

import java.util.List;

/**
 * What a session is to do with sound.
 *
 * @param renditions may be empty: the session then only decodes
 */
record AudioSettings(AudioStreamInfo source, AudioConversion conversion, List<AudioSpec> renditions) {}
