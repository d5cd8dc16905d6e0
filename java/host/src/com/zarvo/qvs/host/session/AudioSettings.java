package com.zarvo.qvs.host.session;

import com.zarvo.qvs.host.media.AudioStreamInfo;
import com.zarvo.qvs.host.model.AudioConversion;
import com.zarvo.qvs.host.model.AudioSpec;
import java.util.List;

/**
 * What a session is to do with sound.
 *
 * @param renditions may be empty: the session then only decodes
 */
public record AudioSettings(AudioStreamInfo source, AudioConversion conversion, List<AudioSpec> renditions) {}
