import com.velora.command.heap.HeapUtil;
import com.velora.probe.ProbeController;
import com.velora.probe.ProbeUtils;
import com.velora.probe.ThreadManager;
import java.io.BufferedReader;
import java.io.InputStreamReader;
import java.util.concurrent.CountDownLatch;
import java.util.concurrent.atomic.AtomicLong;

/**
 * Reports requests through the agent's natives, as the servlet filter and the JDBC driver do.
 * Arguments: threads, requests per thread (0: until told to stop), statements per request.
 * While it runs until told to "stop", "snapshot" and "dump" summarise the heap and "count" does not:
 * each prints "looked RESULT MICROSECONDS REQUESTS-SO-FAR".
 * Prints "ready", "done REQUESTS" and, once told "report", "report TEXT" on one line each.
 */
public class Workload {
    private static volatile boolean stop;

    public static void main(String[] args) throws Exception {
        int threads = Integer.parseInt(args[0]);
        int requests = Integer.parseInt(args[1]);
        int statements = Integer.parseInt(args[2]);
        while (!ProbeController.isNativeProbeEnabled()) Thread.sleep(5);
        System.out.println("ready");
        AtomicLong done = new AtomicLong();
        CountDownLatch serving = new CountDownLatch(threads);
        for (int t = 0; t < threads; ++t) {
            Thread thread = new Thread(() -> {
                serve(requests, statements, done);
                serving.countDown();
                live();
            }, "worker-" + t);
            thread.setDaemon(true);
            thread.start();
        }
        BufferedReader orders = new BufferedReader(new InputStreamReader(System.in));
        if (requests == 0) {
            for (String o = orders.readLine(); o != null && !o.equals("stop"); o = orders.readLine())
                look(o, done);
            stop = true;
        }
        serving.await();
        System.out.println("done " + done.get());
        for (String order = orders.readLine(); order != null; order = orders.readLine())
            if (order.equals("report"))
                System.out.println("report " + ThreadManager.getNativeLossReport().replace('\n', ' '));
    }

    private static void look(String order, AtomicLong done) {
        long start = System.nanoTime();
        int result = switch (order) {
            case "snapshot" -> HeapUtil.getHeapSnapShotData(new StringBuffer());
            case "dump" -> HeapUtil.getHeapDumpData(new StringBuffer());
            default -> 0;
        };
        long micros = (System.nanoTime() - start) / 1000;
        System.out.println("looked " + result + " " + micros + " " + done.get());
    }

    /** Like a server's, the threads outlive their requests: what dead threads left is given up early. */
    private static void live() {
        try {
            Thread.sleep(Long.MAX_VALUE);
        } catch (InterruptedException e) {
            Thread.currentThread().interrupt();
        }
    }

    private static void serve(int requests, int statements, AtomicLong done) {
        for (int r = 0; !stop && (requests == 0 || r < requests); ++r) {
            request(r, statements);
            done.incrementAndGet();
            if (requests == 0) pause();
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

    /** Keeps an endless load at a rate that the sending side can follow. */
    private static void pause() {
        try {
            Thread.sleep(1);
        } catch (InterruptedException e) {
            Thread.currentThread().interrupt();
        }
    }
}
