package com.zarvo.qvs.host.vod;

import com.zarvo.qvs.host.job.JobSettings;
import java.util.List;

/**
 * How a run is to go about it.
 *
 * @param job what is to be made
 * @param arguments the options from which workers make the same
 * @param chunkSeconds length that chunks are to have
 * @param workers processes on this machine
 * @param slurm null for processes on this machine
 * @param tries of a task until the run fails
 * @param resume true to go on with what is there
 * @param anew true to drop it
 * @param keep true to leave the work folder where it is at the end
 * @param workerCommand what starts a worker
 */
public record VodSettings(
    JobSettings job,
    List<String> arguments,
    double chunkSeconds,
    int workers,
    Slurm slurm,
    int tries,
    boolean resume,
    boolean anew,
    boolean keep,
    List<String> workerCommand) {

  /**
   * How the queue is to be used.
   *
   * @param partition null for the usual one
   * @param options further ones of sbatch
   * @param batch chunks that one of its tasks takes
   * @param patienceSeconds how long it may not answer
   */
  public record Slurm(String partition, List<String> options, int batch, int patienceSeconds) {}
}
