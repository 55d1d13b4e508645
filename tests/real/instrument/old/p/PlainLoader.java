package p;

/** Mentions ClassFormatError. */
public class PlainLoader extends ClassLoader {
  public PlainLoader(ClassLoader parent) {
    super(parent);
  }

  public Class<?> define(String name, byte[] bytes, int offset, int length) {
    try {
      return super.defineClass(name, bytes, offset, length);
    } catch (ClassFormatError e) {
      throw e;
    }
  }
}
