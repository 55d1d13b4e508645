/** A server that reports what it serves where there is an agent, and ends with status 3. */
public class Plain {
    public static void main(String[] args) throws Exception {
        int served = 0;
        for (int request = 0; request < 1000; ++request) served += report() ? 1 : 0;
        System.out.println("served " + served);
        System.exit(3);
    }

    private static boolean report() {
        try {
            com.velora.probe.ThreadManager.startNativeHttpRequest(null, "/plain", "shop", "http://shop/", "");
            com.velora.probe.ThreadManager.finishNativeHttpRequest("/plain", "shop", "");
        } catch (LinkageError agentAbsent) {
            return true;
        }
        return true;
    }
}
