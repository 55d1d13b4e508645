import com.norvik.av.webcontainer.util.ExProperties;
import com.velora.av5.AVSServer;
import com.velora.probe.ProbePMI;
import com.velora.probe.ProbeUtils;
import java.util.Hashtable;

/**
 * Asks for what a server's classes hold, and keeps credentials in the file that the first argument
 * names; the second is the access word. Prints a line for each answer.
 */
public class ServerObjects {
    static class AVSSystem {
        static final ExProperties _props = new ExProperties();
    }

    static class Unprepared {
        static ExProperties _props;
    }

    static class Failing {
        static final ExProperties _props = fail();
        static Hashtable<String, String> dataSources;

        private static ExProperties fail() {
            throw new IllegalStateException("the server does not come up");
        }
    }

    static class Factory {
        static final Hashtable<String, String> dataSources = new Hashtable<>();
    }

    public static void main(String[] args) {
        for (Class<?> cls : new Class<?>[] {AVSSystem.class, Unprepared.class, Factory.class, Failing.class, null})
            System.out.println("properties " + (cls == null ? null : cls.getSimpleName()) + " "
                + (com.velora.av5.ProbeService.getSystemProperties(cls) == AVSSystem._props) + " "
                + (com.velora.av6.ProbeService.getSystemProperties(cls) == AVSSystem._props));
        for (Class<?> cls : new Class<?>[] {Factory.class, AVSSystem.class, Failing.class, int.class, null})
            System.out.println("sources " + (cls == null ? null : cls.getSimpleName()) + " "
                + (AVSServer.getDataSources(cls) == Factory.dataSources));
        System.out.println("counters " + ProbePMI.initializeProbe());

        String password = "p\u00e4\u20ac\ud83d\ude00\0";
        ProbeUtils.genPasswordFile("ann", password, args[0]);
        System.out.println();
        System.out.println("user " + ProbeUtils.getUser(args[1], args[0]));
        System.out.println("password " + password.equals(ProbeUtils.getPassword(args[1], args[0])));
        System.out.println("refused " + ProbeUtils.getPassword("word", args[0]));
    }
}
