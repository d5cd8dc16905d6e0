package com.zarvo.qvs.host.vod;

/** How far a worker is with a task. */
record Step(String machine, long pid, long doneMs, long pictures) {}
