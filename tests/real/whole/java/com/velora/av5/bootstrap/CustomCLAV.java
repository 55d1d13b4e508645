package com.velora.av5.bootstrap;

/** Stands for the bootstrap hook that the agent calls once it has extended the directories. */
public class CustomCLAV {
    public static int calls;
    public static String directories;

    public static void InstrumentBcm() {
        calls++;
        directories = System.getProperty("av.ext.dirs");
        if (Boolean.getBoolean("hook.fails")) throw new IllegalStateException("the hook fails");
    }
}
