package bench;

import com.velora.probe.ThreadManager;
import java.io.IOException;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.Collections;
import java.util.HashMap;
import java.util.List;
import java.util.Locale;
import java.util.Map;
import java.util.Random;

/**
 * What a pair of begin and end costs the thread that reports it: {@code Pairs SUITE ROUNDS
 * NATIVES RECORDING [LTTNG]}. Each round runs a burst of every case, in an order of its own.
 * Standard output gets a line for each burst and, at the end, what became of the events.
 */
public final class Pairs {
  private static final Random ORDER = new Random(1);
  /** Both of them: some compilers are asked by counts, and all take their time. */
  private static final int WARM_UP_ROUNDS = 60;
  private static final long WARM_UP_NANOS = 6_000_000_000L;

  private Pairs() {}

  public static void main(String[] args) throws IOException, InterruptedException {
    Suite suite = Suite.valueOf(args[0].toUpperCase(Locale.ROOT));
    int rounds = Integer.parseInt(args[1]);
    System.load(args[2]);
    if (args.length > 4) {
      System.load(args[4]);
    }
    suite.prepare();
    List<Suite.Run> runs = suite.runs(args.length > 4);
    say("pid", ProcessHandle.current().pid());
    try (Flight flight = new Flight(Path.of(args[3]))) {
      measure(suite, runs, rounds);
      runs.stream().map(Suite.Run::each).distinct()
          .forEach(each -> say("made", each.name(), each.pairs()));
      flight.stop().forEach((event, count) -> say("recorded", event, count));
    }
    Agent.drain();
    for (String line : String.valueOf(ThreadManager.getNativeLossReport()).split("\n")) {
      say("ledger", line);
    }
    // The cases' threads never end.
    System.out.flush();
    System.exit(0);
  }

  private static void measure(Suite suite, List<Suite.Run> runs, int rounds) {
    long warm = System.nanoTime() + WARM_UP_NANOS;
    List<Suite.Run> order = new ArrayList<>(runs);
    for (int round = 0; round < WARM_UP_ROUNDS || System.nanoTime() < warm; round++) {
      round(suite, order);
    }
    for (int round = 0; round < rounds; round++) {
      int number = round;
      round(suite, order).forEach(
          (run, cost) -> say("burst", run.name(), number, cost.wall(), cost.cpu()));
    }
  }

  private static Map<Suite.Run, Team.Cost> round(Suite suite, List<Suite.Run> runs) {
    Collections.shuffle(runs, ORDER);
    Map<Suite.Run, Team.Cost> costs = new HashMap<>();
    for (Suite.Run run : runs) {
      costs.put(run, run.team().run(run.each(), suite.burst()));
      run.each().settle();
    }
    return costs;
  }

  private static void say(Object... words) {
    StringBuilder line = new StringBuilder();
    for (Object word : words) {
      line.append(line.length() == 0 ? "" : "\t").append(word);
    }
    System.out.println(line);
  }
}
