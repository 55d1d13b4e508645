package com.velora.publish;

import java.io.File;
import java.io.FileInputStream;
import java.io.IOException;
import java.io.InputStream;
import java.util.Properties;

/** Reads one key of a properties file. */
final class Settings {
  private Settings() {}

  /** Null for a missing file or key. */
  static String read(File file, String key) {
    try (InputStream in = new FileInputStream(file)) {
      Properties values = new Properties();
      values.load(in);
      return values.getProperty(key);
    } catch (IOException | IllegalArgumentException e) {
      return null;
    }
  }
}
