#pragma once

#include <string_view>
#include <type_traits>

#include "base/CheckedText.h"
#include "base/Toolkit.h"

// Operator messages, to the message log: logInfo({1072, "Thread Manager started"}). Number and text
// must be a row of messages.def and the arguments must fit the text, or it does not compile.
struct MessageRow {
  int number;
  std::string_view text;
};
inline constexpr MessageRow kMessages[] = {
#define VEL_MESSAGE(number, text) {number, text},
#include "base/messages.def"
#undef VEL_MESSAGE
};

consteval bool isMessage(int number, std::string_view text) {
  for (const MessageRow& row : kMessages)
    if (row.number == number && row.text == text) return true;
  return false;
}

template <class... Args>
struct Message {
  consteval Message(int messageNumber, const char* words) : number(messageNumber), text(words) {
    if (!isMessage(messageNumber, words)) messageIsNotInMessagesDef();
    checkText<Args...>(words);
  }
  int number;
  const char* text;
};

enum class Severity { info, warn, error, fatal };

// Where a message goes: the toolkit's call for its severity, the logger, the catalogue.
struct MessageTarget {
  decltype(&::KlgLogInfo) call;
  KlgObject* logger;
  const char* catalog;
  int set;
};
MessageTarget messageTarget(Severity severity);

template <class... Values>
[[gnu::cold, gnu::noinline]] void writeMessage(Severity severity, int number, const char* text,
                                               Values... values) {
  const MessageTarget to = messageTarget(severity);
  withTypedArgs(
      [&](auto... typed) { to.call(to.logger, to.catalog, to.set, number, text, typed...); },
      values...);
}

template <class... Args>
void logInfo(Message<std::type_identity_t<Args>...> message, const Args&... args) {
  writeMessage(Severity::info, message.number, message.text, asToolkitValue(args)...);
}
template <class... Args>
void logWarn(Message<std::type_identity_t<Args>...> message, const Args&... args) {
  writeMessage(Severity::warn, message.number, message.text, asToolkitValue(args)...);
}
template <class... Args>
void logError(Message<std::type_identity_t<Args>...> message, const Args&... args) {
  writeMessage(Severity::error, message.number, message.text, asToolkitValue(args)...);
}
template <class... Args>
void logFatal(Message<std::type_identity_t<Args>...> message, const Args&... args) {
  writeMessage(Severity::fatal, message.number, message.text, asToolkitValue(args)...);
}
