#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

// Cutting of texts that other programs wrote. Any bytes are taken.
namespace doctor {

std::vector<std::string_view> linesOf(std::string_view text);
std::vector<std::string> splitAtNul(std::string_view text);     // a last piece needs no NUL
std::vector<std::string_view> fieldsOf(std::string_view line);  // what is between blanks
std::string_view trimmed(std::string_view text);

// The number that is the whole text, in this base; nothing for what is no number or does not fit.
std::optional<long long> numberIn(std::string_view text, int base = 10);

// The value of the last line "key=value", blanks around both left out; lines that begin with '#' or
// '!' are comments.
std::optional<std::string> settingIn(std::string_view text, std::string_view key);

// The value that java.util.Properties finds for a key: escapes, continued lines, and "=", ":" or a
// blank as separator.
std::optional<std::string> javaProperty(std::string_view text, std::string_view key);

std::string fileNameOf(std::string_view path);
std::string directoryOf(std::string_view path);                         // without the final slash
std::string joined(std::string_view directory, std::string_view path);  // an absolute path stays

// For a terminal: control characters appear as \x1B, so that no foreign text steers it.
std::string printable(std::string_view text);

}  // namespace doctor
