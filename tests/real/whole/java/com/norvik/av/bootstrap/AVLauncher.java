package com.norvik.av.bootstrap;

/** Stands for another server's start-up class. */
public class AVLauncher {}
