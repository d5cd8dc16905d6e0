package com.zarvo.qvs.api;

import com.zarvo.qvs.host.model.FitMode;

/** How a picture is laid into a rung of another aspect. */
public enum Fit {
  /** Whole picture, bars where it leaves room. */
  LETTERBOX(FitMode.LETTERBOX),
  /** Whole picture, aspect given up. */
  STRETCH(FitMode.STRETCH),
  /** Whole rung, picture cut at two edges. */
  FILL(FitMode.FILL);

  final FitMode own;

  Fit(FitMode own) {
    this.own = own;
  }
}
