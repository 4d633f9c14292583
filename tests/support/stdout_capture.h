// Captures what the process writes to standard output (through std::cout or
// the C stdio functions) while the object lives, by pointing file descriptor 1
// at a temporary file.
#ifndef VK_SONY_TESTS_SUPPORT_STDOUT_CAPTURE_H
#define VK_SONY_TESTS_SUPPORT_STDOUT_CAPTURE_H

#include <string>
#include <vector>

class StdoutCapture {
 public:
  StdoutCapture();
  ~StdoutCapture();
  StdoutCapture(const StdoutCapture&) = delete;
  StdoutCapture& operator=(const StdoutCapture&) = delete;

  // Everything written so far (flushes stdout first).
  std::string text();
  // text() split into lines, without their newlines.
  std::vector<std::string> lines();

 private:
  int saved_fd_ = -1;
  std::string path_;
};

#endif  // VK_SONY_TESTS_SUPPORT_STDOUT_CAPTURE_H
