// Captures standard output for a test.
#include "tests/support/stdout_capture.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <sstream>
#include <stdexcept>

StdoutCapture::StdoutCapture() {
  std::cout.flush();
  std::fflush(stdout);
  char pattern[] = "/tmp/vk-sony-stdout-XXXXXX";
  int fd = mkstemp(pattern);
  if (fd < 0) throw std::runtime_error("mkstemp failed");
  path_ = pattern;
  saved_fd_ = dup(STDOUT_FILENO);
  dup2(fd, STDOUT_FILENO);
  close(fd);
}

StdoutCapture::~StdoutCapture() {
  std::cout.flush();
  std::fflush(stdout);
  dup2(saved_fd_, STDOUT_FILENO);
  close(saved_fd_);
  unlink(path_.c_str());
}

std::string StdoutCapture::text() {
  std::cout.flush();
  std::fflush(stdout);
  std::ifstream in(path_, std::ios::binary);
  std::ostringstream all;
  all << in.rdbuf();
  return all.str();
}

std::vector<std::string> StdoutCapture::lines() {
  std::vector<std::string> result;
  std::istringstream in(text());
  for (std::string line; std::getline(in, line);) result.push_back(line);
  return result;
}
