package bench;

import java.io.BufferedInputStream;
import java.io.Closeable;
import java.io.EOFException;
import java.io.IOException;
import java.io.InputStream;
import java.io.OutputStream;
import java.net.InetAddress;
import java.net.Socket;
import java.nio.charset.StandardCharsets;

/** A kept connection to a server on this machine; as little of HTTP as a load needs. */
final class HttpConnection implements Closeable {
  private final Socket socket;
  private final InputStream in;
  private final OutputStream out;
  private final StringBuilder line = new StringBuilder();

  HttpConnection(int port) throws IOException {
    socket = new Socket(InetAddress.getLoopbackAddress(), port);
    socket.setTcpNoDelay(true);
    socket.setSoTimeout(30_000);
    in = new BufferedInputStream(socket.getInputStream(), 1 << 16);
    out = socket.getOutputStream();
  }

  static byte[] request(String path) {
    return ("GET " + path + " HTTP/1.1\r\nHost: localhost\r\n\r\n")
        .getBytes(StandardCharsets.US_ASCII);
  }

  /** The status, once the whole response has come. */
  int get(byte[] request) throws IOException {
    out.write(request);
    String first = readLine();
    int length = -1;
    for (String header = readLine(); !header.isEmpty(); header = readLine()) {
      if (header.regionMatches(true, 0, "Content-Length:", 0, 15)) {
        length = Integer.parseInt(header.substring(15).trim());
      }
    }
    if (length >= 0) {
      in.skipNBytes(length);
    } else {
      skipChunks();
    }
    return Integer.parseInt(first.substring(9, 12));
  }

  private void skipChunks() throws IOException {
    for (int size = -1; size != 0; ) {
      size = Integer.parseInt(readLine(), 16);
      in.skipNBytes(size);
      readLine();
    }
  }

  private String readLine() throws IOException {
    line.setLength(0);
    for (int c = in.read(); c != '\n'; c = in.read()) {
      if (c < 0) {
        throw new EOFException("the server closed the connection");
      }
      if (c != '\r') {
        line.append((char) c);
      }
    }
    return line.toString();
  }

  @Override
  public void close() throws IOException {
    socket.close();
  }
}
