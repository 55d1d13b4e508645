import com.velora.command.CommandAgent;
import com.velora.probe.ProbeController;
import com.velora.probe.ThreadManager;
import java.util.concurrent.CountDownLatch;
import java.util.concurrent.locks.LockSupport;

/** Threads in known states, and what the agent says of them while others come and go. */
public class Stacks {
    private static final Object MONITOR = new Object();
    private static final CountDownLatch STARTED = new CountDownLatch(3);
    private static volatile boolean done;

    static void waitForMonitor() {
        STARTED.countDown();
        synchronized (MONITOR) {
            STARTED.countDown();
        }
    }

    static void park() {
        STARTED.countDown();
        while (!done) LockSupport.park();
    }

    static void spin() {
        STARTED.countDown();
        while (!done) Thread.onSpinWait();
    }

    private static Thread start(String name, Runnable body) {
        Thread thread = new Thread(new ThreadGroup("known"), body, name);
        thread.setDaemon(true);
        thread.start();
        return thread;
    }

    private static void describe(String name) {
        int id = (int) CommandAgent.getThreadId(name, "known");
        StringBuilder stack = new StringBuilder();
        String[] texts = ThreadManager.getStackTrace(id, 40, 0);
        for (int i = 0; texts != null && i < texts.length && texts[i] != null; i += 3)
            if (texts[i].equals("Stacks")) stack.append(' ').append(texts[i + 1]).append(texts[i + 2]);
        int status = ThreadManager.getNativeThreadStatus(id);
        System.out.println(name + ": " + status + stack);
    }

    // Most of these have ended, or end, while they are asked about.
    private static int askThoseThatEnd(int count) throws Exception {
        int[] ids = new int[1];
        int wrong = 0;
        for (int i = 0; i < count; ++i) {
            CountDownLatch told = new CountDownLatch(1);
            Thread brief = start("brief", () -> {
                ids[0] = (int) ThreadManager.getEnv();
                told.countDown();
            });
            told.await();
            int status = ThreadManager.getNativeThreadStatus(ids[0]);
            if (status != -1 && (status & ~0xC000) > 4) ++wrong;
            ThreadManager.getStackTrace(ids[0], 10, 0);
            if (i % 2 == 0) brief.join();
        }
        return wrong;
    }

    public static void main(String[] args) throws Exception {
        while (!ProbeController.isNativeProbeEnabled()) Thread.sleep(10);
        synchronized (MONITOR) {
            Thread blocked = start("blocked", Stacks::waitForMonitor);
            Thread parked = start("parked", Stacks::park);
            start("spinning", Stacks::spin);
            STARTED.await();
            while (blocked.getState() != Thread.State.BLOCKED) Thread.onSpinWait();
            while (parked.getState() != Thread.State.WAITING) Thread.onSpinWait();
            for (String name : new String[] {"blocked", "parked", "spinning", "nobody"}) describe(name);
        }
        System.out.println("wrong: " + askThoseThatEnd(Integer.parseInt(args[0])));
        done = true;
    }
}
