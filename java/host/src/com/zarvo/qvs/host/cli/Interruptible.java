package com.zarvo.qvs.host.cli;

import com.zarvo.qvs.host.media.Interruption;

/** What starts commands, as they see it. */
interface Interruptible {
  /** Lets a signal end the running command in order: the command has to look for it from now on. */
  Interruption listenToSignals();
}
