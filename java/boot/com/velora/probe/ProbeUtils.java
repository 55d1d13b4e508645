package com.velora.probe;

/**
 * Life of the custom service, and the reports of calls that an application makes. A begin opens a
 * level of the calling thread's request and its end closes it; reports are dropped in silence while
 * the probe is off or short of memory. Any text may be null and then counts as empty.
 */
public final class ProbeUtils {
  private ProbeUtils() {}

  /** Creates the native managers; false when the JVM offers no event interface. */
  public static native boolean customServiceStart();

  /** Stops the probe where it still runs, and frees the native managers. */
  public static native void customServiceShutDown();

  /** A statement is handed to a data source. */
  public static native void beginNativeSQLRequest(String sql, String dataSrcName);

  /** The statement has returned. */
  public static native void endNativeSQLRequest(String sql, String dataSrcName);

  /** The user id in a credentials file; null when it cannot be read or permit is not the word. */
  public static native String getUser(String permit, String fname);

  /** The password in a credentials file; null when it cannot be read or permit is not the word. */
  public static native String getPassword(String permit, String fname);

  /** Writes a credentials file, readable by its owner alone; the log tells how it went. */
  public static native void genPasswordFile(String uid, String pswd, String filename);

  /** A resource adapter is called; it goes by the product's name, or by the pool's without one. */
  public static native void beginNativeJCARequest(String poolName, String prodName);

  /** The call of the resource adapter has returned. */
  public static native void endNativeJCARequest(String poolName, String prodName);

  /** A message is received (1), browsed (2), sent (3) or published (4); other types are sends. */
  public static native void beginNativeJMSRequest(
      int jmsType, String queName, String provUrl, String sel);

  /** The call for a message has returned; the type is that of its begin. */
  public static native void endNativeJMSRequest(
      int jmsType, String queName, String provUrl, String sel);

  /** A mail is handed to its server. */
  public static native void beginNativeMailRequest(String subject, String mailServURL);

  /** The mail server has answered. */
  public static native void endNativeMailRequest(String subject, String mailServURL);

  /** A name is looked up. */
  public static native void beginNativeJNDIRequest(String lookupName, String url);

  /** The look-up has returned. */
  public static native void endNativeJNDIRequest(String lookupName, String url);

  /** A persistent object is called. */
  public static native void beginNativeJDORequest(
      String className, String methodName, String argumentString);

  /** The call of the persistent object has returned. */
  public static native void endNativeJDORequest(
      String className, String methodName, String argumentString);

  /** A queue manager is called; {@code type} is the number of the call, 0 to 13. */
  public static native void beginNativeMQRequest(String queueMgrName, String queueName, int type);

  /**
   * The call of the queue manager has returned. With {@code gpsSend} and a put or a get, the token
   * that went or came with the message is reported first; null or empty is no token.
   */
  public static native void endNativeMQRequest(
      String queueMgr, String queueName, int type, byte[] gpsToken, boolean gpsSend);

  /** An exception: its text, the class and method it left, its stack trace. */
  public static native void nativeSendException(String ex, String cn, String mn, String st);

  /** What a transaction gateway did up to {@code snapShotTime}. */
  public static native void sendNativeKGWRecord(
      String gatewayName,
      String serverName,
      String progName,
      long snapShotTime,
      int count,
      long avgTimeTaken);

  /**
   * What a queue's calls took up to {@code snapShotTime}: the first {@code length} elements of the
   * three arrays, or as many as all of them have.
   */
  public static native void sendNativeMQIRecord(
      String mgrName,
      String queueName,
      long snapShotTime,
      byte[] type,
      int[] count,
      long[] avgTimeTaken,
      int length);

  /** A call to another process starts; it has a new token. */
  public static native void startNativeGpsInvokeRequest();

  /** The call to the other process has returned. */
  public static native void endNativeGpsInvokeRequest();

  /** A request from another process starts; its token comes as eight hexadecimal digits. */
  public static native void startNativeGpsReceiveRequest(String gpsToken);

  /** The request from the other process is complete. */
  public static native void completeNativeGpsReceiveRequest(String gpsToken);

  /**
   * The calling thread's token, highest byte first; four zeros when it has none, and while reports
   * are turned away.
   */
  public static native byte[] getNativeGpsToken();

  /** Time and date at which the native library was built, as one line. */
  public static native String getBuildTime();
}
