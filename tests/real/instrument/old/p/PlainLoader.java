package p;

import java.util.HashMap;
import java.util.Map;

/** Defines the classes that it was offered. Mentions ClassFormatError. */
public class PlainLoader extends ClassLoader {
  private final Map<String, byte[]> offered = new HashMap<String, byte[]>();

  public PlainLoader(ClassLoader parent) {
    super(parent);
  }

  public void offer(String name, byte[] bytes) {
    offered.put(name, bytes);
  }

  public Class<?> define(String name, byte[] bytes, int offset, int length) {
    try {
      return super.defineClass(name, bytes, offset, length);
    } catch (ClassFormatError e) {
      throw e;
    }
  }

  protected Class<?> findClass(String name) throws ClassNotFoundException {
    byte[] bytes = offered.get(name);
    if (bytes == null) {
      throw new ClassNotFoundException(name);
    }
    return super.defineClass(name, bytes, 0, bytes.length);
  }
}
