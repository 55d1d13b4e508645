package com.velora.command;

/** What woven code reports of classes and methods: announced, entered, left, unloaded. */
public final class MethodLevelModule {
  private MethodLevelModule() {}

  /** Announces a class with its methods: ids, names and signatures, arrays of one length. */
  public static native void initializeClass(
      String className, int[] methodIds, String[] methodNames, String[] methodSignatures);

  /** The class announced last under this name is gone. */
  public static native void unloadClass(String className);

  /** The calling thread enters a method. */
  public static native void beforeMethod(int methodId);

  /** The calling thread leaves a method, by return or exception. */
  public static native void afterMethod(int methodId);
}
