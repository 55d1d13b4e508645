import com.velora.avportal.PortalUtils;
import com.velora.probe.ProbeController;

/** A portal that registers its monitored methods once and acts until its standard input ends. */
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
        while (System.in.read() >= 0) {}
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
