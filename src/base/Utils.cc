#include "base/Utils.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <ctime>

#include "base/Trace.h"

// The first 205 primes, 2 to 1259: hash table sizes.
static consteval std::array<std::uint16_t, 205> firstPrimes() {
  std::array<std::uint16_t, 205> primes{};
  std::size_t count = 0;
  for (unsigned candidate = 2; count < primes.size(); ++candidate) {
    const auto divides = [=](std::uint16_t prime) { return candidate % prime == 0; };
    if (std::none_of(primes.begin(), primes.begin() + count, divides))
      primes[count++] = static_cast<std::uint16_t>(candidate);
  }
  return primes;
}
static constexpr auto listOfPrimes_ = firstPrimes();
static_assert(listOfPrimes_.back() == 1259);

void Utils::log(const char* text) {
  VEL_TRACE();
  std::printf("%s \n", text ? text : "");
}

char* Utils::getTime() {
  VEL_TRACE();
  constexpr std::size_t kSize = 30;
  const std::time_t now = std::time(nullptr);
  std::tm local{};
  localtime_r(&now, &local);
  char* text = new char[kSize];
  std::strftime(text, kSize, "%Y/%m/%d %H:%M:%S", &local);
  return text;
}

int Utils::getNextBiggerPrimeNumber(int n) {
  VEL_TRACE();
  if (n >= listOfPrimes_.back()) return n;
  return *std::upper_bound(listOfPrimes_.begin(), listOfPrimes_.end(), n);
}

char* Utils::cstrdup(const char* text) {
  VEL_TRACE();
  if (!text) return nullptr;
  const std::size_t size = std::strlen(text) + 1;
  return static_cast<char*>(std::memcpy(new char[size], text, size));
}
