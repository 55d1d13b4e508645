package com.velora.web.jdbc;

/** The name under which a database is reported: its URL without parameters and credentials. */
final class DataSourceNames {
  private DataSourceNames() {}

  static String withoutSecrets(String url) {
    return withoutUser(upTo(upTo(url, '?'), ';'));
  }

  private static String upTo(String text, char end) {
    int at = text.indexOf(end);
    return at < 0 ? text : text.substring(0, at);
  }

  /** Cuts "user:password@" behind "//", and "user/password@" behind the last colon before it. */
  private static String withoutUser(String url) {
    int at = url.lastIndexOf('@');
    if (at < 0) {
      return url;
    }
    int authority = url.indexOf("//");
    int slash = url.indexOf('/');
    int start;
    if (authority >= 0 && authority < at) {
      start = authority + 2;
    } else {
      start = url.lastIndexOf(':', slash >= 0 && slash < at ? slash : at) + 1;
    }
    return url.substring(0, start) + url.substring(at + 1);
  }
}
