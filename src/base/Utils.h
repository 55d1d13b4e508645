#pragma once

// Small helpers, open for later rows to add theirs.
namespace Utils {

void log(const char* text);  // "%s \n" on standard output

// "2005/12/01 19:23:00", local time, in a new array of 30 bytes that the caller frees.
char* getTime();

// The first of the first 205 primes above n; from 1259 on, n itself.
int getNextBiggerPrimeNumber(int n);

// A copy in a new array that the caller frees; null for null.
char* cstrdup(const char* text);

}  // namespace Utils
