package bench;

import java.util.Random;

/**
 * The texts that requests and statements come with, as a server has them: each request has an
 * address of its own and a name that the container cut out of it, so both are strings that nobody
 * has seen before; applications, users, statements and data sources are strings that stay.
 */
final class Texts {
  static final int COUNT = 4096; // more than a burst needs
  static final String METHOD = "GET";
  static final String[] NAME = new String[COUNT];
  static final String[] APPLICATION = new String[COUNT];
  static final String[] URL = new String[COUNT];
  static final String[] USER = new String[COUNT];
  static final String[] SQL = new String[COUNT];
  static final String[] DATA_SOURCE = new String[COUNT];

  private static final int PAGES = 64;
  private static final int APPLICATIONS = 4;
  private static final int USERS = 1000;
  private static final Random CHOICE = new Random(1);

  static {
    String[] applications = kept(APPLICATIONS, "shop-");
    String[] users = kept(USERS, "customer");
    String[] sources = kept(APPLICATIONS, "jdbc:h2:mem:shop-");
    String[] statements = new String[PAGES];
    for (int i = 0; i < PAGES; i++) {
      statements[i] = statement(2 + i % 16);
    }
    for (int i = 0; i < COUNT; i++) {
      APPLICATION[i] = applications[i % APPLICATIONS];
      USER[i] = users[CHOICE.nextInt(USERS)];
      SQL[i] = statements[i % PAGES];
      DATA_SOURCE[i] = sources[i % APPLICATIONS];
    }
    renew();
  }

  private Texts() {}

  /** The addresses and names of the next burst. */
  static void renew() {
    for (int i = 0; i < COUNT; i++) {
      NAME[i] = "/catalog/page-" + (10 + i % PAGES);
      URL[i] = "http://shop.example" + NAME[i] + "/" + (100_000 + CHOICE.nextInt(900_000));
    }
  }

  /** Of 70 to 240 characters, as tools write them. */
  private static String statement(int columns) {
    StringBuilder text = new StringBuilder("SELECT i.id");
    for (int i = 1; i < columns; i++) {
      text.append(", i.column").append(i);
    }
    return text.append(" FROM items i WHERE i.category = ? ORDER BY i.id").toString();
  }

  private static String[] kept(int count, String prefix) {
    String[] texts = new String[count];
    for (int i = 0; i < count; i++) {
      texts[i] = prefix + (10 + i);
    }
    return texts;
  }
}
