package bench;

import java.io.IOException;
import java.nio.file.Path;
import java.util.HashMap;
import java.util.List;
import java.util.Map;
import jdk.jfr.Category;
import jdk.jfr.Event;
import jdk.jfr.Name;
import jdk.jfr.Recording;
import jdk.jfr.StackTrace;
import jdk.jfr.consumer.RecordingFile;

/** The same texts as events of the JVM's flight recorder, written to disk without stack traces. */
final class Flight implements AutoCloseable {
  @Name("bench.Request")
  @Category("bench")
  @StackTrace(false)
  static final class Request extends Event {
    String name;
    String application;
    String url;
    String user;
  }

  @Name("bench.RequestBegin")
  @Category("bench")
  @StackTrace(false)
  static final class RequestBegin extends Event {
    String name;
    String application;
    String url;
    String user;
  }

  @Name("bench.RequestEnd")
  @Category("bench")
  @StackTrace(false)
  static final class RequestEnd extends Event {}

  @Name("bench.SqlBegin")
  @Category("bench")
  @StackTrace(false)
  static final class SqlBegin extends Event {
    String sql;
    String dataSource;
  }

  @Name("bench.SqlEnd")
  @Category("bench")
  @StackTrace(false)
  static final class SqlEnd extends Event {}

  private static final List<Class<? extends Event>> EVENTS = List.of(
      Request.class, RequestBegin.class, RequestEnd.class, SqlBegin.class, SqlEnd.class);

  private final Recording recording = new Recording();
  private final Path file;

  Flight(Path file) throws IOException {
    this.file = file;
    recording.setToDisk(true);
    recording.setDestination(file);
    EVENTS.forEach(type -> recording.enable(type).withoutStackTrace().withoutThreshold());
    recording.start();
  }

  /** How many of each event the file really has, by name. */
  Map<String, Long> stop() throws IOException {
    recording.stop();
    Map<String, Long> found = new HashMap<>();
    try (RecordingFile events = new RecordingFile(file)) {
      while (events.hasMoreEvents()) {
        found.merge(events.readEvent().getEventType().getName(), 1L, Long::sum);
      }
    }
    return found;
  }

  @Override
  public void close() {
    recording.close();
  }

  /** One event with begin and end. */
  static final class OneEvent extends Case {
    OneEvent() {
      super("jfr.one");
    }

    @Override
    void run(int count) {
      for (int i = 0; i < count; i++) {
        int t = i % Texts.COUNT;
        Request event = new Request();
        event.begin();
        event.name = Texts.NAME[t];
        event.application = Texts.APPLICATION[t];
        event.url = Texts.URL[t];
        event.user = Texts.USER[t];
        event.commit();
      }
    }
  }

  /** An event at the begin, one at the end, as the agent has it. */
  static final class TwoEvents extends Case {
    TwoEvents() {
      super("jfr.two");
    }

    @Override
    void run(int count) {
      for (int i = 0; i < count; i++) {
        int t = i % Texts.COUNT;
        RequestBegin begin = new RequestBegin();
        begin.name = Texts.NAME[t];
        begin.application = Texts.APPLICATION[t];
        begin.url = Texts.URL[t];
        begin.user = Texts.USER[t];
        begin.commit();
        new RequestEnd().commit();
      }
    }
  }

  static final class TwoSqlEvents extends Case {
    TwoSqlEvents() {
      super("jfr.sql");
    }

    @Override
    void run(int count) {
      for (int i = 0; i < count; i++) {
        int t = i % Texts.COUNT;
        SqlBegin begin = new SqlBegin();
        begin.sql = Texts.SQL[t];
        begin.dataSource = Texts.DATA_SOURCE[t];
        begin.commit();
        new SqlEnd().commit();
      }
    }
  }
}
