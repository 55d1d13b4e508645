import com.velora.probe.ProbeController;
import com.velora.probe.ThreadManager;
import java.io.BufferedReader;
import java.io.File;
import java.io.InputStreamReader;
import java.lang.reflect.InvocationTargetException;
import java.lang.reflect.Method;
import java.lang.reflect.Modifier;
import java.nio.file.Files;
import java.nio.file.Paths;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.Collections;
import java.util.List;
import java.util.Map;
import java.util.TreeMap;
import java.util.concurrent.ConcurrentLinkedQueue;
import java.util.concurrent.CountDownLatch;
import java.util.jar.JarEntry;
import java.util.jar.JarFile;
import java.util.stream.Collectors;

/**
 * Knows every native method of the classes in the given jars and calls them as it is told on
 * standard input, one order per line:
 *
 * <pre>
 * list                    "native CLASS.METHOD TYPE..." for each native method, then "listed"
 * run FILE THREADS        each thread makes all calls of the file; "threw ..." for each that failed,
 *                         then "ran"
 * ask CALL                one call on the main thread: "answer VALUE", or "threw ..."
 * report                  "report TEXT", the agent's loss report
 * </pre>
 *
 * A call is CLASS.METHOD and its arguments as {@link Values} reads them, separated by tabs.
 */
public class Natives {
    private static final Map<String, Method> METHODS = new TreeMap<>();
    private static final ConcurrentLinkedQueue<String> THROWN = new ConcurrentLinkedQueue<>();

    private static final class Call {
        final Method method;
        final Object receiver;
        final Object[] arguments;

        Call(String line) throws Exception {
            String[] parts = line.split("\t", -1);
            method = METHODS.get(parts[0]);
            if (method == null) throw new IllegalArgumentException("no native " + parts[0]);
            receiver = Modifier.isStatic(method.getModifiers())
                ? null : Values.made(method.getDeclaringClass());
            Class<?>[] types = method.getParameterTypes();
            if (types.length != parts.length - 1) throw new IllegalArgumentException(line);
            arguments = new Object[types.length];
            for (int i = 0; i < types.length; ++i) arguments[i] = Values.read(types[i], parts[i + 1]);
        }

        Object make() throws Exception {
            try {
                return method.invoke(receiver, arguments);
            } catch (InvocationTargetException e) {
                throw new Exception(method.getName() + ": " + e.getCause(), e.getCause());
            }
        }
    }

    public static void main(String[] args) throws Exception {
        for (String jar : args) find(jar);
        while (!ProbeController.isNativeProbeEnabled()) Thread.sleep(5);
        say("ready");
        BufferedReader orders = new BufferedReader(new InputStreamReader(System.in));
        for (String order = orders.readLine(); order != null; order = orders.readLine()) {
            String[] words = order.split(" ", 2);
            switch (words[0]) {
                case "list": list(); break;
                case "run": run(words[1]); break;
                case "ask": ask(words[1]); break;
                case "report":
                    say("report " + ThreadManager.getNativeLossReport().replace('\n', ' '));
                    break;
                default: throw new IllegalArgumentException(order);
            }
        }
    }

    /** On a line of its own, whatever a native has printed before. */
    private static void say(String line) {
        System.out.print("\n" + line + "\n");
        System.out.flush();
    }

    private static void find(String jar) throws Exception {
        try (JarFile file = new JarFile(jar)) {
            for (JarEntry entry : Collections.list(file.entries())) {
                if (!entry.getName().endsWith(".class") || entry.getName().endsWith("-info.class")) continue;
                String name = entry.getName().replaceAll("\\.class$", "").replace('/', '.');
                // Not initialised: a class may do so only inside the server it belongs to.
                Class<?> owner = Class.forName(name, false, Natives.class.getClassLoader());
                for (Method method : owner.getDeclaredMethods()) {
                    if (!Modifier.isNative(method.getModifiers())) continue;
                    method.setAccessible(true);
                    if (METHODS.put(name + "." + method.getName(), method) != null)
                        throw new IllegalStateException(method + " is overloaded");
                }
            }
        }
    }

    private static void list() {
        METHODS.forEach((name, method) -> say("native " + name + Arrays.stream(
            method.getParameterTypes()).map(t -> " " + t.getTypeName()).collect(Collectors.joining())));
        say("listed");
    }

    private static void run(String order) throws Exception {
        String[] words = order.split(" ");
        List<Call> calls = new ArrayList<>();
        for (String line : Files.readAllLines(Paths.get(words[0]))) calls.add(new Call(line));
        int threads = Integer.parseInt(words[1]);
        CountDownLatch start = new CountDownLatch(threads);
        CountDownLatch running = new CountDownLatch(threads);
        for (int t = 0; t < threads; ++t) {
            Thread thread = new Thread(() -> {
                makeAll(calls, start);
                running.countDown();
                live();
            }, "caller-" + t);
            thread.setDaemon(true);
            thread.start();
        }
        running.await();
        for (String thrown = THROWN.poll(); thrown != null; thrown = THROWN.poll())
            say("threw " + thrown);
        say("ran");
    }

    private static void makeAll(List<Call> calls, CountDownLatch start) {
        start.countDown();
        try {
            start.await();
        } catch (InterruptedException e) {
            THROWN.add(e.toString());
        }
        for (Call call : calls) {
            try {
                call.make();
            } catch (Exception e) {
                THROWN.add(e.getMessage());
            }
        }
    }

    private static void ask(String line) {
        try {
            say("answer " + Values.write(new Call(line).make()));
        } catch (Exception e) {
            say("threw " + e.getMessage());
        }
    }

    /** Like a server's, the threads outlive their calls: what dead threads left is given up early. */
    private static void live() {
        try {
            Thread.sleep(Long.MAX_VALUE);
        } catch (InterruptedException e) {
            Thread.currentThread().interrupt();
        }
    }
}
