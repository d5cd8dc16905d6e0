package com.zarvo.qvs.transcoder.model;

import com.zarvo.qvs.transcoder.capture.TranscoderCaptureDeviceAncillaryDataFilter;
import com.zarvo.qvs.transcoder.capture.TranscoderCaptureDeviceAudioCaptureParams;
import com.zarvo.qvs.transcoder.capture.TranscoderCaptureDeviceAudioChannelMap;
import com.zarvo.qvs.transcoder.capture.TranscoderCaptureDeviceAudioLevelData;
import com.zarvo.qvs.transcoder.capture.TranscoderCaptureDeviceAudioLevelDataAllChannel;
import com.zarvo.qvs.transcoder.capture.TranscoderCaptureDeviceAudioLevelDataList;
import com.zarvo.qvs.transcoder.capture.TranscoderCaptureDeviceAudioLevelParams;
import com.zarvo.qvs.transcoder.capture.TranscoderCaptureDeviceInfo;
import com.zarvo.qvs.transcoder.capture.TranscoderCaptureDeviceOverlayInfo;
import com.zarvo.qvs.transcoder.capture.TranscoderCaptureDeviceSessionInfo;
import com.zarvo.qvs.transcoder.capture.TranscoderCaptureDeviceStateInfo;
import com.zarvo.qvs.transcoder.capture.TranscoderCaptureDeviceVideoCaptureInput;
import com.zarvo.qvs.transcoder.capture.TranscoderCaptureDeviceVideoCaptureParams;
import com.zarvo.qvs.transcoder.capture.TranscoderCaptureDeviceVideoCaptureTarget;
import com.zarvo.qvs.transcoder.thumbnailer.ThumbnailerRequest;
import com.zarvo.qvs.transcoder.thumbnailer.ThumbnailerResponse;
import java.nio.file.Path;
import java.util.List;

/**
 * The native transcoder. All calls are plain functions: a session is named by the number that {@code createInstance}
 * gave. A number that no session has, or has any more, is refused from any thread: -1 and a line in the process's log.
 *
 * <p>Results are 0 for success. A failure inside the session comes back as 4294967295, a failure of the call itself as
 * -1: test for non-zero. Each failure is told in the session's log, one that comes again and again each time its count
 * has doubled. Nothing is thrown. Calls on the video side of one session must not overlap, nor those on its
 * audio side; the two sides may run on two threads.
 */
public final class TranscoderSessionNative {
  private TranscoderSessionNative() {}

  /** Loads the library from a file; throws {@link UnsatisfiedLinkError} when it can't be loaded. */
  public static void load(Path library) {
    System.load(library.toAbsolutePath().toString());
  }

  // Library and sessions

  /** Once per process, after {@link #setNativeLibPath}. Gives 0. */
  public static native long nativeInitialize();

  /** Does nothing; gives 0. */
  public static native long nativeShutdown();

  /**
   * Folder of run-time libraries: index 0 plug-ins, 1 QuickSync, 2 VAAPI. Paths of 512 bytes or more are
   * dropped. Gives 0.
   */
  public static native long setNativeLibPath(long pathIndex, String nativePath);

  /** Report of the machine's hardware as JSON. Gives 0. */
  public static native long getHardwareInfoJSON(TranscoderNativeString jsonObj);

  /** Makes a session; its handle, 0 when memory failed. */
  public static native long createInstance();

  /** Makes a session of the named stream; its handle, 0 when memory failed. */
  public static native long createInstance(TranscoderNativeStreamContext nativeMediaStreamContext);

  /** Takes paths and hardware into the session; call before any stage is made. Gives 0. */
  public static native long initInstance(long classPtr);

  /** Ends the session, or leaves that to the last call at work on it; the handle is dead at once. Gives 0. */
  public static native long destroyInstance(long classPtr);

  /** Takes the video side down; the session stays. */
  public static native long resetPipeline(long classPtr);

  /** Appends the waiting lines, the process-wide ones first. Handle 0 fetches those alone. */
  public static native long getLogStatements(long classPtr, List<TranscoderLogStatement> logStatements);

  // Video decoder

  /** Makes the decoder, replacing an earlier one. decoderType 1 reads a capture device. */
  public static native long videoDecoderCreate(
      long classPtr, long decoderType, long codec, long codecVersion, long bitDepth, long implementation,
      long fourcc, TranscoderNativeStreamContext nativeMediaStreamContext);

  /** Sizes the pool of decoded pictures; after the scaler is configured. */
  public static native long videoDecoderBuffersCreate(long classPtr, long count);

  /**
   * Takes a free picture: its index, -1 when all are taken. Give it back with {@link
   * #videoDecoderBufferRelease}.
   */
  public static native long videoDecoderBufferAllocate(long classPtr);

  /** Adds one reference to a picture. */
  public static native long videoDecoderBufferAcquire(long classPtr, long decoderBufferIndex);

  /** Drops one reference; the last returns the picture to the pool. */
  public static native long videoDecoderBufferRelease(long classPtr, long decoderBufferIndex);

  /** Reads a decoded picture as BGRA, in the object's width and height or, where they are 0, its own. */
  public static native long videoDecoderBufferGetVideoFrame(
      long classPtr, long decoderBufferSetIndex, TranscoderNativeVideoFrame nativeVideoFrame);

  /** Sets an overlay of all pictures, null clears it. Gives 0. */
  public static native long videoDecoderBufferSetOverlayVideoFrame(
      long classPtr, long overlayIndex, TranscoderNativeVideoFrame nativeVideoFrame);

  /** GPU to decode on, -1 for any. */
  public static native long videoDecoderSetGPUID(long classPtr, long gpuid);

  /** Capture device to read. */
  public static native long videoDecoderSetCaptureDevice(long classPtr, long deviceId);

  /** Figures of a capturing decoder. */
  public static native long videoDecoderGetCaptureInfo(
      long classPtr, TranscoderNativeVideoDecoderCaptureInfo videoDecoderCaptureInfo);

  /** Turns parameter values into settings; not while a frame is in work. */
  public static native long videoDecoderApplyParameters(long classPtr);

  /** Sends values by key; unknown keys are ignored. */
  public static native long videoDecoderSetParameterValues(
      long classPtr, TranscoderNativeParameterValue[] parametersArr);

  /** Fills in type and value by {@code settingIndex}; unknown keys stay as they are. */
  public static native long videoDecoderGetParameterValues(
      long classPtr, TranscoderNativeParameterValue[] parametersArr);

  /** Opens the decoder. */
  public static native long videoDecoderInitialize(long classPtr);

  /** Hands over codec configuration, empty for codecs without; the first call sizes the pool. */
  public static native long videoDecoderDecodeCodecConfig(
      long classPtr, byte[] buffer, long offset, long len);

  /**
   * Queues one coded frame; it is copied. timecode in milliseconds, frameType 1 key, 2 inter, 3 disposable.
   */
  public static native long videoDecoderAddFrame(
      long classPtr, byte[] buffer, long offset, long len, long timecode, long frameType);

  /**
   * One decode step into a taken picture. Status bits: 1 input used up, 2 a step ran, 4 picture available, 8
   * not complete, 16 with errors, 32 new sequence header, 64 failed. timecode in milliseconds.
   */
  public static native long videoDecoderDecode(
      long classPtr, long decoderBufferIndex, TranscoderNativeLong decodeStatusObj,
      TranscoderNativeLong timecodeObj, TranscoderNativeVideoDecodeFrameInfo frameInfoObj);

  /** Fetches the decoder's picture without another step. */
  public static native long videoDecoderGetFrame(
      long classPtr, long decoderBufferIndex, TranscoderNativeLong timecodeObj);

  /** Scales a picture into one target; encoderIndex names both the set and the encoder. */
  public static native long videoDecoderTransferFrameSingle(
      long classPtr, long decoderFrameIndex, long encoderFrameIndex, long encoderIndex);

  /** Prepares a picture for its targets, the i-th index in set i. */
  public static native long videoDecoderTransferFrameStart(
      long classPtr, long decoderBufferIndex, long[] encoderBufferIndexes);

  /** Limits of decoded sizes in pixels; 0 switches a test off. */
  public static native long videoDecoderSetFrameSizeLimits(
      long classPtr, long decoderFrameSizeWidthMax, long decoderFrameSizeHeightMax,
      long decoderFrameSizeWidthMin, long decoderFrameSizeHeightMin);

  // Video scaler

  /** Format of the scaler. Gives 0. */
  public static native long videoScalerCreate(long classPtr, long fourcc, long bitDepth);

  /** 1 CPU, 100 CUDA, 500 U30. Gives 0. */
  public static native long videoScalerSetImplementation(long classPtr, long implementation, long gpuid);

  /** Scale flags of the session. */
  public static native long videoScalerSetFlags(long classPtr, long flags);

  /** Source of a scaler that makes all renditions at once; -1 for the others. */
  public static native long videoScalerSetSource(long classPtr, long width, long height, double frameRate);

  /** One rendition of such a scaler; -1 for the others. */
  public static native long videoScalerAddScaling(
      long classPtr, long width, long height, double frameRate, long scaleIndex, boolean stableFramerate);

  /** Opens the scaler. */
  public static native long videoScalerInitialize(long classPtr);

  /**
   * Scales into all targets at once, at most 8. Status: 1 source consumed, 2 frames made, of the oldest source that has not
   * come out yet, 4 source lost. Source -1: none, what is still inside comes out.
   */
  public static native long videoScalerScaleFrame(
      long classPtr, long decodeIndex, long[] encoderBufferIndexes, long encoderCount,
      TranscoderNativeLong scalerStatus);

  /** The scaler may forget a source picture. */
  public static native long videoScalerFreeFrame(long classPtr, long decodeFrameIndex);

  // Video encoder

  /** Pictures that each set made from here on holds. */
  public static native long videoEncoderBufferSetsCreate(long classPtr, long setCount);

  /** Makes a set of target pictures; its index goes to the holder. */
  public static native long videoEncoderBufferSetAlloc(long classPtr, TranscoderNativeLong indexBuffer);

  /**
   * Sizes the pictures of set indexBuffer; an encoder must name that set first with {@link
   * #videoEncoderSetFrameIndex}.
   */
  public static native long videoEncoderBufferAdd(
      long classPtr, long width, long height, long fitMode, long fourcc, long scaleMode, long indexBuffer);

  /** Takes a free target picture: its index, -1 when all are taken. */
  public static native long videoEncoderBufferAllocate(long classPtr, long encoderBufferSetIndex);

  /** Adds one reference to a target picture. */
  public static native long videoEncoderBufferAcquire(
      long classPtr, long encoderBufferSetIndex, long encoderBufferIndex);

  /** Drops one reference. */
  public static native long videoEncoderBufferRelease(
      long classPtr, long encoderBufferSetIndex, long encoderBufferIndex);

  /** Reads a target picture as BGRA. */
  public static native long videoEncoderBufferGetVideoFrame(
      long classPtr, long encoderBufferSetIndex, long encoderBufferIndex,
      TranscoderNativeVideoFrame nativeVideoFrame);

  /** Sets an overlay of one set, null clears it. Gives 0. */
  public static native long videoEncoderBufferSetOverlayVideoFrame(
      long classPtr, long encoderBufferSetIndex, long overlayIndex,
      TranscoderNativeVideoFrame nativeVideoFrame);

  /** Crop of the source: left, right, top, bottom in pixels; null or empty clears it. Gives 0. */
  public static native long videoEncoderBufferSetCrop(long classPtr, long encoderBufferSetIndex, long[] rect);

  /** Part of the source that is used: x, y, width, height in pixels; null or empty clears it. Gives 0. */
  public static native long videoEncoderBufferSetSourceRect(
      long classPtr, long encoderBufferSetIndex, long[] rect);

  /** Room around the picture: left, right, top, bottom in pixels; null or empty clears it. Gives 0. */
  public static native long videoEncoderBufferSetPadding(
      long classPtr, long encoderBufferSetIndex, long[] rect);

  /** Where the picture goes: x, y, width, height in pixels; null or empty clears it. Gives 0. */
  public static native long videoEncoderBufferSetDestinationRect(
      long classPtr, long encoderBufferSetIndex, long[] rect);

  /**
   * Makes an encoder. The holder names the slot to replace, negative to append; it receives the true index.
   */
  public static native long videoEncoderAdd(
      long classPtr, long codec, long codecVersion, long bitDepth, long fourcc, long implementation,
      TranscoderNativeStreamContext nativeMediaStreamContext, TranscoderNativeLong indexEncoder);

  /** Default settings of the back end. */
  public static native long videoEncoderSetDefaults(
      long classPtr, long indexEncoder, long video_type, long PAL);

  /** Bits per second, while encoding. */
  public static native long videoEncoderUpdateBitrate(long classPtr, long indexEncoder, long bitrate);

  /** Bits per second, before {@link #videoEncoderInitialize}. */
  public static native long videoEncoderSetBitrate(long classPtr, long indexEncoder, long bitrate);

  /** Set that the encoder reads. */
  public static native long videoEncoderSetFrameIndex(long classPtr, long indexEncoder, long frameIndex);

  /** Non-zero: key frames of the input become key frames of the output. */
  public static native long videoEncoderSetKeyFrameFollow(
      long classPtr, long indexEncoder, long keyFrameFollow);

  /** GPU to encode on, -1 for any. */
  public static native long videoEncoderSetGPUID(long classPtr, long indexEncoder, long gpuid);

  /** Pixels. */
  public static native long videoEncoderSetFrameSize(
      long classPtr, long indexEncoder, long width, long height);

  /** Frames per second. */
  public static native long videoEncoderSetFrameRate(long classPtr, long indexEncoder, double frameRate);

  /** Turns parameter values into settings. */
  public static native long videoEncoderApplyParameters(long classPtr, long indexEncoder);

  /** Sends values by key. */
  public static native long videoEncoderSetParameterValues(
      long classPtr, long indexEncoder, TranscoderNativeParameterValue[] parametersArr);

  /** Fills in type and value by {@code settingIndex}. */
  public static native long videoEncoderGetParameterValues(
      long classPtr, long indexEncoder, TranscoderNativeParameterValue[] parametersArr);

  /** Opens the encoder. */
  public static native long videoEncoderInitialize(long classPtr, long indexEncoder);

  /** Does nothing; gives 0. */
  public static native long videoEncoderPreprocessFrame(
      long classPtr, long indexEncoder, long setIndex, long indexBuffer);

  /**
   * Encodes a target picture. timecode in milliseconds; frameType 1 asks for a key frame. The number in the
   * place of setIndex selects the picture within the set, the one in the place of indexBuffer the set.
   */
  public static native long videoEncoderAddFrame(
      long classPtr, long indexEncoder, long setIndex, long indexBuffer, long frameType, long timecode);

  /**
   * The picture will not be encoded. The number in the place of setIndex selects the picture within the set,
   * the one in the place of indexBuffer the set.
   */
  public static native long videoEncoderSkipFrame(
      long classPtr, long indexEncoder, long setIndex, long indexBuffer, long frameType, long timecode);

  /** Appends the packets that are ready. */
  public static native long videoEncoderGetEncodedFrames(
      long classPtr, long indexEncoder, List<TranscoderPacket> encodedFrames);

  // Audio decoder

  /** Makes the decoder. decoderType 1 reads a capture device. */
  public static native long audioDecoderCreate(
      long classPtr, long decoderType, long codec, long implementation,
      TranscoderNativeStreamContext nativeMediaStreamContext);

  /** Turns parameter values into settings. */
  public static native long audioDecoderApplyParameters(long classPtr);

  /** Capture device to read. */
  public static native long audioDecoderSetCaptureDevice(long classPtr, long deviceId);

  /** Sends values by key. */
  public static native long audioDecoderSetParameterValues(
      long classPtr, TranscoderNativeParameterValue[] parametersArr);

  /** Fills in type and value by {@code settingIndex}. */
  public static native long audioDecoderGetParameterValues(
      long classPtr, TranscoderNativeParameterValue[] parametersArr);

  /** Opens the decoder. */
  public static native long audioDecoderInitialize(long classPtr);

  /** 1 when channels and rate are known. */
  public static native long audioDecoderIsFirstFrameDecoded(long classPtr);

  /** Forgets the timecode state. */
  public static native long audioDecoderResetDecodedFrameState(long classPtr);

  /** Makes the pool of sample blocks. */
  public static native long audioDecoderBuffersCreate(long classPtr, long count);

  /** Sizes the blocks of the pool. */
  public static native long audioDecoderBuffersAllocate(
      long classPtr, long sampleCount, long channels, long sampleRate);

  /** Samples per second. */
  public static native long audioDecoderGetSampleRate(long classPtr, TranscoderNativeLong sampleRateObj);

  /** Channel count. */
  public static native long audioDecoderGetChannels(long classPtr, TranscoderNativeLong channelsObj);

  /** Converts every decoded block. */
  public static native long audioDecoderAddAudioResampler(
      long classPtr, TranscoderNativeAudioResamplerParameters resamplerParametersObj);

  /** Hands over codec configuration. */
  public static native long audioDecoderDecodeCodecConfig(
      long classPtr, byte[] buffer, long offset, long len);

  /** Learns channels and rate from the first frame. */
  public static native long audioDecoderDecodeFirstFrame(long classPtr, byte[] buffer, long offset, long len);

  /** Decodes one frame into a block. timecode in milliseconds. */
  public static native long audioDecoderDecodeFrame(
      long classPtr, byte[] buffer, long offset, long len, long timecode, long indexBuffer);

  /** Converts a block in place. */
  public static native long audioDecoderResampleFrame(long classPtr, long timecode, long indexBuffer);

  /** Reads a block's samples. */
  public static native long audioDecoderGetAudioFrame(
      long classPtr, long indexBuffer, TranscoderNativeAudioFrame nativeAudioFrameObj);

  /** Writes a block's samples; format and count must be the block's. */
  public static native long audioDecoderUpdateAudioFrame(
      long classPtr, long indexBuffer, TranscoderNativeAudioFrame nativeAudioFrameObj);

  /** Takes one block from the capture device. */
  public static native long audioDecoderCaptureFrame(
      long classPtr, long indexBuffer, TranscoderNativeLong decodeStatusObj,
      TranscoderNativeLong timecodeObj);

  // Audio encoder

  /** Makes an encoder; its index goes to the holder. */
  public static native long audioEncoderAdd(
      long classPtr, long codec, long implementation, TranscoderNativeStreamContext nativeMediaStreamContext,
      TranscoderNativeLong indexEncoder);

  /** Samples per second. */
  public static native long audioEncoderSetSampleRate(long classPtr, long indexEncoder, long sampleRate);

  /** Channel count. */
  public static native long audioEncoderSetChannels(long classPtr, long indexEncoder, long channels);

  /** Quality of variable bit rate. */
  public static native long audioEncoderSetQuality(long classPtr, long indexEncoder, double quality);

  /** Bits per second. */
  public static native long audioEncoderSetBitrate(long classPtr, long indexEncoder, long bitrate);

  /** Turns parameter values into settings. */
  public static native long audioEncoderApplyParameters(long classPtr, long indexEncoder);

  /** Sends values by key. */
  public static native long audioEncoderSetParameterValues(
      long classPtr, long indexEncoder, TranscoderNativeParameterValue[] parametersArr);

  /** Fills in type and value by {@code settingIndex}. */
  public static native long audioEncoderGetParameterValues(
      long classPtr, long indexEncoder, TranscoderNativeParameterValue[] parametersArr);

  /** Opens the encoder. */
  public static native long audioEncoderInitialize(long classPtr, long indexEncoder);

  /** Appends the stream's headers. */
  public static native long audioEncoderGetHeaders(
      long classPtr, long indexEncoder, List<TranscoderPacket> encodedFrames);

  /** Encodes the pending copy and appends the packets that are ready. */
  public static native long audioEncoderAddSampleBuffer(
      long classPtr, long indexEncoder, long indexBuffer, List<TranscoderPacket> encodedFrames);

  /** Converts every block of this encoder. */
  public static native long audioEncoderAddAudioResampler(
      long classPtr, long indexEncoder, TranscoderNativeAudioResamplerParameters resamplerParametersObj);

  /** Copies a decoded block for this encoder. */
  public static native long audioEncoderEncodeBufferStart(long classPtr, long indexEncoder, long indexBuffer);

  /** Drops a copy that was not encoded. */
  public static native long audioEncoderEncodeBufferDone(long classPtr, long indexEncoder, long indexBuffer);

  /** Reads the pending copy's samples. */
  public static native long audioEncoderGetAudioFrame(
      long classPtr, long indexEncoder, long indexBuffer, TranscoderNativeAudioFrame nativeAudioFrameObj);

  /** Writes the pending copy's samples. */
  public static native long audioEncoderUpdateAudioFrame(
      long classPtr, long indexEncoder, long indexBuffer, TranscoderNativeAudioFrame nativeAudioFrameObj);

  /** Converts the pending copy. */
  public static native long audioEncoderResampleFrame(long classPtr, long indexEncoder, long indexBuffer);

  // Off-line work

  /** Makes one still picture of a run of packets. */
  public static native long thumbnailerGetVideoFrame(
      long classPtr, ThumbnailerRequest request, ThumbnailerResponse response);

  /** Transcodes a batch of stored H.264 packets. */
  public static native long vodTranscoderTranscodeFrames(
      long classPtr, TranscoderNativeVODTranscoderSettings settings, TranscoderPacket[] decodedFrames,
      List<TranscoderPacket> encodedFrames);

  /** The configuration packet of the encoder of such a batch. */
  public static native long vodTranscoderGetCodecConfig(
      long classPtr, TranscoderNativeVODTranscoderSettings settings, TranscoderPacket codecConfigFrame);

  /** Unfinished hook; gives -1. */
  public static native long vodEncoderRun(long classPtr);

  // Capture; -1 without a capture manager, -2 without the device

  /** Starts the capture side. */
  public static native long captureManagerInit();

  /** Folder of capture directories, index 0 to 3. */
  public static native long captureManagerSetPath(long pathIndex, String nativePath);

  /** Looks for devices; once. */
  public static native long captureManagerInspectHardware();

  /** Report of the devices as JSON. */
  public static native long captureManagerGetHardwareInfoJSON(TranscoderNativeString jsonObj);

  /** The device ids. */
  public static native long captureManagerGetDeviceIds(TranscoderNativeIntArray ids);

  /** Stops all devices. */
  public static native long captureManagerShutdown();

  /** What the device is. */
  public static native long captureDeviceGetInfo(long deviceId, TranscoderCaptureDeviceInfo info);

  /** Running figures. */
  public static native long captureDeviceGetSessionInfo(
      long deviceId, TranscoderCaptureDeviceSessionInfo sessionInfo);

  /** Starts or stops the device. */
  public static native long captureDeviceSetActiveState(
      long deviceId, TranscoderCaptureDeviceStateInfo stateInfo);

  /** Aligns timecodes with the clock anew. */
  public static native long captureDeviceResetTimecodeSyncToWallClock(long deviceId);

  /** Picture lines that are searched for ancillary packets. */
  public static native long captureDeviceSetAncillaryDataLineNumberRange(
      long deviceId, long start, long mid1, long mid2, long stop);

  /** Which ancillary packets are kept. */
  public static native long captureDeviceAddAncillaryDataFilter(
      long deviceId, TranscoderCaptureDeviceAncillaryDataFilter filter);

  /** What pictures are turned into. */
  public static native long captureDeviceSetVideoCaptureTarget(
      long deviceId, TranscoderCaptureDeviceVideoCaptureTarget target);

  /** What pictures are turned into. */
  public static native long captureDeviceGetVideoCaptureTarget(
      long deviceId, TranscoderCaptureDeviceVideoCaptureTarget target);

  /** Opens a parameter session. */
  public static native long captureDeviceStartSessionParameterValues(
      long deviceId, TranscoderNativeLong sessionIdObj);

  /** Closes a parameter session. */
  public static native long captureDeviceEndSessionParameterValues(long deviceId, long sessionId);

  /** Sends values by key. */
  public static native long captureDeviceSetParameterValues(
      long deviceId, long sessionId, TranscoderNativeParameterValue[] parametersArr);

  /** Fills in type and value by {@code settingIndex}. */
  public static native long captureDeviceGetParameterValues(
      long deviceId, long sessionId, TranscoderNativeParameterValue[] parametersArr);

  /** Stores the values in the device. */
  public static native long captureDeviceSaveParameterValues(long deviceId, long sessionId);

  /** How video is captured. */
  public static native long captureDeviceSetVideoCaptureParams(
      long deviceId, TranscoderCaptureDeviceVideoCaptureParams params);

  /** The newest picture as BGRA. */
  public static native long captureDeviceGetVideoFrame(
      long deviceId, TranscoderNativeVideoFrame nativeVideoFrame);

  /** Selects the video input. */
  public static native long captureDeviceSetVideoCaptureInput(
      long deviceId, TranscoderCaptureDeviceVideoCaptureInput input);

  /** The video inputs. */
  public static native long captureDeviceGetVideoCaptureInput(
      long deviceId, TranscoderCaptureDeviceVideoCaptureInput input);

  /** How audio is captured. */
  public static native long captureDeviceSetAudioCaptureParams(
      long deviceId, TranscoderCaptureDeviceAudioCaptureParams params);

  /** How levels are measured. */
  public static native long captureDeviceSetAudioLevelParams(
      long deviceId, TranscoderCaptureDeviceAudioLevelParams params);

  /** The levels kept. */
  public static native long captureDeviceGetAudioLevelData(
      long deviceId, TranscoderCaptureDeviceAudioLevelDataList levels);

  /** The last levels. */
  public static native long captureDeviceGetAudioLevelDataLast(
      long deviceId, TranscoderCaptureDeviceAudioLevelData level);

  /** The last levels of every channel. */
  public static native long captureDeviceGetAudioAllLevelDataLast(
      long deviceId, List<TranscoderCaptureDeviceAudioLevelDataAllChannel> levels);

  /** Volume, percent. */
  public static native long captureDeviceSetAudioVolume(long deviceId, long volume);

  /** Channels that are delivered. */
  public static native long captureDeviceSetAudioChannelMap(
      long deviceId, TranscoderCaptureDeviceAudioChannelMap map);

  /** Channels that are delivered. */
  public static native long captureDeviceGetAudioChannelMap(
      long deviceId, TranscoderCaptureDeviceAudioChannelMap map);

  /** Overlay of the service. */
  public static native long captureDeviceSetOverlayInfo(
      long deviceId, TranscoderCaptureDeviceOverlayInfo info);
}
