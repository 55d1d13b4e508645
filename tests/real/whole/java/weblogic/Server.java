package weblogic;

/** Stands for a server's start-up class: its load says that the server starts. */
public class Server {}
