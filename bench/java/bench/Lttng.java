package bench;

/** User-space tracepoints with the same texts, through a native method each. */
final class Lttng {
  private Lttng() {}

  static native void begin(String name, String application, String url, String user);

  static native void end();

  static final class Http extends Case {
    Http() {
      super("lttng");
    }

    @Override
    void run(int count) {
      for (int i = 0; i < count; i++) {
        int t = i % Texts.COUNT;
        begin(Texts.NAME[t], Texts.APPLICATION[t], Texts.URL[t], Texts.USER[t]);
        end();
      }
    }
  }
}
