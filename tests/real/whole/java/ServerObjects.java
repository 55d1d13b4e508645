import com.norvik.av.webcontainer.util.ExProperties;
import java.util.Hashtable;
import java.util.Map;

/** What a server's classes hold, or fail to. */
public class ServerObjects {
    static class AVSSystem {
        static final ExProperties _props = new ExProperties();

        static {
            _props.put("found", "settings");
        }
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
        static final Hashtable<String, String> dataSources = new Hashtable<>(Map.of("found", "sources"));
    }
}
