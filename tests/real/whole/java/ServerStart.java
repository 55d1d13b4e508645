import com.norvik.av.bootstrap.AVLauncher;
import com.velora.av5.bootstrap.CustomCLAV;
import com.velora.probe.ProbeController;
import java.io.BufferedReader;
import java.io.InputStreamReader;
import java.util.Objects;

/**
 * Loads servers' start-up classes by order, with the agent told to listen for class loads or not.
 * After each order: what the server's extension directories are, and the calls of the hook.
 */
public class ServerStart {
    static native boolean listen(boolean on);

    private static Object loaded;

    private static void awaitCollecting(boolean collects) throws InterruptedException {
        while (ProbeController.isNativeProbeEnabled() != collects) Thread.sleep(5);
    }

    private static void obey(String order) throws Exception {
        switch (order) {
            case "listen" -> System.out.println("registered " + listen(true));
            case "ignore" -> System.out.println("registered " + listen(false));
            case "server" -> loaded = new weblogic.Server();
            case "launcher" -> loaded = new AVLauncher();
            // As a JVM's launcher does: no frame of the application's is on top.
            case "reflect" -> loaded = Class.forName("weblogic.Server").getDeclaredConstructor().newInstance();
            case "work" -> {
                Thread worker = new Thread(System::gc, "worker");
                worker.start();
                worker.join();
            }
            case "stop" -> {
                Thread stopper = new Thread(ProbeController::stopNativeProbe);
                stopper.setDaemon(true);  // its call returns long after the effect
                stopper.start();
                awaitCollecting(false);
            }
            default -> throw new IllegalArgumentException(order);
        }
    }

    public static void main(String[] args) throws Exception {
        awaitCollecting(true);
        System.out.println("ready");
        BufferedReader in = new BufferedReader(new InputStreamReader(System.in));
        for (String order; (order = in.readLine()) != null; ) {
            obey(order);
            String directories = System.getProperty("av.ext.dirs");
            boolean known = CustomCLAV.calls == 0 || Objects.equals(CustomCLAV.directories, directories);
            System.out.println("state " + directories + " hooks " + (known ? CustomCLAV.calls : "too early"));
        }
    }
}
