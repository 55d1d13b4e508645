import java.io.IOException;
import java.io.InputStream;

/** Natives that can only be registered, and classes that the JVM unloads. */
public class Methods {
    /** Of another name than the classes that the library knows: its natives can only be registered. */
    static final class OwnRuntime {
        static native boolean appendL3Event(byte exit, int methodId);

        static native boolean sendClassEventNative(
                int sequence, String name, int[] ids, String[] names, String[] signatures);

        static native boolean sendClassUnloadEventNative(int id, String name, int[] ids);
    }

    /** Thirty-one methods with the constructor, which is how its unloading is told from others'. */
    public static final class Doomed {
        void m0() {} void m1() {} void m2() {} void m3() {} void m4() {} void m5() {}
        void m6() {} void m7() {} void m8() {} void m9() {} void m10() {} void m11() {}
        void m12() {} void m13() {} void m14() {} void m15() {} void m16() {} void m17() {}
        void m18() {} void m19() {} void m20() {} void m21() {} void m22() {} void m23() {}
        void m24() {} void m25() {} void m26() {} void m27() {} void m28() {} void m29() {}
    }

    private static final class OwnLoader extends ClassLoader {
        OwnLoader() {
            super(null);
        }

        @Override
        protected Class<?> findClass(String name) throws ClassNotFoundException {
            try (InputStream in = Methods.class.getResourceAsStream("/" + name + ".class")) {
                byte[] bytes = in.readAllBytes();
                return defineClass(name, bytes, 0, bytes.length);
            } catch (IOException e) {
                throw new ClassNotFoundException(name, e);
            }
        }
    }

    static void drop(int loaders) throws Exception {
        for (int i = 0; i < loaders; ++i) Class.forName("Methods$Doomed", true, new OwnLoader());
    }

    static void collect() {
        System.gc();
    }
}
