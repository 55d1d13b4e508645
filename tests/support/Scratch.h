#pragma once

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

inline std::string contentOf(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

// A directory of the test's own, removed with it.
class Scratch {
 public:
  Scratch() {
    std::string pattern = std::filesystem::temp_directory_path() / "velora-test-XXXXXX";
    root_ = ::mkdtemp(pattern.data());
  }
  ~Scratch() {
    std::error_code ignored;
    std::filesystem::remove_all(root_, ignored);
  }

  std::string path(std::string_view name) const { return root_ / name; }

  std::string write(std::string_view name, std::string_view content) const {
    std::filesystem::create_directories(std::filesystem::path(path(name)).parent_path());
    std::ofstream(path(name), std::ios::binary) << content;
    return path(name);
  }

  std::string read(std::string_view name) const { return contentOf(path(name)); }

  std::vector<std::string> lines(std::string_view name) const {
    std::ifstream file(path(name));
    std::vector<std::string> result;
    for (std::string line; std::getline(file, line);) result.push_back(line);
    return result;
  }

  bool exists(std::string_view name) const { return std::filesystem::exists(path(name)); }

 private:
  std::filesystem::path root_;
};
