// A temporary directory for a test, removed with everything in it when the
// object goes out of scope.
#ifndef VK_SONY_TESTS_SUPPORT_TEMP_DIR_H
#define VK_SONY_TESTS_SUPPORT_TEMP_DIR_H

#include <string>

class TempDir {
 public:
  TempDir();
  ~TempDir();
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;

  const std::string& path() const { return path_; }
  // path() + "/" + name.
  std::string file(const std::string& name) const;
  // Writes `contents` to file(name), creating parent directories; returns the path.
  std::string write(const std::string& name, const std::string& contents) const;

 private:
  std::string path_;
};

#endif  // VK_SONY_TESTS_SUPPORT_TEMP_DIR_H
