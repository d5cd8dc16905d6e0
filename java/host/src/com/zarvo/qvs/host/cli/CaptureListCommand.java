package com.zarvo.qvs.host.cli;

import com.zarvo.qvs.host.session.CaptureDevice;
import com.zarvo.qvs.host.session.CaptureDevices;
import java.nio.file.Path;
import java.util.List;
import java.util.concurrent.Callable;
import picocli.CommandLine.Command;
import picocli.CommandLine.Option;

/** "capture list": the devices that there are. */
@Command(name = "list", description = "Lists the capture devices.", sortOptions = false)
final class CaptureListCommand implements Callable<Integer> {
  @Option(names = "--devices", paramLabel = "DIR", defaultValue = ".", description = "Where file devices are; here by default.")
  private Path devices;

  @Option(names = "--json", description = "Print the library's document instead of a table.")
  private boolean json;

  @Override
  public Integer call() throws Exception {
    List<CaptureDevice> found = CaptureDevices.find(devices.toAbsolutePath());
    Console.printTrouble(CaptureDevices.log());
    if (json) {
      System.out.println(CaptureDevices.json());
      return 0;
    }
    if (found.isEmpty()) System.out.println("no capture devices: no card, and no " + devices + "/capture/capture0");
    TextTable table = new TextTable("id", "device", "model", "modes");
    for (CaptureDevice device : found)
      table.add(Integer.toString(device.id()), device.name(), device.model(), String.join(", ", device.modes()));
    if (!found.isEmpty()) table.print(System.out);
    return 0;
  }
}
