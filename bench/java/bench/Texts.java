package bench;

/**
 * The texts that requests and statements come with. A server has some dozens of pages and
 * statements, so there are 64 of each, taken in turn; all live as long as the process.
 */
final class Texts {
  static final int COUNT = 64;
  static final String METHOD = "GET";
  static final String[] NAME = new String[COUNT];
  static final String[] APPLICATION = new String[COUNT];
  static final String[] URL = new String[COUNT];
  static final String[] USER = new String[COUNT];
  static final String[] SQL = new String[COUNT];
  static final String[] DATA_SOURCE = new String[COUNT];

  static {
    for (int i = 0; i < COUNT; i++) {
      NAME[i] = "/catalog/item-" + (10 + i);
      APPLICATION[i] = "shop-" + i % 4;
      URL[i] = "http://shop.example:8080/catalog/item-" + (10 + i);
      USER[i] = "customer" + (10 + i);
      SQL[i] = "SELECT id, name, price, stock FROM item_" + (10 + i)
          + " WHERE category = ? ORDER BY name, id";
      DATA_SOURCE[i] = "jdbc:h2:mem:shop-" + i % 4;
    }
  }

  private Texts() {}
}
