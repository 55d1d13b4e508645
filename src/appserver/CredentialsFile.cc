// The file half of VelEncryptor: what is read, written and said.
#include <sys/uio.h>
#include <unistd.h>

#include <array>
#include <initializer_list>
#include <string_view>

#include "appserver/PrivateFile.h"
#include "appserver/VelEncryptor.h"
#include "base/Gate.h"
#include "base/Messages.h"
#include "base/Trace.h"
#include "core/PropertyMgr.h"
#include "core/SmallFile.h"

#define VEL_ENCRYPTOR_TRACE() VEL_TRACE_AS("VelEncryptor.cc")

using namespace std::string_view_literals;

// For an error return, which leaves no exit line.
static int failed(TraceScope& trace) {
  trace.leaveSilently();
  return -1;
}

static std::string_view asText(const unsigned char* bytes, int length) {
  return {reinterpret_cast<const char*>(bytes), static_cast<std::size_t>(length)};
}

// -- reading

static SecretText textOf(std::string_view bytes) {
  SecretText text = makeSecret<char>(bytes.size() + 1);
  bytes.copy(text.get(), bytes.size());
  return text;
}

static SecretBytes endedBytes(std::string_view bytes) {
  SecretBytes ended = makeSecret<unsigned char>(bytes.size() + 1);
  std::memcpy(ended.get(), bytes.data(), bytes.size());
  ended[bytes.size()] = VelEncryptor::kEnd;
  return ended;
}

static std::optional<VelEncryptor::Scrambled> split(std::string_view file) {
  const std::size_t colon = file.find(':');
  if (colon >= VelEncryptor::kUserRoom) {  // none, or too far behind
    logError({1023, "Invalid userid or password"});
    return std::nullopt;
  }
  const std::string_view password = file.substr(colon + 1);
  if (password.size() >= VelEncryptor::kScrambledRoom) {
    logError({1028, "The input string is corrupt"});
    return std::nullopt;
  }
  return VelEncryptor::Scrambled{textOf(file.substr(0, colon)), endedBytes(password)};
}

std::optional<VelEncryptor::Scrambled> VelEncryptor::readScrambled(const char* filename,
                                                                   const char* pmt) {
  VEL_ENCRYPTOR_TRACE();
  if (!isAccessWord(pmt)) return std::nullopt;
  if (!filename) {
    logError({1022, "Invalid file name"});
    return std::nullopt;
  }
  const UniqueFd file = openRegularFile(filename);
  if (!file) {
    logError({1024, "Could not open the file %s"}, filename);
    return std::nullopt;
  }
  // No more than the longest file and a byte that tells that there is more.
  constexpr std::size_t kRoom = kUserRoom + 1 + kScrambledRoom;
  const SecretText bytes = makeSecret<char>(kRoom);
  const std::size_t length = readUpTo(file.get(), bytes.get(), kRoom);
  if (length > 0) return split({bytes.get(), length});
  logError({1025, "No data in file %s"}, filename);
  return std::nullopt;
}

std::optional<VelEncryptor::Credentials> VelEncryptor::readCredentials(const char* filename,
                                                                       const char* pmt) {
  VEL_ENCRYPTOR_TRACE();
  auto scrambled = readScrambled(filename, pmt);
  if (!scrambled) return std::nullopt;
  SecretText password = decode(scrambled->password.get(), pmt);
  if (!password) return std::nullopt;
  if (std::strlen(password.get()) > MAX_LEN) {
    logError({1036, "Password is too long. It should be less than %d chars"}, MAX_LEN);
    return std::nullopt;
  }
  return Credentials{std::move(scrambled->user), std::move(password)};
}

// Both, each with its end, or nothing.
template <class Byte>
static bool copyInto(std::span<char> user, std::span<Byte> pswd, const char* foundUser,
                     const Byte* foundPswd, std::size_t pswdLength) {
  const std::size_t userLength = std::strlen(foundUser);
  if (userLength >= user.size() || pswdLength >= pswd.size()) {
    logError({1023, "Invalid userid or password"});
    return false;
  }
  std::memcpy(user.data(), foundUser, userLength + 1);
  std::memcpy(pswd.data(), foundPswd, pswdLength + 1);
  return true;
}

int VelEncryptor::readFromFile(const char* filename, std::span<char> user,
                               std::span<unsigned char> pswd, const char* pmt) {
  VEL_ENCRYPTOR_TRACE();
  if (isAccessWord(pmt) && filename && (user.empty() || pswd.empty())) {
    logError({1023, "Invalid userid or password"});
    return failed(velTrace_);
  }
  const auto found = readScrambled(filename, pmt);
  if (!found) return failed(velTrace_);
  const unsigned char* password = found->password.get();
  const auto length = static_cast<std::size_t>(getLength(password));
  return copyInto(user, pswd, found->user.get(), password, length) ? 0 : failed(velTrace_);
}

int VelEncryptor::getUidPaswdFromFile(const char* filename, std::span<char> user,
                                      std::span<char> pswd, const char* pmt) {
  VEL_ENCRYPTOR_TRACE();
  if (!filename) {
    logError({1022, "Invalid file name"});
    return failed(velTrace_);
  }
  if (user.empty() || pswd.empty()) {
    logError({1023, "Invalid userid or password"});
    return failed(velTrace_);
  }
  const auto found = readCredentials(filename, pmt);
  if (!found) return failed(velTrace_);
  const char* password = found->password.get();
  return copyInto(user, pswd, found->user.get(), password, std::strlen(password))
             ? 0
             : failed(velTrace_);
}

// -- writing

int VelEncryptor::writeToFile(const char* filename, const char* admin, const unsigned char* pswd,
                              int paswdLen) {
  VEL_ENCRYPTOR_TRACE();
  if (!filename || !admin || !pswd || paswdLen < 0) {
    logError({1026, "Invalid file name or user id or password"});
    return failed(velTrace_);
  }
  const std::array parts{std::string_view(admin), ":"sv, asText(pswd, paswdLen)};
  if (replacePrivateFile(filename, parts)) return 0;
  logError({1027, "Could not open the file for writing, %s"}, filename);
  return failed(velTrace_);
}

// Straight to the descriptor: no buffer keeps a copy of a password.
static void say(std::initializer_list<std::string_view> parts) {
  std::array<iovec, 3> pieces;
  int count = 0;
  for (const std::string_view part : parts)
    pieces[static_cast<std::size_t>(count++)] = {const_cast<char*>(part.data()), part.size()};
  if (writev(STDOUT_FILENO, pieces.data(), count) < 0) traceMin("Standard output is closed");
}

// Masked too while the settings are going away and nobody can tell.
static bool masksPasswords() {
  const Gate::Scope inside(managersGate);
  return !inside || PropertyMgr::getInstance()->isProperty("internal.mask.passwords", "YES");
}

static void sayPassword(std::string_view kind, std::string_view password) {
  say({kind, masksPasswords() ? "********"sv : password, " \n"});
}

static bool canBeKept(const char* uid, const char* password, const char* filename) {
  if (!uid || !password || !filename)
    logError({1029, "UID or PASSWORD or filename is NULL"});
  else if (std::strlen(password) > VelEncryptor::MAX_LEN)
    logError({1036, "Password is too long. It should be less than %d chars"},
             VelEncryptor::MAX_LEN);
  else if (std::strlen(uid) >= VelEncryptor::kUserRoom)
    logError({1023, "Invalid userid or password"});  // nobody could read it back
  else
    return true;
  return false;
}

int VelEncryptor::generatePasswordFile(const char* uid, const char* inputPswd,
                                       const char* filename) {
  VEL_ENCRYPTOR_TRACE();
  if (!canBeKept(uid, inputPswd, filename)) return failed(velTrace_);
  const SecretBytes scrambled = encode(inputPswd);
  const SecretText clear = decode(scrambled.get(), accessWord_.get());
  if (!scrambled || !clear) return failed(velTrace_);
  const int length = getLength(scrambled.get());
  sayPassword("Encrypted password: ", asText(scrambled.get(), length));
  sayPassword("Decrypted password: ", clear.get());
  if (std::strcmp(clear.get(), inputPswd) != 0) {
    logError({1030, "Your actual password and decrypted password don't match"});
    return failed(velTrace_);
  }
  if (writeToFile(filename, uid, scrambled.get(), length) != 0) return failed(velTrace_);
  return verify(uid, inputPswd, filename);
}

int VelEncryptor::verify(const char* uid, const char* password, const char* filename) {
  const auto found = readScrambled(filename, accessWord_.get());
  if (!found) return -1;
  if (std::strcmp(found->user.get(), uid) != 0) {
    logError({1031, "User id read from file is not same as uid entered"});
    return -1;
  }
  const SecretText clear = decode(found->password.get(), accessWord_.get());
  if (!clear || std::strcmp(clear.get(), password) != 0) {
    logError({1032, "Password read from file is not same as Password entered"});
    return -1;
  }
  say({"password file ", filename, " was properly created"});
  return 0;
}
