#include "Text.h"

#include "base/Words.h"

namespace doctor {

static constexpr std::string_view kBlanks = " \t\r\n\f\v";

// The pieces between separators; the empty one behind a final separator is no piece.
static std::vector<std::string_view> pieces(std::string_view text, char separator) {
  std::vector<std::string_view> found;
  while (!text.empty()) {
    const auto end = std::min(text.find(separator), text.size());
    found.push_back(text.substr(0, end));
    text.remove_prefix(std::min(end + 1, text.size()));
  }
  return found;
}

std::vector<std::string_view> linesOf(std::string_view text) { return pieces(text, '\n'); }

std::vector<std::string> splitAtNul(std::string_view text) {
  const auto found = pieces(text, '\0');
  return {found.begin(), found.end()};
}

std::vector<std::string_view> fieldsOf(std::string_view line) { return wordsOf(line, kBlanks); }

std::string_view trimmed(std::string_view text) { return ::trimmed(text, kBlanks); }

std::optional<long long> numberIn(std::string_view text, int base) {
  return wholeNumber<long long>(text, base);
}

std::optional<std::string> settingIn(std::string_view text, std::string_view key) {
  std::optional<std::string> value;
  for (std::string_view line : linesOf(text)) {
    line = trimmed(line);
    const auto equals = line.find('=');
    if (line.starts_with('#') || line.starts_with('!') || equals == line.npos) continue;
    if (trimmed(line.substr(0, equals)) == key) value = trimmed(line.substr(equals + 1));
  }
  return value;
}

std::string fileNameOf(std::string_view path) {
  return std::string(path.substr(path.rfind('/') + 1));  // no slash: npos + 1 is 0
}

std::string directoryOf(std::string_view path) {
  const auto slash = path.rfind('/');
  if (slash == path.npos) return ".";
  return slash == 0 ? "/" : std::string(path.substr(0, slash));
}

std::string joined(std::string_view directory, std::string_view path) {
  if (path.starts_with('/') || directory.empty()) return std::string(path);
  return std::string(directory) + "/" + std::string(path);
}

static void appendHex(std::string& out, unsigned char byte) {
  constexpr char kDigits[] = "0123456789ABCDEF";
  out += "\\x";
  out += kDigits[byte >> 4];
  out += kDigits[byte & 15];
}

std::string printable(std::string_view text) {
  std::string out;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const auto byte = static_cast<unsigned char>(text[i]);
    const auto next = i + 1 < text.size() ? static_cast<unsigned char>(text[i + 1]) : 0U;
    if (byte == 0xC2 && next >= 0x80 && next < 0xA0) {  // the control characters U+0080 to U+009F
      appendHex(out, byte);
      appendHex(out, static_cast<unsigned char>(text[++i]));
    } else if (byte < 0x20 || byte == 0x7F) {
      appendHex(out, byte);
    } else {
      out += text[i];
    }
  }
  return out;
}

}  // namespace doctor
