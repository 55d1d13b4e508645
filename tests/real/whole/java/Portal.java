import com.velora.avportal.PortalUtils;
import com.velora.probe.ProbeController;
import com.velora.probe.event.EventAgent;
import com.velora.probe.event.NetworkAgent;
import java.util.Scanner;

/**
 * A portal that registers its monitored methods once and acts until its standard input ends. On
 * "restart" it starts the probe anew with a network agent alone, on "events" the event agent too.
 */
public class Portal {
    public static void main(String[] args) throws Exception {
        while (!ProbeController.isNativeProbeEnabled()) Thread.sleep(5);
        PortalUtils.pushMonitoredMethodToNative((byte) 5, "Action.login");
        PortalUtils.pushMonitoredMethodToNative((byte) 5, "Action.logout");
        PortalUtils.pushMonitoredMethodToNative((byte) -128, "Action.\u00e4ndern");
        PortalUtils.pushMonitoredMethodToNative((byte) 0, "no id");
        Thread acting = new Thread(Portal::act);
        acting.setDaemon(true);
        acting.start();
        System.out.println("ready");
        Scanner commands = new Scanner(System.in);
        while (commands.hasNext()) {
            if (commands.next().equals("restart")) restart();
            else lend(() -> new EventAgent().startThread(0));
        }
    }

    private static void restart() {
        ProbeController.stopNativeProbe();
        ProbeController.startNativeProbe();
        lend(() -> new NetworkAgent().startThread(0));
        System.out.println("restarted");
    }

    private static void lend(Runnable agent) {
        Thread thread = new Thread(agent);
        thread.setDaemon(true);
        thread.start();
    }

    private static void act() {
        try {
            for (;; Thread.sleep(2)) {
                PortalUtils.startPortalActionRequest((byte) 5);
                PortalUtils.endPortalActionRequest();
            }
        } catch (InterruptedException e) {
            Thread.currentThread().interrupt();
        }
    }
}
