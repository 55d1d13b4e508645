import com.velora.probe.ProbeController;
import java.io.BufferedReader;
import java.io.InputStreamReader;
import java.lang.reflect.InvocationTargetException;
import java.lang.reflect.Method;
import java.lang.reflect.Modifier;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Paths;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.List;
import java.util.Map;
import java.util.TreeMap;
import java.util.concurrent.ConcurrentLinkedQueue;
import java.util.concurrent.CountDownLatch;
import java.util.jar.JarEntry;
import java.util.jar.JarFile;
import java.util.stream.Collectors;

/**
 * Calls methods as it is told on standard input, one order per line. It knows every method of the
 * classes among its arguments, and every native method of the classes in the jars among them.
 *
 * <pre>
 * list                    "native CLASS.METHOD TYPE..." for each method of a jar, then "listed"
 * run FILE THREADS        each thread makes all calls of the file; "threw ..." for each that failed,
 *                         then "ran"
 * ask CALL                one call on the main thread: "answer VALUE", or "threw ..."
 * </pre>
 *
 * A call is CLASS.METHOD and its arguments as {@link Values} reads them, separated by tabs.
 */
public class Driver {
    private static final Map<String, Method> METHODS = new TreeMap<>();
    private static final ConcurrentLinkedQueue<String> THROWN = new ConcurrentLinkedQueue<>();

    private static final class Call {
        final Method method;
        final Object receiver;
        final Object[] arguments;

        Call(String line) throws Exception {
            String[] parts = line.split("\t", -1);
            method = METHODS.get(parts[0]);
            if (method == null) throw new IllegalArgumentException("no method " + parts[0]);
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
        for (String arg : args) {
            if (arg.endsWith(".jar")) findNatives(arg);
            else know(arg, true);
        }
        while (!ProbeController.isNativeProbeEnabled()) Thread.sleep(5);
        say("ready");
        BufferedReader orders = new BufferedReader(new InputStreamReader(System.in));
        for (String order; (order = orders.readLine()) != null; ) {
            String[] words = order.split(" ", 2);
            switch (words[0]) {
                case "list" -> list();
                case "run" -> run(words[1]);
                case "ask" -> ask(words[1]);
                default -> throw new IllegalArgumentException(order);
            }
        }
    }

    static void daemon(String name, Runnable body) {
        Thread thread = new Thread(body, name);
        thread.setDaemon(true);
        thread.start();
    }

    /** On a line of its own, whatever a native has printed before. */
    private static void say(String line) {
        System.out.writeBytes(("\n" + line + "\n").getBytes(StandardCharsets.UTF_8));
        System.out.flush();
    }

    private static void findNatives(String jar) throws Exception {
        try (JarFile file = new JarFile(jar)) {
            for (JarEntry entry : file.stream().toList()) {
                String name = entry.getName();
                if (name.endsWith(".class") && !name.endsWith("-info.class"))
                    know(name.replaceAll("\\.class$", "").replace('/', '.'), false);
            }
        }
    }

    private static void know(String name, boolean all) throws Exception {
        // Not initialised: a class may do so only inside the server it belongs to.
        Class<?> owner = Class.forName(name, false, Driver.class.getClassLoader());
        for (Method method : owner.getDeclaredMethods()) {
            if (method.isSynthetic() || !all && !Modifier.isNative(method.getModifiers())) continue;
            method.setAccessible(true);
            if (METHODS.put(name + "." + method.getName(), method) != null)
                throw new IllegalStateException(method + " is overloaded");
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
        for (int t = 0; t < threads; ++t)
            daemon("caller-" + t, () -> {
                makeAll(calls, start);
                running.countDown();
                live();
            });
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
            say("answer " + Values.write(new Call(line).make()).replace('\n', ' '));
        } catch (Throwable e) {
            say("threw " + e.getMessage());
        }
    }

    /** Like a server's, the threads outlive their calls: what dead threads left is given up early. */
    static void live() {
        try {
            Thread.sleep(Long.MAX_VALUE);
        } catch (InterruptedException e) {
            Thread.currentThread().interrupt();
        }
    }
}
