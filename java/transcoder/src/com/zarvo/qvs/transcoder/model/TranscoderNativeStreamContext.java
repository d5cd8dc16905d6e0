package com.zarvo.qvs.transcoder.model;

/** The names of a stream; null fields are left as they are in the library. */
public class TranscoderNativeStreamContext {
  /** Virtual host. */
  public String vhost;

  /** Application. */
  public String appName;

  /** Application instance. */
  public String appInstanceName;

  /** Stream name without rendition. */
  public String streamNameBase;

  /** Stream name. */
  public String streamName;

  /** Rendition. */
  public String renditionName;

  /** Free text of the session. */
  public String sessionExtraDataStr;

  /** Free text of the rendition. */
  public String renditionExtraDataStr;
}
