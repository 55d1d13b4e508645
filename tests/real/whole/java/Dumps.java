import com.velora.command.CommandAgent;
import com.velora.command.ThreadDumpInfo;
import com.velora.command.heap.HeapUtil;
import com.velora.probe.ThreadManager;
import java.io.PrintWriter;
import java.util.Map;
import java.util.concurrent.ConcurrentHashMap;
import java.util.concurrent.CountDownLatch;
import java.util.concurrent.locks.LockSupport;

/**
 * Many threads that stand still in known ways: parked in deep recursions, waiting for a monitor, in
 * native code; and dumps of them.
 */
public class Dumps {
    private static final Object MONITOR = new Object();
    private static final Map<Thread, Integer> ids = new ConcurrentHashMap<>();

    private static void known() {
        ids.put(Thread.currentThread(), (int) ThreadManager.getEnv());
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
            // Another test's agent may look for its collector on this very port.
            java.net.ServerSocket server = new java.net.ServerSocket(0);
            while (true) server.accept();
        } catch (java.io.IOException e) {
            throw new IllegalStateException(e);
        }
    }

    private static Thread posed(int kind, int number) {
        Runnable body = switch (kind) {
            case 0 -> () -> parkBelow(number == 0 ? 3000 : number);
            case 1 -> Dumps::waitForMonitor;
            default -> Dumps::inNative;
        };
        String name = new String[] {"parked ", "blocked ", "native "}[kind] + number;
        Thread thread = new Thread(null, body, name, 64 << 20);
        thread.setDaemon(true);
        thread.start();
        return thread;
    }

    private static boolean standsStill(Thread thread) {
        StackTraceElement[] stack = thread.getStackTrace();
        if (!ids.containsKey(thread) || stack.length == 0) return false;
        String name = thread.getName();
        Thread.State state = thread.getState();
        if (name.startsWith("parked")) return state == Thread.State.WAITING;
        if (name.startsWith("blocked")) return state == Thread.State.BLOCKED;
        return stack[0].isNativeMethod();
    }

    /** So many of each kind, and the thread "holder" that has their monitor. */
    static void pose(int each) throws Exception {
        CountDownLatch held = new CountDownLatch(1);
        Driver.daemon("holder", () -> {
            synchronized (MONITOR) {
                held.countDown();
                while (true) LockSupport.park();
            }
        });
        held.await();
        Thread[] threads = new Thread[3 * each];
        for (int i = 0; i < threads.length; ++i) threads[i] = posed(i % 3, i / 3);
        for (Thread thread : threads) while (!standsStill(thread)) Thread.sleep(1);
    }

    /** What Java itself says of them: a line "name|env", then a line "class.method" per frame. */
    static void writeStacks(String file) throws Exception {
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

    static String dump() {
        ThreadDumpInfo info = new ThreadDumpInfo();
        int result = CommandAgent.generateThreadDump(info);
        return result + " " + info.getFileName() + " " + info.getOffSet();
    }

    static String heap() {
        return HeapUtil.getHeapSnapShotData(new StringBuffer()) + " "
            + HeapUtil.getHeapDumpData(new StringBuffer());
    }

    /** Threads that come and go, for as long as the JVM lives. */
    static void churn() {
        Driver.daemon("churn", () -> {
            while (true) {
                new Thread("brief") {}.start();
                LockSupport.parkNanos(1_000_000);
            }
        });
    }
}
