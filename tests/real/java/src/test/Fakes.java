package test;

import java.lang.reflect.InvocationHandler;
import java.lang.reflect.Method;
import java.lang.reflect.Proxy;
import java.util.HashMap;
import java.util.Map;

/** An object of any interface that answers by method name; what it was not told yields null or 0. */
public final class Fakes implements InvocationHandler {
  private final Map<String, Object> answers = new HashMap<>();

  public interface Answer {
    Object to(Object[] args) throws Throwable;
  }

  /** {@code answers}: names, each followed by a value, an Answer or a Throwable to throw. */
  public static <T> T of(Class<T> type, Object... answers) {
    Fakes fake = new Fakes();
    for (int i = 0; i < answers.length; i += 2) {
      fake.answers.put((String) answers[i], answers[i + 1]);
    }
    return type.cast(
        Proxy.newProxyInstance(Fakes.class.getClassLoader(), new Class<?>[] {type}, fake));
  }

  @Override
  public Object invoke(Object self, Method method, Object[] args) throws Throwable {
    Object answer = answers.get(method.getName());
    if (answer instanceof Throwable) {
      throw (Throwable) answer;
    }
    if (answer instanceof Answer) {
      return ((Answer) answer).to(args);
    }
    return answer != null ? answer : nothing(method.getReturnType());
  }

  private static Object nothing(Class<?> type) {
    if (type == boolean.class) {
      return false;
    }
    if (type == int.class) {
      return 0;
    }
    return type == long.class ? (Object) 0L : null;
  }
}
