package com.zarvo.qvs.transcoder.model;

/** Lacks "value". */
public class TranscoderNativeLong {}
