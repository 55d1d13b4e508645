import com.velora.bcm.bootstrap.BcmBootstrap;
import java.lang.reflect.Method;
import java.util.Arrays;
import java.util.Map;
import java.util.TreeMap;
import java.util.concurrent.atomic.AtomicInteger;
import java.util.jar.JarFile;
import p.PlainLoader;

/** Defines every class of a jar through a PlainLoader and prints what became of each. */
public final class LoadAll {
  public static void main(String[] jar) throws Exception {
    AtomicInteger offered = new AtomicInteger();
    BcmBootstrap.setInstrumenter(
        (loader, name, bytes, offset, length) ->
            offered.incrementAndGet() % 2 == 0
                ? null
                : Arrays.copyOfRange(bytes, offset, offset + length));
    PlainLoader loader = new PlainLoader(ClassLoader.getPlatformClassLoader());
    Map<String, byte[]> classes = classesOf(jar[0]);
    classes.forEach(loader::offer);
    int defined = 0;
    for (String name : classes.keySet()) {
      try {
        Class<?> type = Class.forName(name, false, loader);
        defined++;
        System.out.println(name + " " + type.getModifiers() + " " + methodsOf(type));
      } catch (LinkageError e) {
        System.out.println(name + " " + e.getClass());
      }
    }
    boolean rewritten =
        Arrays.stream(PlainLoader.class.getDeclaredMethods())
            .anyMatch(method -> method.getName().equals("velprobe$defineClass"));
    System.err.println("rewritten=" + rewritten + " offered=" + offered + " defined=" + defined);
  }

  private static String methodsOf(Class<?> type) {
    try {
      return Arrays.stream(type.getDeclaredMethods()).map(Method::toString).sorted().toList()
          .toString();
    } catch (LinkageError e) {
      return e.getClass().toString();  // which class is missed first is the JVM's choice
    }
  }

  private static Map<String, byte[]> classesOf(String path) throws Exception {
    Map<String, byte[]> classes = new TreeMap<>();
    try (JarFile jar = new JarFile(path)) {
      for (var entry : jar.stream().toList()) {
        String name = entry.getName();
        if (name.endsWith(".class") && !name.startsWith("META-INF") && !name.contains("-info")) {
          byte[] bytes = jar.getInputStream(entry).readAllBytes();
          classes.put(name.substring(0, name.length() - 6).replace('/', '.'), bytes);
        }
      }
    }
    return classes;
  }
}
