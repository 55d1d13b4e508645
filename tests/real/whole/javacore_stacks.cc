// The agent's own reader on a real javacore file: for each thread id (hexadecimal) on standard
// input a line with the id, and a line "class.method" per frame.
#include <fstream>
#include <iostream>
#include <string>

#include "diagnostics/javacoreText.h"

static void printStack(const char* path, ULONG tid) {
  std::ifstream file(path);
  JavacoreReader reader(tid);
  JavacoreFrame found;
  for (std::string line; std::getline(file, line);) {
    const auto meaning = reader.take(line, found);
    if (meaning == JavacoreReader::stackEnds) return;
    if (meaning == JavacoreReader::frame)
      std::cout << found.className << '.' << found.methodName << '\n';
  }
}

int main(int argc, char** argv) {
  if (argc != 2) return 2;
  for (std::string tid; std::cin >> tid;) {
    std::cout << '|' << tid << '\n';
    printStack(argv[1], static_cast<ULONG>(std::stoul(tid, nullptr, 16)));
  }
}
