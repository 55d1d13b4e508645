package bench;

import java.util.ArrayList;
import java.util.List;

/** Cases that are compared with each other: measured in one process, in alternating rounds. */
enum Suite {
  /** The agent's pairs beside what else would report them. */
  PAIRS(2000) {
    @Override
    List<Run> runs(boolean lttng) {
      List<Case> cases = new ArrayList<>(Empty.all());
      cases.add(new Agent.Http("http"));
      cases.add(new Agent.Sql("sql"));
      cases.add(new Flight.OneEvent());
      cases.add(new Flight.TwoEvents());
      cases.add(new Flight.TwoSqlEvents());
      if (lttng) {
        cases.add(new Lttng.Http());
      }
      return alone(cases);
    }
  },
  /** Beside many threads that do nothing. */
  IDLE(2000) {
    @Override
    List<Run> runs(boolean lttng) {
      return alone(List.of(new Agent.AmongIdle(false), new Agent.AmongIdle(true)));
    }
  },
  /** One thread, and two at once. */
  THREADS(2000) {
    @Override
    List<Run> runs(boolean lttng) {
      Case http = new Agent.Http("http");
      return List.of(new Run(http, new Team(1)), new Run(http, new Team(2)));
    }
  },
  /** More threads than cores, together below the memory limit; for a profiler. */
  CROWD(300) {
    @Override
    List<Run> runs(boolean lttng) {
      Case http = new Agent.Http("http");
      return List.of(new Run(http, new Team(1)), new Run(http, new Team(64)));
    }
  },
  /** Statements inside a request, where settings leave them out. */
  SUPPRESSED(2000) {
    @Override
    void prepare() throws InterruptedException {
      Agent.awaitReady();
      Agent.lowestLevel();
    }

    @Override
    List<Run> runs(boolean lttng) {
      return alone(List.of(new Empty.Plain(), new Empty.Sql(), new Agent.Suppressed()));
    }
  },
  /** Reports to a probe that was never started. */
  DISABLED(2000) {
    @Override
    void prepare() {}

    @Override
    List<Run> runs(boolean lttng) {
      return refusals();
    }
  },
  /** Reports above the memory limit. */
  MEMORY(2000) {
    @Override
    void prepare() throws InterruptedException {
      Agent.awaitReady();
      Agent.awaitMemoryLimit();
    }

    @Override
    List<Run> runs(boolean lttng) {
      return refusals();
    }
  };

  /** A case and the threads that run it. */
  record Run(Case each, Team team) {
    String name() {
      return team.size() == 1 ? each.name() : each.name() + "." + team.size();
    }
  }

  private final int burst;

  Suite(int burst) {
    this.burst = burst;
  }

  /** Pairs of each thread in a burst: fewer than a thread's queue of 5,000 events can take. */
  int burst() {
    return burst;
  }

  abstract List<Run> runs(boolean lttng);

  void prepare() throws InterruptedException {
    Agent.awaitReady();
  }

  /** All on the same thread: each would otherwise have a record and a queue of its own. */
  private static List<Run> alone(List<Case> cases) {
    Team team = new Team(1);
    return cases.stream().map(each -> new Run(each, team)).toList();
  }

  private static List<Run> refusals() {
    return alone(List.of(new Empty.Plain(), new Empty.Sql(), new Empty.Http(),
        new Agent.Sql("sql"), new Agent.Http("http")));
  }
}
