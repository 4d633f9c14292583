// Tests of TextWriter against a std::string written the same way.
#include "properties/text_writer.h"

#include <gtest/gtest.h>

#include <string>

namespace {

TEST(TextWriter, KeepsEveryPieceAcrossGrowth) {
  TextWriter writer;
  EXPECT_EQ(writer.view(), "");
  std::string expected;
  // Pieces of 0 to 300 characters: the buffer grows many times, by doubling
  // and by a piece larger than the doubled capacity.
  for (int i = 0; i < 200; ++i) {
    const std::string piece(static_cast<size_t>(i * 7 % 301), static_cast<char>('a' + i % 26));
    writer.append(piece);
    expected += piece;
    writer.push_back('|');
    expected += '|';
    char* out = writer.room(3);
    out[0] = '1';
    out[1] = '2';
    writer.commit(out + 2);
    expected += "12";
    if (i % 5 == 0) {
      writer.pop_back();
      expected.pop_back();
    }
    ASSERT_EQ(writer.view(), expected) << i;
  }
  EXPECT_EQ(writer.size(), expected.size());
  writer.clear();
  EXPECT_EQ(writer.view(), "");
  writer.append("status ");
  EXPECT_EQ(writer.view(), "status ");
}

}  // namespace
