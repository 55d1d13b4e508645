package com.velora.web.jdbc;

import java.sql.Driver;
import java.sql.DriverManager;
import java.sql.SQLException;
import java.util.Collections;
import java.util.Iterator;
import java.util.ServiceConfigurationError;
import java.util.ServiceLoader;

/** Finds the driver that is behind ours. */
final class RealDrivers {
  private RealDrivers() {}

  /**
   * By the class name if given, else among the registered drivers, else among those that their jars
   * announce: a server that loaded only our class has registered none for the URL.
   */
  static Driver find(String url, String className) throws SQLException {
    Driver driver = className == null ? null : instantiate(className);
    if (driver == null) {
      driver = accepting(url, Collections.list(DriverManager.getDrivers()).iterator());
    }
    if (driver == null) {
      driver = announced(url, Thread.currentThread().getContextClassLoader());
    }
    if (driver == null) {
      driver = announced(url, VeloraDriver.class.getClassLoader());
    }
    if (driver == null) {
      throw new SQLException(
          "No driver for " + DataSourceNames.withoutSecrets(url) + " (property "
              + VeloraDriver.DRIVER + " can name its class)", "08001");
    }
    return driver;
  }

  private static Driver instantiate(String className) throws SQLException {
    for (ClassLoader loader : new ClassLoader[] {
        Thread.currentThread().getContextClassLoader(), VeloraDriver.class.getClassLoader()}) {
      try {
        Class<?> found = Class.forName(className, true, loader);
        return found.asSubclass(Driver.class).getDeclaredConstructor().newInstance();
      } catch (ClassNotFoundException e) {
        // The other loader may see it.
      } catch (ReflectiveOperationException | ClassCastException e) {
        throw new SQLException("Not a usable driver: " + className, "08001", e);
      }
    }
    throw new SQLException("No such driver class: " + className, "08001");
  }

  private static Driver announced(String url, ClassLoader loader) throws SQLException {
    return accepting(url, ServiceLoader.load(Driver.class, loader).iterator());
  }

  private static Driver accepting(String url, Iterator<Driver> drivers) throws SQLException {
    while (hasNext(drivers)) {
      Driver driver = next(drivers);
      if (driver != null && !(driver instanceof VeloraDriver) && driver.acceptsURL(url)) {
        return driver;
      }
    }
    return null;
  }

  private static boolean hasNext(Iterator<Driver> drivers) {
    try {
      return drivers.hasNext();
    } catch (ServiceConfigurationError e) {
      return false;
    }
  }

  /** Null for an announced driver that cannot be loaded: another one may still fit. */
  private static Driver next(Iterator<Driver> drivers) {
    try {
      return drivers.next();
    } catch (ServiceConfigurationError e) {
      return null;
    }
  }
}
