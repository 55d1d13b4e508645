import com.velora.command.CommandAgent;
import com.velora.command.ThreadDumpInfo;
import com.velora.probe.ProbeController;
import com.velora.probe.ThreadManager;
import java.io.BufferedReader;
import java.io.InputStreamReader;
import java.io.PrintWriter;
import java.util.Map;
import java.util.concurrent.ConcurrentHashMap;
import java.util.concurrent.CountDownLatch;
import java.util.concurrent.locks.LockSupport;

/**
 * Many threads that stand still in known ways: parked in deep recursions, waiting for a monitor, in
 * native code. Argument: how many of each. Orders on standard input:
 *
 * <p>"stacks FILE" writes what Java itself says of them, a line "name|env" and then a line
 * "class.method" per frame. "dump" makes a dump, "dumps N" that many while a load runs.
 */
public class Dumps {
    private static final Object MONITOR = new Object();
    private static final CountDownLatch NEVER = new CountDownLatch(1);
    private static CountDownLatch started;
    private static final Map<Thread, Integer> ids = new ConcurrentHashMap<>();

    private static void known() {
        ids.put(Thread.currentThread(), (int) ThreadManager.getEnv());
        started.countDown();
    }

    static void parkBelow(int depth) {
        if (depth > 0) {
            parkBelow(depth - 1);
        } else {
            known();
            while (true) LockSupport.park();
        }
    }

    static void waitForMonitor() {
        known();
        synchronized (MONITOR) {
            throw new IllegalStateException("nobody gives it back");
        }
    }

    static void inNative() {
        known();
        try {
            new java.net.ServerSocket(0).accept();
        } catch (java.io.IOException e) {
            throw new IllegalStateException(e);
        }
    }

    private static class Body extends Thread {
        private final int kind, number;

        Body(int kind, int number) {
            super(null, null, new String[] {"parked ", "blocked ", "native "}[kind] + number, 64 << 20);
            this.kind = kind;
            this.number = number;
            setDaemon(true);
        }

        @Override public void run() {
            if (kind == 0) parkBelow(number == 0 ? 3000 : number);
            if (kind == 1) waitForMonitor();
            if (kind == 2) inNative();
        }
    }

    private static boolean standsStill(Thread thread) {
        StackTraceElement[] stack = thread.getStackTrace();
        if (stack.length == 0) return false;
        String name = thread.getName();
        Thread.State state = thread.getState();
        if (name.startsWith("parked")) return state == Thread.State.WAITING;
        if (name.startsWith("blocked")) return state == Thread.State.BLOCKED;
        return stack[0].isNativeMethod();
    }

    private static void writeStacks(String file) throws Exception {
        try (PrintWriter out = new PrintWriter(file, "UTF-8")) {
            for (Map.Entry<Thread, StackTraceElement[]> e : Thread.getAllStackTraces().entrySet()) {
                Integer id = ids.get(e.getKey());
                if (id == null) continue;
                out.println(e.getKey().getName() + "|" + Integer.toHexString(id));
                for (StackTraceElement f : e.getValue())
                    out.println(f.getClassName() + "." + f.getMethodName());
            }
        }
    }

    /** Requests of long-lived threads, beside threads that come and go. */
    private static void load(CountDownLatch end) {
        while (end.getCount() > 0) {
            ThreadManager.startNativeHttpRequest(null, "/dump", "shop", "http://shop/dump", "ann");
            ThreadManager.finishNativeHttpRequest("/dump", "shop", "http://shop/dump");
            Thread brief = new Thread("brief") {};
            brief.start();
            LockSupport.parkNanos(1_000_000);
        }
    }

    private static void startLoad(CountDownLatch end) {
        for (int i = 0; i < 4; ++i) {
            Thread loader = new Thread(() -> load(end), "load " + i);
            loader.setDaemon(true);
            loader.start();
        }
    }

    public static void main(String[] args) throws Exception {
        int each = Integer.parseInt(args[0]);
        while (!ProbeController.isNativeProbeEnabled()) Thread.sleep(5);
        started = new CountDownLatch(3 * each);
        synchronized (MONITOR) {
            Body[] bodies = new Body[3 * each];
            for (int i = 0; i < bodies.length; ++i) (bodies[i] = new Body(i % 3, i / 3)).start();
            started.await();
            for (Body body : bodies) while (!standsStill(body)) Thread.sleep(1);
            System.out.println("ready");
            CountDownLatch end = new CountDownLatch(1);
            BufferedReader orders = new BufferedReader(new InputStreamReader(System.in));
            for (String order = orders.readLine(); order != null; order = orders.readLine()) {
                String[] words = order.split(" ");
                if (words[0].equals("stacks")) writeStacks(words[1]);
                if (words[0].equals("load")) startLoad(end);
                if (words[0].equals("stop")) end.countDown();
                if (words[0].equals("dump")) {
                    ThreadDumpInfo info = new ThreadDumpInfo();
                    int result = CommandAgent.generateThreadDump(info);
                    System.out.println("dump " + result + " " + info.getFileName() + " " + info.getOffSet());
                }
                if (words[0].equals("report"))
                    System.out.println(
                            "report " + ThreadManager.getNativeLossReport().replace('\n', ' '));
                System.out.println("done");
            }
        }
    }
}
