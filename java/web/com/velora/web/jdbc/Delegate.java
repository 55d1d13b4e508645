package com.velora.web.jdbc;

import java.lang.reflect.InvocationHandler;
import java.lang.reflect.InvocationTargetException;
import java.lang.reflect.Method;
import java.lang.reflect.Proxy;
import java.sql.SQLException;
import java.sql.Wrapper;

/**
 * A JDBC object in front of the driver's own. Whatever a subclass does not take over goes to the
 * driver's object, with its own results and exceptions; rows are read from the driver's result sets
 * directly, so that reading costs nothing more.
 */
abstract class Delegate<T extends Wrapper> implements InvocationHandler {
  final T target;

  Delegate(T target) {
    this.target = target;
  }

  static <I> I proxy(Class<I> type, InvocationHandler handler) {
    ClassLoader loader = VeloraDriver.class.getClassLoader();
    return type.cast(Proxy.newProxyInstance(loader, new Class<?>[] {type}, handler));
  }

  /** Called for everything but what {@link Object} and {@link Wrapper} declare. */
  abstract Object call(Object self, Method method, Object[] args) throws Throwable;

  final Object pass(Method method, Object[] args) throws Throwable {
    try {
      return method.invoke(target, args);
    } catch (InvocationTargetException e) {
      throw e.getCause();
    }
  }

  @Override
  public final Object invoke(Object self, Method method, Object[] args) throws Throwable {
    if (method.getDeclaringClass() == Object.class) {
      return ofObject(self, method.getName(), args);
    }
    if (method.getDeclaringClass() == Wrapper.class) {
      Class<?> type = (Class<?>) args[0];
      return method.getName().equals("unwrap") ? unwrap(self, type) : isWrapperFor(self, type);
    }
    return call(self, method, args);
  }

  private Object ofObject(Object self, String name, Object[] args) {
    switch (name) {
      case "equals":
        return self == args[0];
      case "hashCode":
        return System.identityHashCode(self);
      default:
        return target.toString();
    }
  }

  /** A standard type is this object itself; a driver's own type is what lies behind it. */
  private Object unwrap(Object self, Class<?> type) throws SQLException {
    if (type != null && type.isInstance(self)) {
      return self;
    }
    return type != null && type.isInstance(target) ? target : target.unwrap(type);
  }

  private boolean isWrapperFor(Object self, Class<?> type) throws SQLException {
    return type != null && (type.isInstance(self) || type.isInstance(target))
        || target.isWrapperFor(type);
  }
}
