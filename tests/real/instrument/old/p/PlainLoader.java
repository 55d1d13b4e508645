package p;

/** Declares a ClassFormatError. */
public class PlainLoader extends ClassLoader {
  public PlainLoader(ClassLoader parent) {
    super(parent);
  }

  public Class<?> define(String name, byte[] bytes, int offset, int length)
      throws ClassFormatError {
    return super.defineClass(name, bytes, offset, length);
  }
}
