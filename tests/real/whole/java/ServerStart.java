import com.norvik.av.bootstrap.AVLauncher;
import com.velora.av5.bootstrap.CustomCLAV;
import java.util.Objects;

/** Loads servers' start-up classes, with the agent told to listen for class loads or not. */
public class ServerStart {
    static native boolean listen(boolean on);

    static void server() {
        new weblogic.Server();
    }

    static void launcher() {
        new AVLauncher();
    }

    /** As a JVM's launcher does: no frame of the application's is on top. */
    static void reflect() throws ReflectiveOperationException {
        Class.forName("weblogic.Server").getDeclaredConstructor().newInstance();
    }

    static void work() throws InterruptedException {
        Thread worker = new Thread(System::gc, "worker");
        worker.start();
        worker.join();
    }

    /** What the server's extension directories are, and the calls of the hook. */
    static String state() {
        String directories = System.getProperty("av.ext.dirs");
        boolean known = CustomCLAV.calls == 0 || Objects.equals(CustomCLAV.directories, directories);
        return directories + " hooks " + (known ? CustomCLAV.calls : "too early");
    }
}
