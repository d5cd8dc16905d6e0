package com.zarvo.qvs.host.cli;

import com.zarvo.qvs.host.job.Overwrite;
import com.zarvo.qvs.host.job.ThumbChoice;
import com.zarvo.qvs.host.job.ThumbsJob;
import com.zarvo.qvs.host.job.ThumbsSettings;
import com.zarvo.qvs.host.model.ImageFormat;
import com.zarvo.qvs.host.model.StillFit;
import com.zarvo.qvs.host.model.StillSize;
import java.nio.file.Path;
import java.util.List;
import java.util.concurrent.Callable;
import picocli.CommandLine.ArgGroup;
import picocli.CommandLine.Command;
import picocli.CommandLine.Model.CommandSpec;
import picocli.CommandLine.Option;
import picocli.CommandLine.ParameterException;
import picocli.CommandLine.Parameters;
import picocli.CommandLine.Spec;

/** "thumbs": still pictures out of a file. */
@Command(
    name = "thumbs",
    description = {
      "Makes still pictures of a file, or a storyboard for players.",
      "Only key pictures are decoded unless --exact; thumbs.json lists files and times."
    })
final class ThumbsCommand implements Callable<Integer> {
  private static final double DEFAULT_EVERY = 10;
  private static final StillSize TILE = new StillSize(160, 0);

  @Spec private CommandSpec spec;

  @Parameters(paramLabel = "INPUT", description = "The file to read: H.264, H.265, MPEG-4 or MPEG-2 in any container.")
  private Path input;

  @Option(names = {"-o", "--output"}, required = true, paramLabel = "DIR", description = "The folder to write into.")
  private Path folder;

  @ArgGroup private Choice choice;

  private static final class Choice {
    @Option(names = "--every", paramLabel = "SECONDS", description = "A picture for each so many seconds (10).")
    private Double every;

    @Option(names = "--at", paramLabel = "SECONDS", split = ",", description = "Pictures for these times.")
    private List<Double> at;

    @Option(names = "--count", paramLabel = "N", description = "So many pictures, spread evenly.")
    private Integer count;

    @Option(names = "--scenes", description = "The key pictures that differ from the one before, as new scenes do.")
    private boolean scenes;
  }

  @Option(
      names = "--size",
      paramLabel = "WxH",
      converter = Converters.OfStillSize.class,
      description = "The size; a side that is left out follows (320x). The picture's own by default, tiles 160x.")
  private StillSize size;

  @Option(
      names = "--fit",
      paramLabel = "fit|fill|stretch|width|height",
      defaultValue = "fit",
      converter = Converters.OfStillFit.class,
      description = "Where both sides are given: black bars (default), cut, distorted, or the other side follows.")
  private StillFit fit;

  @Option(
      names = "--format",
      paramLabel = "jpg|png|webp",
      defaultValue = "jpg",
      converter = Converters.OfImageFormat.class,
      description = "jpg by default.")
  private ImageFormat format;

  @Option(names = "--exact", description = "The picture shown at each time, not the key picture at or before it.")
  private boolean exact;

  @Option(names = "--best", description = "Of the pictures up to the next time the one with most detail and least black.")
  private boolean best;

  @Option(names = "--deinterlace", description = "Take the combs off interlaced pictures.")
  private boolean deinterlace;

  @Option(names = "--storyboard", description = "Sheets of tiles and a WebVTT file that names them, for players.")
  private boolean storyboard;

  @Option(names = "--overwrite", description = "Replace what an earlier run left in the folder.")
  private boolean overwrite;

  @Override
  public Integer call() throws Exception {
    StillSize wanted = size != null ? size : storyboard ? TILE : StillSize.OWN;
    ThumbsSettings settings =
        new ThumbsSettings(
            input, folder, choice(), wanted, fit, format, exact, best, deinterlace, storyboard,
            overwrite ? Overwrite.ALWAYS : Console::mayReplace);
    ThumbsJob job = new ThumbsJob(settings, Console.progress(-1));
    job.run();
    for (String line : job.lost()) System.err.println("qvs: " + line);
    System.out.println("pictures: " + job.pictureCount() + ", list: " + folder.resolve(ThumbsJob.LIST));
    return job.lost().isEmpty() ? 0 : 1;
  }

  private ThumbChoice choice() {
    if (choice == null) return ThumbChoice.every(DEFAULT_EVERY);
    if (choice.scenes && (best || exact)) throw refused("--scenes takes key pictures as they are, without --best and --exact");
    if (choice.scenes) return ThumbChoice.ofScenes();
    if (choice.count != null) {
      if (choice.count < 1 || choice.count > 100_000) throw refused("--count " + choice.count + " is outside 1 to 100000");
      return ThumbChoice.count(choice.count);
    }
    if (choice.every != null) {
      if (!(choice.every >= 0.001 && choice.every < 1e7)) throw refused("--every " + choice.every + " is no step in seconds");
      return ThumbChoice.every(choice.every);
    }
    for (double seconds : choice.at)
      if (!(seconds >= 0 && seconds < 1e7)) throw refused("--at " + seconds + " is no time in seconds");
    return ThumbChoice.at(choice.at);
  }

  private ParameterException refused(String why) {
    return new ParameterException(spec.commandLine(), why);
  }
}
