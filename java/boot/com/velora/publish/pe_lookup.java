package com.velora.publish;

import java.io.File;
import java.net.Inet4Address;
import java.net.InetAddress;
import java.net.UnknownHostException;

/**
 * Where the publish server listens. A network agent calls {@link #initialize} before each attempt
 * to connect, so that a changed file or name record is noticed, and then reads the three fields.
 */
public final class pe_lookup {
  static final String KEY = "velora.publish.address";
  static final String VARIABLE = "VELORA_PUBLISH_ADDRESS";
  static final String FILE = "etc/publish.properties";
  static final String FILE_KEY = "publish.address";
  static final String DEFAULT_ADDRESS = "127.0.0.1:7811";
  static final int DEFAULT_PORT = 7811;

  /** Dotted IPv4, as the native side does not resolve names. */
  public static String hostName_;

  public static int port_;
  public static int sendBuffSize_ = 262144;

  private pe_lookup() {}

  /** 1: the fields hold an address. Anything else: they do not, and a later call may succeed. */
  public static synchronized int initialize() {
    try {
      return take(configured()) ? 1 : 0;
    } catch (Throwable e) {
      return 0;
    }
  }

  /** The first of property, environment variable, file and default that says anything. */
  private static String configured() {
    String address = System.getProperty(KEY);
    if (blank(address)) {
      address = System.getenv(VARIABLE);
    }
    if (blank(address)) {
      address = Settings.read(new File(home(), FILE), FILE_KEY);
    }
    return blank(address) ? DEFAULT_ADDRESS : address.trim();
  }

  /** "host:port", "host" or ":port"; false for a port out of range or a name without IPv4. */
  private static boolean take(String address) throws UnknownHostException {
    int colon = address.lastIndexOf(':');
    String host = colon < 0 ? address : address.substring(0, colon);
    String port = colon < 0 ? "" : address.substring(colon + 1);
    int number = port.isEmpty() ? DEFAULT_PORT : Integer.parseInt(port);
    String dotted = dotted(host.isEmpty() ? "127.0.0.1" : host);
    if (number < 1 || number > 65535 || dotted == null) {
      return false;
    }
    hostName_ = dotted;
    port_ = number;
    return true;
  }

  private static String dotted(String host) throws UnknownHostException {
    for (InetAddress found : InetAddress.getAllByName(host)) {
      if (found instanceof Inet4Address) {
        return found.getHostAddress();
      }
    }
    return null;
  }

  private static String home() {
    return com.velora.probe.ProbeSystem.veloraHome;
  }

  private static boolean blank(String text) {
    return text == null || text.trim().isEmpty();
  }
}
