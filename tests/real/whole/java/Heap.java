import static java.nio.charset.StandardCharsets.ISO_8859_1;

import com.velora.command.heap.HeapUtil;
import java.io.IOException;
import java.io.InputStream;
import java.io.UncheckedIOException;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.List;

/** A heap with a known population, and what changes it. */
public class Heap {
    static class Plain { int number; long wide; Object other; }
    static class Derived extends Plain implements Runnable, Comparable<Derived> {
        static final double[] TABLE = {1};
        static long wideStatic = 1;
        static short shortStatic = 2;
        static byte byteStatic = 3;
        static char charStatic = 4;
        static boolean flagStatic = true;
        static float floatStatic = 5;
        byte small;
        short medium;
        public void run() {}
        public int compareTo(Derived other) { return 0; }
    }
    static class Empty {}
    interface Named { String NAME = "constant".concat("s"); }
    record Pair(int a, Named b) implements Named {}

    private static final List<Object> kept = new ArrayList<>(2_000_000);
    private static volatile boolean loading;

    static class Unprepared { static long wide = 1; }

    static void populate(int plain) throws Exception {
        for (int i = 0; i < plain; ++i) kept.add(new Plain());
        for (int i = 0; i < 777; ++i) kept.add(new Derived());
        for (int i = 0; i < 11; ++i) kept.add(new Empty());
        for (int i = 0; i < 5; ++i) kept.add(new Pair(i, null));
        kept.add((Runnable) () -> kept.clear());
        // Loaded and never made ready: the JVM says nothing of its fields.
        kept.add(Class.forName("Heap$Unprepared", false, Heap.class.getClassLoader()));
    }

    /** Writes a summary to the file; returns what the agent answers. */
    static int summary(String source, String file) throws IOException {
        StringBuffer text = new StringBuffer("kept:");
        int result = source.equals("dump") ? HeapUtil.getHeapDumpData(text)
                                           : HeapUtil.getHeapSnapShotData(text);
        Files.writeString(Path.of(file), text);
        return result;
    }

    static void arrays(int count) {
        for (int i = 0; i < count; ++i) {
            kept.add(new long[10]);
            kept.add(new Empty[7]);
        }
    }

    static void classes(int count) {
        Definer definer = new Definer();
        for (int i = 1; i <= count; ++i) kept.add(definer.instance(i));
    }

    static void loading(boolean on) {
        loading = on;
        if (on) new Thread(Heap::load).start();
    }

    private static void load() {
        for (int i = 0; loading; i = (i + 1) % 10_000) new Definer().instance(i);
    }

    /** Makes classes "Made00001", "Made00002" and so on, each with one instance. */
    private static class Definer extends ClassLoader {
        private static final byte[] PATTERN = pattern();

        private static byte[] pattern() {
            try (InputStream in = Heap.class.getResourceAsStream("Made00000.class")) {
                return in.readAllBytes();
            } catch (IOException e) {
                throw new UncheckedIOException(e);
            }
        }

        Object instance(int number) {
            String text = new String(PATTERN, ISO_8859_1);
            byte[] bytes = text.replace("Made00000", String.format("Made%05d", number))
                .getBytes(ISO_8859_1);
            try {
                return defineClass(null, bytes, 0, bytes.length).getConstructor().newInstance();
            } catch (ReflectiveOperationException e) {
                throw new AssertionError(e);
            }
        }
    }
}
