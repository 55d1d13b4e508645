package bench;

/** One way to report a call: its loop belongs to it alone, so that the compiler sees one callee. */
abstract class Case {
  private final String name;
  private long pairs;

  Case(String name) {
    this.name = name;
  }

  String name() {
    return name;
  }

  /** Pairs asked for so far, by all threads. */
  long pairs() {
    return pairs;
  }

  synchronized void count(long more) {
    pairs += more;
  }

  /** A begin and an end, so many times. */
  abstract void run(int count);

  /** On each thread before its burst, unmeasured: the state that it is to be measured in. */
  void prepare() {}

  /** On each thread after its burst, unmeasured. */
  void finish() {}

  /** Once all threads are done: waits until what they left behind has gone. */
  void settle() {}
}
