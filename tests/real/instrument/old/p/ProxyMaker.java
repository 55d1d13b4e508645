package p;

/** Defines classes through a static method of its own. Declares a ClassFormatError. */
public class ProxyMaker {
  public static Class<?> define(
      ClassLoader loader, String name, byte[] bytes, int offset, int length)
      throws ClassFormatError {
    return defineClass0(loader, name, bytes, offset, length);
  }

  private static Class<?> defineClass0(
      ClassLoader loader, String name, byte[] bytes, int offset, int length) {
    return new Opened(loader).open(name, bytes, offset, length);
  }

  private static class Opened extends ClassLoader {
    Opened(ClassLoader parent) {
      super(parent);
    }

    Class<?> open(String name, byte[] bytes, int offset, int length) {
      return defineClass(name, bytes, offset, length);
    }
  }
}
