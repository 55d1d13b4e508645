#pragma once

#include <optional>
#include <span>

#include "appserver/Secret.h"

// Keeps a user id and a password in a small file, the password scrambled so that it is not readable
// at a glance. That is obfuscation and no cryptography: the key is in every copy of the agent, and
// what keeps the password is the file's owner-only mode.
//
// The file is the user id, a colon, and the scrambled password without its end byte. Failures are
// logged and give null or -1; the wrong access word gives them without a message.
class VelEncryptor {
 public:
  static constexpr int MAX_LEN = 1000;         // bytes of the longest password
  static constexpr unsigned char kEnd = 0xFF;  // ends halves and scrambled bytes; never one
  static constexpr int kKeyLength = 15;
  // Room for the longest of each, with its end.
  static constexpr int kUserRoom = 1024;
  static constexpr int kPasswordRoom = MAX_LEN + 1;
  static constexpr int kScrambledRoom = kKeyLength * MAX_LEN * 3;

  VelEncryptor();
  ~VelEncryptor();

  // Null when the text is null or so long that decode() would not find its end.
  SecretBytes encode(const char* input);
  // `p` is the access word. The input ends with kEnd or has kScrambledRoom bytes.
  SecretText decode(const unsigned char* input, const char* p);

  // Writes the file, for its owner alone, reads it back and compares. Says on standard output what
  // it does, passwords included unless internal.mask.passwords is YES. 0 or -1.
  int generatePasswordFile(const char* uid, const char* inputPswd, const char* filename);

  struct Credentials {
    SecretText user, password;
  };
  std::optional<Credentials> readCredentials(const char* filename, const char* pmt);
  struct Scrambled {
    SecretText user;
    SecretBytes password;
  };
  std::optional<Scrambled> readScrambled(const char* filename, const char* pmt);

  // The same into the caller's buffers; what does not fit into them is refused whole. 0 or -1.
  int getUidPaswdFromFile(const char* filename, std::span<char> user, std::span<char> pswd,
                          const char* pmt);
  int readFromFile(const char* filename, std::span<char> user, std::span<unsigned char> pswd,
                   const char* pmt);
  // Replaces the file in one step: readers see the old one or the new one. A link under that name
  // is replaced, what it points at stays; anything else but a file is refused. 0 or -1.
  int writeToFile(const char* filename, const char* admin, const unsigned char* pswd, int paswdLen);

  // The steps of encode() and decode(). Inputs have `len` bytes and need no end byte; results have
  // one.
  SecretBytes makeHalves(const char* input, int len);
  SecretBytes encrypt(const unsigned char* input, int len);
  SecretBytes decrypt(const unsigned char* input, int len);  // null: corrupt
  SecretText joinHalves(const unsigned char* input, int len);
  static unsigned char XOR(unsigned char a, unsigned char b) { return a ^ b; }
  // Bytes before kEnd; 0 when none is found within kScrambledRoom bytes.
  int getLength(const unsigned char* input);

 private:
  std::optional<int> lengthOf(const unsigned char* input);
  std::optional<unsigned char> halfOf(const unsigned char* group) const;
  bool isAccessWord(const char* word) const;
  int verify(const char* uid, const char* password, const char* filename);

  SecretText key_, accessWord_;
};
