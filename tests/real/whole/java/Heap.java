import static java.nio.charset.StandardCharsets.ISO_8859_1;

import com.velora.command.heap.HeapUtil;
import com.velora.probe.ProbeController;
import java.io.BufferedReader;
import java.io.IOException;
import java.io.InputStream;
import java.io.InputStreamReader;
import java.io.UncheckedIOException;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.List;

/**
 * A heap with a known population. Orders, a line each: "snapshot FILE" and "dump FILE" write a
 * summary and print "result CODE", "arrays N", "classes N" and "loading N" change the heap and
 * print "done".
 */
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

    public static void main(String[] args) throws Exception {
        for (int i = 0; i < Integer.parseInt(args[0]); ++i) kept.add(new Plain());
        for (int i = 0; i < 777; ++i) kept.add(new Derived());
        for (int i = 0; i < 11; ++i) kept.add(new Empty());
        for (int i = 0; i < 5; ++i) kept.add(new Pair(i, null));
        kept.add((Runnable) () -> kept.clear());
        // Loaded and never made ready: the JVM says nothing of its fields.
        kept.add(Class.forName("Heap$Unprepared", false, Heap.class.getClassLoader()));
        while (!ProbeController.isNativeProbeEnabled()) Thread.sleep(5);
        System.out.println("ready");
        BufferedReader orders = new BufferedReader(new InputStreamReader(System.in));
        for (String line; (line = orders.readLine()) != null; ) obey(line.split(" "));
    }

    static class Unprepared { static long wide = 1; }

    private static void obey(String[] order) throws Exception {
        switch (order[0]) {
            case "snapshot", "dump" -> {
                StringBuffer text = new StringBuffer("kept:");
                int result = order[0].equals("dump") ? HeapUtil.getHeapDumpData(text)
                                                     : HeapUtil.getHeapSnapShotData(text);
                Files.writeString(Path.of(order[1]), text);
                System.out.println("result " + result);
            }
            case "arrays" -> {
                for (int i = Integer.parseInt(order[1]); i > 0; --i) {
                    kept.add(new long[10]);
                    kept.add(new Empty[7]);
                }
                System.out.println("done");
            }
            case "classes" -> {
                Definer definer = new Definer();
                for (int i = Integer.parseInt(order[1]); i > 0; --i) kept.add(definer.instance(i));
                System.out.println("done");
            }
            case "loading" -> {
                loading = order[1].equals("1");
                if (loading) new Thread(Heap::load).start();
                System.out.println("done");
            }
            default -> throw new IOException(order[0]);
        }
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
