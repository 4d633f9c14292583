// Checks of the shared test helpers themselves.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "tests/support/temp_dir.h"

TEST(TempDir, WritesNestedFilesAndRemovesThemAfterwards) {
  std::string root;
  {
    TempDir dir;
    root = dir.path();
    std::string path = dir.write("a/b/c.txt", "hello");
    std::ifstream in(path);
    std::string text;
    std::getline(in, text);
    EXPECT_EQ(text, "hello");
  }
  EXPECT_FALSE(std::filesystem::exists(root));
}
