import com.velora.probe.ProbeUtils;
import com.velora.probe.ThreadManager;
import java.util.concurrent.CountDownLatch;
import java.util.concurrent.atomic.AtomicLong;

/** Reports requests through the agent's natives, as the servlet filter and the JDBC driver do. */
public class Workload {
    private static final AtomicLong done = new AtomicLong();
    private static volatile boolean stop;
    private static CountDownLatch serving;

    /** Threads that make so many requests each, of so many statements; 0 requests: until finished. */
    static void start(int threads, int requests, int statements) {
        serving = new CountDownLatch(threads);
        for (int t = 0; t < threads; ++t)
            Driver.daemon("worker-" + t, () -> {
                serve(requests, statements);
                serving.countDown();
                Driver.live();
            });
    }

    /** How many requests there were. */
    static long finish() throws InterruptedException {
        stop = true;
        serving.await();
        return done.get();
    }

    private static void serve(int requests, int statements) {
        try {
            for (int r = 0; requests == 0 ? !stop : r < requests; ++r) {
                request(r, statements);
                done.incrementAndGet();
                if (requests == 0) Thread.sleep(1);  // a rate that the sending side can follow
            }
        } catch (InterruptedException e) {
            Thread.currentThread().interrupt();
        }
    }

    private static void request(int number, int statements) {
        ThreadManager.startNativeHttpRequest(null, "/item", "shop", "http://shop/item?n=" + number, "ann");
        for (int s = 0; s < statements; ++s) {
            ProbeUtils.beginNativeSQLRequest("select price from item where id = " + s, "shopDB");
            ProbeUtils.endNativeSQLRequest("select price from item where id = " + s, "shopDB");
        }
        ThreadManager.finishNativeHttpRequest("/item", "shop", "http://shop/item?n=" + number);
    }
}
