package com.norvik.av.webcontainer.util;

/** Stands in for the server's own class of settings. */
public class ExProperties extends java.util.Properties {
    private static final long serialVersionUID = 1;
}
