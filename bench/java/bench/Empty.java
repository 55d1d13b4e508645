package bench;

import java.util.List;

/** Native methods that do nothing: what the JVM itself takes for the way there and back. */
final class Empty {
  private Empty() {}

  static native void begin();

  static native void end();

  static native void beginSql(String sql, String dataSource);

  static native void endSql(String sql, String dataSource);

  static native void beginHttp(
      String method, String name, String application, String url, String user);

  static native void endHttp(String name, String application, String url);

  static final class Plain extends Case {
    Plain() {
      super("empty");
    }

    @Override
    void run(int count) {
      for (int i = 0; i < count; i++) {
        begin();
        end();
      }
    }
  }

  static final class Sql extends Case {
    Sql() {
      super("empty.sql");
    }

    @Override
    void run(int count) {
      for (int i = 0; i < count; i++) {
        int t = i % Texts.COUNT;
        beginSql(Texts.SQL[t], Texts.DATA_SOURCE[t]);
        endSql(Texts.SQL[t], Texts.DATA_SOURCE[t]);
      }
    }
  }

  static final class Http extends Case {
    Http() {
      super("empty.http");
    }

    @Override
    void run(int count) {
      for (int i = 0; i < count; i++) {
        int t = i % Texts.COUNT;
        beginHttp(Texts.METHOD, Texts.NAME[t], Texts.APPLICATION[t], Texts.URL[t], Texts.USER[t]);
        endHttp(Texts.NAME[t], Texts.APPLICATION[t], Texts.URL[t]);
      }
    }
  }

  static List<Case> all() {
    return List.of(new Plain(), new Sql(), new Http());
  }
}
