package com.zarvo.qvs.host.job;

import com.zarvo.qvs.host.model.RenditionSpec;
import com.zarvo.qvs.transcoder.model.TranscoderNativeVideoFrame;
import java.awt.Color;
import java.awt.Graphics2D;
import java.awt.image.BufferedImage;
import java.io.IOException;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.List;
import java.util.Locale;

/** One picture of all renditions: a row each, a few pictures a row, with size and times. */
final class ContactSheet {
  static final int CELL_WIDTH = 320;
  private static final int COLUMNS = 5;
  private static final int GAP = 8;
  private static final int LABEL_HEIGHT = 20;

  private final List<RenditionSpec> renditions;
  private final List<FrameStrip> strips = new ArrayList<>();

  ContactSheet(List<RenditionSpec> renditions) {
    this.renditions = renditions;
    for (int i = 0; i < renditions.size(); i++) strips.add(new FrameStrip());
  }

  boolean wants(int rendition, long timecode) {
    return strips.get(rendition).wants(timecode);
  }

  void add(int rendition, long timecode, TranscoderNativeVideoFrame frame) {
    strips.get(rendition).add(timecode, PngPicture.of(frame));
  }

  /** Writes a PNG; false when there was no picture to show. */
  boolean write(Path file) throws IOException {
    if (strips.stream().allMatch(strip -> strip.pick(COLUMNS).isEmpty())) return false;
    int width = COLUMNS * (CELL_WIDTH + GAP) + GAP;
    int height = GAP;
    for (int row = 0; row < strips.size(); row++) height += rowHeight(row);
    BufferedImage sheet = new BufferedImage(width, height, BufferedImage.TYPE_INT_RGB);
    Graphics2D graphics = sheet.createGraphics();
    graphics.setColor(new Color(0x202428));
    graphics.fillRect(0, 0, width, height);
    int y = GAP;
    for (int row = 0; row < strips.size(); row++) {
      drawRow(graphics, row, y);
      y += rowHeight(row);
    }
    graphics.dispose();
    PngPicture.write(sheet, file);
    return true;
  }

  private void drawRow(Graphics2D graphics, int row, int top) {
    RenditionSpec spec = renditions.get(row);
    int x = GAP;
    for (FrameStrip.Shot shot : strips.get(row).pick(COLUMNS)) {
      BufferedImage image = shot.image();
      graphics.drawImage(image, x + (CELL_WIDTH - image.getWidth()) / 2, top + LABEL_HEIGHT, null);
      graphics.setColor(Color.WHITE);
      LabelFont.draw(graphics, label(spec, shot.timecode()), x, top + 3);
      x += CELL_WIDTH + GAP;
    }
  }

  private static String label(RenditionSpec spec, long timecode) {
    return String.format(
        Locale.ROOT,
        "%s %s %dk  %.2f s",
        spec.sizeText(),
        spec.codec().codecName,
        spec.bitRate() / 1000,
        timecode / 1000.0);
  }

  private int rowHeight(int row) {
    int tallest = 0;
    for (FrameStrip.Shot shot : strips.get(row).pick(COLUMNS))
      tallest = Math.max(tallest, shot.image().getHeight());
    return LABEL_HEIGHT + tallest + GAP;
  }
}
