import com.velora.probe.ProbeUtils;
import com.velora.probe.ThreadManager;

/** Ends the JVM in one of four ways after some milliseconds, with threads busy in the agent. */
public class ExitAt {
    public static void main(String[] args) throws Exception {
        String way = args[0];
        for (int t = 0; t < 4; ++t) {
            Thread busy = new Thread(ExitAt::report, "busy-" + t);
            busy.setDaemon(true);
            busy.start();
        }
        System.out.println("running");
        Thread.sleep(Long.parseLong(args[1]));
        switch (way) {
            case "exit": System.exit(7);
            case "halt": Runtime.getRuntime().halt(7);
            case "signal": Thread.sleep(Long.MAX_VALUE);
            default: return;
        }
    }

    private static void report() {
        while (true) {
            ThreadManager.startNativeHttpRequest(null, "/busy", "shop", "http://shop/busy", "");
            ProbeUtils.beginNativeSQLRequest("select 1", "shopDB");
            ProbeUtils.endNativeSQLRequest("select 1", "shopDB");
            ThreadManager.finishNativeHttpRequest("/busy", "shop", "");
            Thread.yield();
        }
    }
}
