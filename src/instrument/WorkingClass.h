#pragma once

#include <algorithm>
#include <utility>
#include <vector>

#include "instrument/ClassLayout.h"

// A class on its way through the hook: the JVM's own bytes until something replaces them.
class WorkingClass {
 public:
  WorkingClass(ClassBytes original, ClassLayout layout)
      : original_(original), layout_(std::move(layout)) {}
  WorkingClass(const WorkingClass&) = delete;
  WorkingClass& operator=(const WorkingClass&) = delete;

  ClassBytes bytes() const { return replaced_ ? ClassBytes(own_) : original_; }
  bool changed() const { return !std::ranges::equal(bytes(), original_); }
  // Null when the bytes that stand are no class that can be rewritten.
  const ClassLayout* layout() const { return layout_ ? &*layout_ : nullptr; }

  void replace(std::vector<BYTE> bytes) {
    layout_.reset();
    own_ = std::move(bytes);
    replaced_ = true;
    layout_ = readClassLayout(own_);
  }
  void restore() {
    replaced_ = false;
    layout_ = readClassLayout(original_);
  }

 private:
  ClassBytes original_;
  std::vector<BYTE> own_;
  bool replaced_ = false;
  std::optional<ClassLayout> layout_;
};
