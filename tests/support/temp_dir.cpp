// A temporary directory for a test.
#include "tests/support/temp_dir.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>

TempDir::TempDir() {
  std::string pattern = (std::filesystem::temp_directory_path() / "vk-sony-test-XXXXXX").string();
  if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("mkdtemp failed");
  path_ = pattern;
}

TempDir::~TempDir() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

std::string TempDir::file(const std::string& name) const { return path_ + "/" + name; }

std::string TempDir::write(const std::string& name, const std::string& contents) const {
  std::filesystem::path target = file(name);
  std::filesystem::create_directories(target.parent_path());
  std::ofstream out(target, std::ios::binary);
  out << contents;
  return target.string();
}
