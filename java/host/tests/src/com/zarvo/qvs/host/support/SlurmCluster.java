package com.zarvo.qvs.host.support;

import java.io.IOException;
import java.net.InetAddress;
import java.net.ServerSocket;
import java.nio.charset.StandardCharsets;
import java.nio.file.DirectoryStream;
import java.nio.file.Files;
import java.nio.file.Path;
import java.nio.file.attribute.PosixFilePermissions;
import java.security.SecureRandom;
import java.util.ArrayList;
import java.util.List;
import java.util.concurrent.TimeUnit;

/** A Slurm cluster of this machine alone, in a folder of its own: nodes of one core, on ports that are free. */
public final class SlurmCluster implements AutoCloseable {
  private static final String[] PROGRAMS = {"munged", "slurmctld", "slurmd"};
  private static final long PATIENCE_MS = 60_000;
  private static final String SETTINGS =
      """
      ClusterName=qvs
      SlurmctldHost=@HOST@(127.0.0.1)
      SlurmUser=root
      SlurmdUser=root
      AuthType=auth/munge
      CredType=cred/munge
      AuthInfo=socket=@BASE@/run/munge.socket,cred_expire=5
      CommunicationParameters=NoCtldInAddrAny,NoInAddrAny
      StateSaveLocation=@BASE@/state
      SlurmdSpoolDir=@BASE@/spool/%n
      SlurmctldPidFile=@BASE@/run/slurmctld.pid
      SlurmdPidFile=@BASE@/run/slurmd-%n.pid
      SlurmctldLogFile=@BASE@/log/slurmctld.log
      SlurmdLogFile=@BASE@/log/slurmd-%n.log
      PlugStackConfig=@BASE@/plugstack.conf
      ProctrackType=proctrack/linuxproc
      TaskPlugin=task/none
      SwitchType=switch/none
      MpiDefault=none
      JobAcctGatherType=jobacct_gather/none
      AccountingStorageType=accounting_storage/none
      JobCompType=jobcomp/none
      SchedulerType=sched/backfill
      SelectType=select/cons_tres
      SelectTypeParameters=CR_Core
      SlurmdParameters=config_overrides
      Epilog=/bin/true
      SchedulerParameters=batch_sched_delay=0,sched_interval=1,bf_interval=1
      ReturnToService=2
      SlurmdTimeout=5
      MessageTimeout=3
      BatchStartTimeout=5
      KillWait=2
      """;

  private final Path base;
  private final int nodes;

  private SlurmCluster(Path base, int nodes) {
    this.base = base;
    this.nodes = nodes;
  }

  /** Why there can be none here; null where there can. */
  public static String lacking() throws Exception {
    if (!System.getProperty("user.name").equals("root")) return "no Slurm cluster: its daemons want to be root";
    for (String program : PROGRAMS)
      if (!Files.isExecutable(Path.of("/usr/sbin", program))) return "no Slurm cluster: /usr/sbin/" + program + " is missing";
    return null;
  }

  /** Starts it, and waits until all nodes are idle. */
  public static SlurmCluster start(Path base, int nodes) throws Exception {
    SlurmCluster cluster = new SlurmCluster(base, nodes);
    boolean ready = false;
    try {
      cluster.start();
      ready = true;
    } finally {
      if (!ready) cluster.close();
    }
    return cluster;
  }

  private void start() throws Exception {
    for (String name : new String[] {"state", "run", "log"}) Files.createDirectories(base.resolve(name));
    Files.setPosixFilePermissions(base, PosixFilePermissions.fromString("rwxr-xr-x"));
    byte[] key = new byte[1024];
    new SecureRandom().nextBytes(key);
    Path keyFile = Files.write(base.resolve("munge.key"), key);
    Files.setPosixFilePermissions(keyFile, PosixFilePermissions.fromString("rw-------"));
    Files.createFile(base.resolve("plugstack.conf"));
    Files.writeString(config(), settings());
    Clips.run(
        "/usr/sbin/munged", "--force", "--key-file=" + keyFile, "--socket=" + base.resolve("run/munge.socket"),
        "--pid-file=" + base.resolve("run/munged.pid"), "--log-file=" + base.resolve("log/munged.log"),
        "--seed-file=" + base.resolve("run/munge.seed"));
    Clips.run("/usr/sbin/slurmctld", "-f", config().toString());
    for (int i = 1; i <= nodes; i++) {
      Files.createDirectories(base.resolve("spool/n" + i));
      Clips.run("/usr/sbin/slurmd", "-f", config().toString(), "-N", "n" + i);
    }
    for (long end = System.currentTimeMillis() + PATIENCE_MS; idle() < nodes; Thread.sleep(100))
      if (System.currentTimeMillis() > end) throw new IOException("the nodes do not become idle");
  }

  private String settings() throws IOException {
    List<ServerSocket> held = new ArrayList<>();
    StringBuilder text = new StringBuilder(SETTINGS);
    for (int i = 0; i <= nodes + 1; i++) held.add(new ServerSocket(0, 1, InetAddress.getLoopbackAddress()));
    String host = Files.readString(Path.of("/proc/sys/kernel/hostname")).strip().split("\\.")[0];
    text.append("SlurmctldPort=").append(held.get(0).getLocalPort()).append('\n');
    text.append("SlurmdPort=").append(held.get(1).getLocalPort()).append('\n');
    for (int i = 1; i <= nodes; i++)
      text.append("NodeName=n").append(i).append(" NodeHostname=HOST NodeAddr=127.0.0.1 Port=")
          .append(held.get(i + 1).getLocalPort())
          .append(" CPUs=1 Boards=1 SocketsPerBoard=1 CoresPerSocket=1 ThreadsPerCore=1 RealMemory=1000 State=UNKNOWN\n");
    text.append("PartitionName=main Nodes=n[1-").append(nodes).append("] Default=YES MaxTime=60 State=UP\n");
    for (ServerSocket socket : held) socket.close();
    return text.toString().replace("@BASE@", base.toString()).replace("@HOST@", host);
  }

  private int idle() throws Exception {
    ProcessBuilder sinfo = new ProcessBuilder("sinfo", "-h", "-N", "-t", "idle", "-o", "%N").redirectErrorStream(true);
    sinfo.environment().put("SLURM_CONF", config().toString());
    Process process = sinfo.start();
    String said = new String(process.getInputStream().readAllBytes(), StandardCharsets.UTF_8);
    return process.waitFor() == 0 ? (int) said.lines().count() : 0;
  }

  /** What its commands have to find in SLURM_CONF. */
  public Path config() {
    return base.resolve("slurm.conf");
  }

  /** Processes that a node has begun for jobs. */
  public List<Long> tasksOf(String node) throws IOException {
    List<Long> found = new ArrayList<>();
    try (DirectoryStream<Path> processes = Files.newDirectoryStream(Path.of("/proc"), "[0-9]*")) {
      for (Path process : processes) {
        String environment = read(process.resolve("environ"));
        if (environment.contains("SLURMD_NODENAME=" + node + "\0") && environment.contains(base.toString()))
          found.add(Long.parseLong(process.getFileName().toString()));
      }
    }
    return found;
  }

  // By hand: what the machine tells of all processes at once is more than a checked native call may hold.
  private static String read(Path file) {
    try {
      return Files.readString(file, StandardCharsets.ISO_8859_1);
    } catch (IOException e) {
      return "";
    }
  }

  /** A node dies: its daemon, those of its steps, and all that they have begun. */
  public void kill(String node) throws IOException {
    List<Long> dead = new ArrayList<>(List.of(pid("slurmd-" + node)));
    for (long task : tasksOf(node)) {
      dead.add(task);
      String parent = read(Path.of("/proc", Long.toString(task), "stat")).replaceAll("(?s)^.*\\) \\S (\\d+) .*$", "$1");
      if (isNamed(parent, "slurmstepd")) dead.add(Long.parseLong(parent));
    }
    for (long pid : dead) ProcessHandle.of(pid).ifPresent(ProcessHandle::destroyForcibly);
  }

  private static boolean isNamed(String pid, String name) {
    return read(Path.of("/proc", pid, "comm")).strip().equals(name);
  }

  private long pid(String daemon) throws IOException {
    return Long.parseLong(Files.readString(base.resolve("run/" + daemon + ".pid")).strip());
  }

  @Override
  public void close() throws IOException {
    List<String> daemons = new ArrayList<>();
    for (int i = 1; i <= nodes; i++) daemons.add("slurmd-n" + i);
    daemons.addAll(List.of("slurmctld", "munged"));
    for (String daemon : daemons) {
      if (!Files.exists(base.resolve("run/" + daemon + ".pid"))) continue;
      ProcessHandle process = ProcessHandle.of(pid(daemon)).orElse(null);
      if (process == null || !isNamed(Long.toString(process.pid()), daemon.replaceAll("-n.*", ""))) continue;
      process.destroy();
      process.onExit().orTimeout(PATIENCE_MS, TimeUnit.MILLISECONDS).join();
    }
  }
}
