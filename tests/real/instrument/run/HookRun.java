import com.velora.bcm.bootstrap.BcmBootstrap;
import java.lang.reflect.Method;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.Arrays;

/** Does the steps that it is told, one line for each; the instrumenter turns "plain" to "woven". */
public final class HookRun {
  private static final int OFFSET = 3;

  public static void main(String[] steps) throws Exception {
    System.out.println("main");
    for (String step : steps) {
      String[] words = step.split("=", 2);
      switch (words[0]) {
        case "instrument" -> BcmBootstrap.setInstrumenter(HookRun::weave);
        case "fail" -> BcmBootstrap.setInstrumenter(HookRun::fail);
        case "load" -> Class.forName(words[1]);
        case "say" -> say(Class.forName(words[1]));
        case "loader" -> say(throughLoader(words[1]));
        case "system" -> say(define(ClassLoader.getSystemClassLoader(), product()));
        case "proxy" -> say(throughProxy());
        case "broken" -> tryBroken();
        default -> throw new IllegalArgumentException(step);
      }
    }
    System.out.println("end");
  }

  private static byte[] weave(
      ClassLoader loader, String name, byte[] bytes, int offset, int length) {
    if (!name.startsWith("p.")) {
      return null;
    }
    String by = loader == null ? "hook" : loader.getClass().getName();
    System.out.println("offered " + name + " by " + by + " from " + offset);
    String text = new String(bytes, offset, length, StandardCharsets.ISO_8859_1);
    return text.replace("plain", "woven").getBytes(StandardCharsets.ISO_8859_1);
  }

  private static byte[] fail(
      ClassLoader loader, String name, byte[] bytes, int offset, int length) {
    throw new AssertionError("no " + name);
  }

  private static void say(Class<?> type) throws Exception {
    System.out.println(type.getName() + " says " + type.getMethod("text").invoke(null));
  }

  /** The product's class file, from OFFSET on and with something behind it. */
  private static byte[] product() throws Exception {
    byte[] plain = Files.readAllBytes(Path.of(System.getProperty("products"), "p/Product.class"));
    byte[] shifted = new byte[plain.length + 2 * OFFSET];
    System.arraycopy(plain, 0, shifted, OFFSET, plain.length);
    return shifted;
  }

  private static Class<?> throughLoader(String type) throws Exception {
    Class<?> loader = Class.forName(type);
    boolean takesParent = loader.getConstructors()[0].getParameterCount() == 1;
    ClassLoader parent = HookRun.class.getClassLoader();
    Object made = loader.getConstructors()[0].newInstance(takesParent ? new Object[] {parent} : new Object[0]);
    return define((ClassLoader) made, product());
  }

  private static Class<?> define(ClassLoader loader, byte[] bytes) throws Exception {
    Method define =
        loader.getClass().getMethod("define", String.class, byte[].class, int.class, int.class);
    return (Class<?>)
        define.invoke(loader, "p.Product", bytes, OFFSET, bytes.length - 2 * OFFSET);
  }

  /** Old classes that are none: another magic, and cut in the middle. */
  private static void tryBroken() throws Exception {
    byte[] whole =
        HookRun.class.getClassLoader().getResourceAsStream("p/Victim.class").readAllBytes();
    byte[] another = whole.clone();
    another[3]++;
    for (byte[] bytes : new byte[][] {another, Arrays.copyOf(whole, whole.length / 2)}) {
      try {
        new p.PlainLoader(null).define("p.Victim", bytes, 0, bytes.length);
      } catch (ClassFormatError e) {
        System.out.println("refused");
      }
    }
  }

  private static Class<?> throughProxy() throws Exception {
    byte[] bytes = product();
    ClassLoader parent = HookRun.class.getClassLoader();
    return p.ProxyMaker.define(parent, "p.Product", bytes, OFFSET, bytes.length - 2 * OFFSET);
  }
}
