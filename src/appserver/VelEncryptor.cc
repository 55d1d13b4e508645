#include "appserver/VelEncryptor.h"

#include <algorithm>
#include <span>
#include <string_view>

#include "base/Messages.h"
#include "base/Trace.h"

constexpr std::string_view kKey = "q#Tz8!mw^R2k%Lp";
constexpr std::string_view kAccessWord = "Hx3&w!#9k(*pR7$e^2#uZ";
static_assert(kKey.size() == VelEncryptor::kKeyLength && kAccessWord.size() == 21);
// A half-byte changes the low four bits only: no scrambled byte is a NUL or the end byte.
static_assert(std::ranges::all_of(kKey, [](char c) { return c > 0x20 && c < 0x7F; }));

constexpr int kHalf = 16;  // values of a half-byte

static SecretText copyOf(std::string_view text) {
  SecretText copy = makeSecret<char>(text.size() + 1);
  text.copy(copy.get(), text.size());
  return copy;
}

VelEncryptor::VelEncryptor() : key_(copyOf(kKey)), accessWord_(copyOf(kAccessWord)) { VEL_TRACE(); }

VelEncryptor::~VelEncryptor() { VEL_TRACE(); }

bool VelEncryptor::isAccessWord(const char* word) const {
  return word && std::strcmp(word, accessWord_.get()) == 0;
}

std::optional<int> VelEncryptor::lengthOf(const unsigned char* input) {
  const auto* end = static_cast<const unsigned char*>(std::memchr(input, kEnd, kScrambledRoom));
  if (end) return static_cast<int>(end - input);
  logError({1028, "The input string is corrupt"});
  return std::nullopt;
}

int VelEncryptor::getLength(const unsigned char* input) {
  VEL_TRACE();
  return input ? lengthOf(input).value_or(0) : 0;
}

SecretBytes VelEncryptor::encode(const char* input) {
  VEL_TRACE();
  if (!input) return nullptr;
  // What is longer has halves without a findable end, and that is all that is asked of it.
  const int len = static_cast<int>(strnlen(input, kScrambledRoom));
  const SecretBytes halves = makeHalves(input, len);
  if (getLength(halves.get()) == 2 * len) return encrypt(halves.get(), 2 * len);
  logError({1019, "Error occured during encryption"});
  velTrace_.leaveSilently();
  return nullptr;
}

SecretBytes VelEncryptor::makeHalves(const char* input, int len) {
  VEL_TRACE();
  SecretBytes halves = makeSecret<unsigned char>(2 * static_cast<std::size_t>(len) + 1);
  unsigned char* out = halves.get();
  for (const char c : std::string_view(input, static_cast<std::size_t>(len))) {
    const auto byte = static_cast<unsigned char>(c);
    *out++ = byte / kHalf;
    *out++ = byte % kHalf;
  }
  *out = kEnd;
  return halves;
}

SecretBytes VelEncryptor::encrypt(const unsigned char* input, int len) {
  VEL_TRACE();
  SecretBytes scrambled = makeSecret<unsigned char>(static_cast<std::size_t>(len) * kKeyLength + 1);
  unsigned char* out = scrambled.get();
  for (const unsigned char half : std::span(input, static_cast<std::size_t>(len)))
    for (const char* key = key_.get(); *key; ++key)
      *out++ = XOR(half, static_cast<unsigned char>(*key));
  *out = kEnd;
  return scrambled;
}

SecretText VelEncryptor::decode(const unsigned char* input, const char* p) {
  VEL_TRACE();
  if (!input || !isAccessWord(p)) return nullptr;
  if (const auto len = lengthOf(input))
    if (const SecretBytes halves = decrypt(input, *len))
      return joinHalves(halves.get(), *len / kKeyLength);
  logError({1035, "Error occured during decryption"});
  velTrace_.leaveSilently();
  return nullptr;
}

// The half-byte that all bytes of a group hold; nothing when they disagree.
std::optional<unsigned char> VelEncryptor::halfOf(const unsigned char* group) const {
  const unsigned char half = XOR(group[0], static_cast<unsigned char>(key_[0]));
  for (std::size_t i = 1; i < kKeyLength; ++i)
    if (XOR(group[i], static_cast<unsigned char>(key_[i])) != half) return std::nullopt;
  if (half >= kHalf) return std::nullopt;
  return half;
}

SecretBytes VelEncryptor::decrypt(const unsigned char* input, int len) {
  VEL_TRACE();
  const std::size_t count = static_cast<std::size_t>(len) / kKeyLength;
  SecretBytes halves = makeSecret<unsigned char>(count + 1);
  bool whole = len % (2 * kKeyLength) == 0;  // two groups make a byte
  for (std::size_t i = 0; whole && i < count; ++i) {
    const auto half = halfOf(input + i * kKeyLength);
    if (half) halves[i] = *half;
    whole = half.has_value();
  }
  halves[count] = kEnd;
  if (whole) return halves;
  logError({1034, "Encrypted password string is corrupt"});
  velTrace_.leaveSilently();
  return nullptr;
}

SecretText VelEncryptor::joinHalves(const unsigned char* input, int len) {
  VEL_TRACE();
  const std::size_t count = static_cast<std::size_t>(len) / 2;
  SecretText text = makeSecret<char>(count + 1);
  for (std::size_t i = 0; i < count; ++i)
    text[i] = static_cast<char>(input[2 * i] * kHalf | (input[2 * i + 1] & (kHalf - 1)));
  return text;
}
