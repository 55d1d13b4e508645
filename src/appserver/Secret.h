#pragma once

#include <cstddef>
#include <cstring>
#include <memory>

// An array that is overwritten before it is freed: passwords, and whatever they can be had from.
struct WipingDelete {
  std::size_t bytes = 0;
  template <class T>
  void operator()(T* array) const {
    explicit_bzero(array, bytes);
    delete[] array;
  }
};
template <class T>
using Secret = std::unique_ptr<T[], WipingDelete>;
using SecretText = Secret<char>;            // ends with a NUL
using SecretBytes = Secret<unsigned char>;  // ends with VelEncryptor::kEnd

template <class T>
Secret<T> makeSecret(std::size_t count) {
  return Secret<T>(new T[count](), WipingDelete{count * sizeof(T)});
}
