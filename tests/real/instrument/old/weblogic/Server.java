package weblogic;

/** Its load says that the server starts. */
public class Server {}
