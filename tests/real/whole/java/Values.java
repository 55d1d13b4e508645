import java.lang.reflect.Array;
import java.lang.reflect.Constructor;
import java.util.ArrayList;
import java.util.HashMap;
import java.util.List;
import java.util.Map;

/**
 * Values as text: "-" is null, a number is itself, a string stands in double quotes with every
 * special unit as &#92;uXXXX, an array is [a,b,c], "@" makes an object with the type's own
 * constructor and "@NAME" is that class, "@int" too, or an object of it. "*N" behind a string or an
 * array repeats what it holds.
 */
final class Values {
    /** Long texts come many times. */
    private static final Map<String, String> TEXTS = new HashMap<>();

    private Values() {}

    static Object read(Class<?> type, String text) throws Exception {
        if (text.equals("-")) return null;
        if (type.isArray()) return array(type.getComponentType(), text);
        if (type == String.class) return TEXTS.computeIfAbsent(text, Values::string);
        if (type == boolean.class) return Boolean.valueOf(text);
        if (type == byte.class) return Byte.valueOf(text);
        if (type == short.class) return Short.valueOf(text);
        if (type == int.class) return Integer.valueOf(text);
        if (type == long.class) return Long.valueOf(text);
        if (type == double.class) return Double.valueOf(text);
        if (!text.startsWith("@")) throw new IllegalArgumentException(type + " " + text);
        Class<?> named = text.equals("@") ? type : named(text.substring(1));
        return type == Class.class ? named : made(named);
    }

    private static Class<?> named(String name) throws Exception {
        return name.equals("int") ? int.class
            : Class.forName(name, false, Values.class.getClassLoader());
    }

    static Object made(Class<?> type) throws Exception {
        if (type == Object.class) return new Object();
        Constructor<?> constructor = type.getDeclaredConstructor();
        constructor.setAccessible(true);
        return constructor.newInstance();
    }

    static String write(Object value) {
        if (value == null || !value.getClass().isArray()) return String.valueOf(value).trim();
        List<String> elements = new ArrayList<>();
        for (int i = 0; i < Array.getLength(value); ++i) elements.add(write(Array.get(value, i)));
        return elements.toString();
    }

    private static int times(String text, char close) {
        int star = text.lastIndexOf('*');
        return star > text.lastIndexOf(close) ? Integer.parseInt(text.substring(star + 1)) : 1;
    }

    private static String string(String text) {
        StringBuilder units = new StringBuilder();
        String inside = text.substring(1, text.lastIndexOf('"'));
        for (int i = 0; i < inside.length(); ++i) {
            if (inside.charAt(i) != '\\') {
                units.append(inside.charAt(i));
            } else {
                units.append((char) Integer.parseInt(inside.substring(i + 2, i + 6), 16));
                i += 5;
            }
        }
        return units.toString().repeat(times(text, '"'));
    }

    private static Object array(Class<?> element, String text) throws Exception {
        String inside = text.substring(1, text.lastIndexOf(']'));
        String[] once = inside.isEmpty() ? new String[0] : inside.split(",");
        int length = once.length * times(text, ']');
        Object array = Array.newInstance(element, length);
        for (int i = 0; i < length; ++i) Array.set(array, i, read(element, once[i % once.length]));
        return array;
    }
}
