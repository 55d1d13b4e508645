package com.velora.web.jdbc;

import java.sql.Connection;
import java.sql.Driver;
import java.sql.DriverManager;
import java.sql.DriverPropertyInfo;
import java.sql.SQLException;
import java.sql.SQLFeatureNotSupportedException;
import java.util.Properties;
import java.util.logging.Logger;

/**
 * Answers to "jdbc:velora:..." by connecting with the driver of the URL behind the prefix, and
 * reports the statements of that connection. "jdbc:velora:h2:mem:shop" and
 * "jdbc:velora:jdbc:h2:mem:shop" both mean "jdbc:h2:mem:shop".
 */
public final class VeloraDriver implements Driver {
  static final String PREFIX = "jdbc:velora:";

  /** Connection property that names the class of a driver which does not announce itself. */
  static final String DRIVER = "velora.driver";

  static {
    try {
      DriverManager.registerDriver(new VeloraDriver());
    } catch (SQLException e) {
      throw new ExceptionInInitializerError(e);
    }
  }

  @Override
  public boolean acceptsURL(String url) {
    return url != null && url.startsWith(PREFIX);
  }

  @Override
  public Connection connect(String url, Properties info) throws SQLException {
    if (!acceptsURL(url)) {
      return null;
    }
    String target = targetOf(url);
    Properties passed = copy(info);
    Driver driver = RealDrivers.find(target, (String) passed.remove(DRIVER));
    Connection connection = driver.connect(target, passed);
    return connection == null
        ? null
        : ConnectionHandler.wrap(connection, DataSourceNames.withoutSecrets(target));
  }

  /** With the defaults behind it, which a plain copy of the table would lose. */
  private static Properties copy(Properties info) {
    Properties copy = new Properties();
    if (info != null) {
      for (String name : info.stringPropertyNames()) {
        copy.setProperty(name, info.getProperty(name));
      }
      copy.putAll(info);
    }
    return copy;
  }

  static String targetOf(String url) {
    String rest = url.substring(PREFIX.length());
    return rest.startsWith("jdbc:") ? rest : "jdbc:" + rest;
  }

  @Override
  public DriverPropertyInfo[] getPropertyInfo(String url, Properties info) throws SQLException {
    String target = targetOf(url);
    return RealDrivers.find(target, null).getPropertyInfo(target, info);
  }

  @Override
  public int getMajorVersion() {
    return 1;
  }

  @Override
  public int getMinorVersion() {
    return 0;
  }

  /** Only a driver that passed the whole suite may say yes; what is behind this one is unknown. */
  @Override
  public boolean jdbcCompliant() {
    return false;
  }

  @Override
  public Logger getParentLogger() throws SQLFeatureNotSupportedException {
    throw new SQLFeatureNotSupportedException("no java.util.logging in this driver");
  }
}
