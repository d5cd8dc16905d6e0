package com.zarvo.qvs.host.vod;

/** What a worker tells of a task that it could not do. */
record Failure(String machine, long pid, String error) {}
