package test;

import com.velora.probe.ProbeSystem;
import com.velora.publish.pe_lookup;
import java.io.IOException;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Path;

/** Where the publish server's address comes from. The argument is the variable's own address. */
public final class PublishTest {
  private static String lookedUp() {
    pe_lookup.hostName_ = null;
    pe_lookup.port_ = -1;
    int result = pe_lookup.initialize();
    return result == 1 ? pe_lookup.hostName_ + ":" + pe_lookup.port_ : "none";
  }

  public static void main(String[] args) throws IOException {
    Path home = Files.createTempDirectory("velora-home");
    Path file = home.resolve("etc/publish.properties");
    ProbeSystem.veloraHome = home.toString();
    if (args.length > 0) {
      Check.same("environment variable", args[0], lookedUp());
    } else {
      withoutVariable(file);
    }
    System.setProperty("velora.publish.address", "127.0.0.2:99");
    Check.same("property over all", "127.0.0.2:99", lookedUp());
    values();
    Files.deleteIfExists(file);
    Files.deleteIfExists(file.getParent());
    Files.delete(home);
    Check.same("send buffer", 262144, pe_lookup.sendBuffSize_);
    Check.finish();
  }

  private static void withoutVariable(Path file) throws IOException {
    Check.same("nothing says anything", "127.0.0.1:7811", lookedUp());
    Files.createDirectory(file.getParent());
    write(file, "# ours\npublish.address = 10.1.2.3:4567\n");
    Check.same("file", "10.1.2.3:4567", lookedUp());
    write(file, "publish.address=10.1.2.4:4567\n");
    Check.same("file, changed while we run", "10.1.2.4:4567", lookedUp());
    write(file, "other=1\n");
    Check.same("file without the key", "127.0.0.1:7811", lookedUp());
  }

  private static void write(Path file, String text) throws IOException {
    Files.write(file, text.getBytes(StandardCharsets.UTF_8));
  }

  private static void values() {
    String[][] cases = {
      {" localhost:17811 ", "127.0.0.1:17811"}, {"10.0.0.1", "10.0.0.1:7811"},
      {":17811", "127.0.0.1:17811"}, {"10.0.0.1:0", "none"}, {"10.0.0.1:65536", "none"},
      {"10.0.0.1:x", "none"}, {"host.invalid:1", "none"}, {"[::1]:1", "none"},
    };
    for (String[] c : cases) {
      System.setProperty("velora.publish.address", c[0]);
      Check.same("'" + c[0] + "'", c[1], lookedUp());
    }
  }
}
