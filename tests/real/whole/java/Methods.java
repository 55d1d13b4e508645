import com.velora.bcm.bootstrap.BcmBootstrap;
import com.velora.command.MethodLevelModule;
import com.velora.probe.ProbeController;
import com.velora.probe.ThreadManager;
import com.velora.probe.heap.HeapAnalysisRuntime;
import com.velora.probe.l3trace.BcmRuntime;
import com.velora.probe.lock.LockAnalysisRuntime;
import java.io.BufferedReader;
import java.io.IOException;
import java.io.InputStream;
import java.io.InputStreamReader;

/**
 * Reports classes and methods as woven code does, and lets the JVM unload classes. Does on standard
 * input's orders: "announce", "keep", "register", "analyse", "drop N", "collect", "report".
 */
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

    private static void announce() {
        MethodLevelModule.initializeClass(
                "shop.Basket", new int[] {8, -16}, new String[] {"add", "sum"}, new String[] {"(I)V", "()J"});
        MethodLevelModule.initializeClass(
                "shop.Broken", new int[] {1, 2, 3}, new String[] {"a", "b", "c"}, new String[] {"", ""});
        MethodLevelModule.beforeMethod(8);
        MethodLevelModule.beforeMethod(-16);
        MethodLevelModule.afterMethod(-16);
        MethodLevelModule.afterMethod(8);
        MethodLevelModule.unloadClass("shop.Basket");
        MethodLevelModule.unloadClass("shop.Basket");
        MethodLevelModule.unloadClass("shop.Stranger");
        BcmRuntime.sendClassEventNative(
                4711, "shop.Cart", new int[] {24}, new String[] {"pay"}, new String[] {null});
        BcmRuntime.appendL3Event((byte) 0, 24);
        BcmRuntime.appendL3Event((byte) 1, 24);
        BcmRuntime.sendClassUnloadEventNative(4711, "shop.Cart", new int[] {24});
        System.out.println("announced");
    }

    /** What a class that has no natives yet says of the first call. */
    private static boolean callable() {
        try {
            return OwnRuntime.appendL3Event((byte) 0, 99);
        } catch (UnsatisfiedLinkError notYet) {
            return false;
        }
    }

    private static void register() {
        boolean before = callable();
        BcmBootstrap.defineNativeMethodsForClassNative(OwnRuntime.class, "com.velora.Other");
        boolean other = callable();
        for (Class<?> known : new Class<?>[] {BcmRuntime.class, HeapAnalysisRuntime.class, LockAnalysisRuntime.class})
            BcmBootstrap.defineNativeMethodsForClassNative(known, known.getName());
        BcmBootstrap.defineNativeMethodsForClassNative(OwnRuntime.class, BcmRuntime.class.getName());
        boolean after = callable()
                && OwnRuntime.sendClassEventNative(5, "x.Own", new int[0], new String[0], new String[0])
                && OwnRuntime.sendClassUnloadEventNative(5, "x.Own", new int[0]);
        System.out.println("registered " + before + " " + other + " " + after);
    }

    private static void analyse() {
        HeapAnalysisRuntime.nativeHeapAllocationStart(8, 42, "shop.Item");
        HeapAnalysisRuntime.nativeHeapAllocationEnd(8, 42, "shop.Item");
        StringBuilder queued = new StringBuilder();
        for (byte kind = 0; kind < 8; ++kind)
            queued.append(
                    LockAnalysisRuntime.appendEvent(kind, "shop.Till", 8, (byte) 1, "/pay", "shop", -16, 0) ? 1 : 0);
        System.out.println("analysed " + queued);
    }

    private static void drop(int loaders) throws Exception {
        for (int i = 0; i < loaders; ++i) Class.forName("Methods$Doomed", true, new OwnLoader());
        System.out.println("dropped");
    }

    public static void main(String[] args) throws Exception {
        while (!ProbeController.isNativeProbeEnabled()) Thread.sleep(5);
        System.out.println("ready");
        BufferedReader orders = new BufferedReader(new InputStreamReader(System.in));
        for (String order = orders.readLine(); order != null; order = orders.readLine()) {
            if (order.equals("announce")) announce();
            if (order.equals("keep")) {
                MethodLevelModule.initializeClass(
                        "shop.Kept", new int[] {40}, new String[] {"stay"}, new String[] {"()V"});
                System.out.println("kept");
            }
            if (order.equals("register")) register();
            if (order.equals("analyse")) analyse();
            if (order.startsWith("drop ")) drop(Integer.parseInt(order.substring(5)));
            if (order.equals("collect")) {
                System.gc();
                System.out.println("collected");
            }
            if (order.equals("report"))
                System.out.println("report " + ThreadManager.getNativeLossReport().replace('\n', ' '));
        }
    }
}
