#pragma once

#include <concepts>
#include <cstddef>
#include <string_view>
#include <type_traits>

// What the log calls check while they compile: that a text's conversions fit its arguments.
enum class ArgKind { integer, longInteger, real, text };

template <class T>
consteval ArgKind argKindOf() {
  using Plain = std::decay_t<T>;
  if constexpr (std::is_enum_v<Plain> || std::integral<Plain>)
    return sizeof(Plain) <= 4 ? ArgKind::integer : ArgKind::longInteger;
  else if constexpr (std::floating_point<Plain>)
    return ArgKind::real;
  else {
    static_assert(std::is_same_v<Plain, const char*> || std::is_same_v<Plain, char*>,
                  "an argument is an integer, a floating value or a char string");
    return ArgKind::text;
  }
}

// Never defined as constexpr: reaching one of these ends the compilation with its name.
void textHasMoreConversionsThanArguments();
void argumentsAreMoreThanTheTextConverts();
void conversionDoesNotFitItsArgument();
void messageIsNotInMessagesDef();

class TextCheck {
 public:
  consteval TextCheck(std::string_view text, const ArgKind* kinds, std::size_t count)
      : text_(text), kinds_(kinds), count_(count) {
    while (at_ < text_.size()) {
      if (text_[at_++] != '%') continue;
      if (peek() == '%')
        ++at_;
      else
        conversion();
    }
    if (used_ != count_) argumentsAreMoreThanTheTextConverts();
  }

 private:
  consteval char peek() const { return at_ < text_.size() ? text_[at_] : '\0'; }
  consteval bool isOneOf(std::string_view set) const {
    return peek() != '\0' && set.find(peek()) != set.npos;
  }
  consteval std::size_t number() {
    std::size_t value = 0;
    for (; isOneOf("0123456789"); ++at_)
      value = value * 10 + static_cast<std::size_t>(peek() - '0');
    return value;
  }
  // "%0$s" names its argument, counted from 0; all others take the next one.
  consteval void conversion() {
    std::size_t index = used_;
    const std::size_t start = at_;
    const std::size_t named = number();
    if (peek() == '$') {
      index = named;
      ++at_;
    } else {
      at_ = start;
    }
    while (isOneOf("-+ #0123456789.")) ++at_;
    int longs = 0;
    for (; isOneOf("hlzj"); ++at_) longs += peek() != 'h';
    if (index >= count_) textHasMoreConversionsThanArguments();
    if (!fits(peek(), longs > 0, kinds_[index])) conversionDoesNotFitItsArgument();
    if (index + 1 > used_) used_ = index + 1;
    ++at_;
  }
  static consteval bool fits(char conversion, bool isLong, ArgKind kind) {
    switch (kind) {
      case ArgKind::text:
        return conversion == 's' && !isLong;
      case ArgKind::real:
        return std::string_view("fFgGeE").find(conversion) != std::string_view::npos;
      default:
        return std::string_view("diuxXoc").find(conversion) != std::string_view::npos &&
               isLong == (kind == ArgKind::longInteger);
    }
  }

  std::string_view text_;
  const ArgKind* kinds_;
  std::size_t count_;
  std::size_t at_ = 0;
  std::size_t used_ = 0;
};

template <class... Args>
consteval void checkText(std::string_view text) {
  constexpr ArgKind kinds[sizeof...(Args) + 1] = {argKindOf<Args>()...};
  TextCheck(text, kinds, sizeof...(Args));
}
