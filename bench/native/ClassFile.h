#pragma once

#include <algorithm>
#include <string>
#include <vector>

#include "base/types.h"

// A class file made to measure: so many methods, each with its entries in the constant pool.
class ClassFile {
 public:
  ClassFile(USHORT major, int methods) {
    u4(0xCAFEBABE);
    u2(0);
    u2(major);
    pool(methods);
    for (USHORT flagsThisSuperInterfacesFields : {0x21, 2, 4, 0, 0})
      u2(flagsThisSuperInterfacesFields);
    u2(static_cast<USHORT>(methods));
    for (int i = 0; i < methods; ++i) method(static_cast<USHORT>(kFixed + kPerMethod * i));
    u2(0);
  }
  std::vector<BYTE>& bytes() { return bytes_; }
  // From the two bytes of the pool's count on.
  static constexpr int kPoolAt = 8;

 private:
  static constexpr int kFixed = 6, kPerMethod = 4;  // entries; the first index is 1

  void u1(unsigned value) { bytes_.push_back(static_cast<BYTE>(value)); }
  void u2(unsigned value) { u1(value >> 8), u1(value); }
  void u4(unsigned value) { u2(value >> 16), u2(value); }
  void utf8(const std::string& text) {
    u1(1), u2(static_cast<unsigned>(text.size()));
    bytes_.insert(bytes_.end(), text.begin(), text.end());
  }
  void cls(unsigned name) { u1(7), u2(name); }

  void pool(int methods) {
    u2(static_cast<unsigned>(kFixed + kPerMethod * methods));
    utf8("shop/measured/CartService");
    cls(1);
    utf8("java/lang/Object");
    cls(3);
    utf8("Code");
    for (int i = 0; i < methods; ++i) {
      const auto first = static_cast<unsigned>(kFixed + kPerMethod * i);
      utf8("calculateTotalOfLine" + std::to_string(i));
      utf8("(Ljava/lang/String;IJ)Ljava/lang/Object;");
      u1(12), u2(first), u2(first + 1);  // name and type
      u1(10), u2(2), u2(first + 2);      // a reference to the method
    }
  }
  void method(USHORT name) {
    constexpr unsigned kCode = 40;
    u2(1), u2(name), u2(name + 1u), u2(1);
    u2(5), u4(12 + kCode), u2(4), u2(5), u4(kCode);
    bytes_.insert(bytes_.end(), kCode, 0);
    u2(0), u2(0);
  }

  std::vector<BYTE> bytes_;
};
