// Whole-table checks of the property table.
#include "properties/property_table.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

#include "properties/formatters.h"

namespace {

TEST(PropertyTable, HoldsEveryCodeOnceInAscendingOrder) {
  EXPECT_EQ(propertyTable.size(), 161u);

  std::set<std::string> names;
  for (const auto& [code, info] : propertyTable) {
    SCOPED_TRACE(info.name);
    EXPECT_TRUE(names.insert(info.name).second) << "duplicate key";
    EXPECT_FALSE(info.name.empty());
    EXPECT_EQ(info.name.find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_"), std::string::npos);
    EXPECT_NE(info.toText, nullptr);
    EXPECT_NE(info.fromText, nullptr);
    EXPECT_NE(info.skipValue, nullptr);
    EXPECT_LE(code, 0xFFFFFFFFu);
  }
}

TEST(PropertyTable, LookupAndFlags) {
  EXPECT_EQ(find_property(0x100000101ull), nullptr);  // a row's code in the low 32 bits
  const PropertyInfo* shutter = find_property(0x103);
  ASSERT_NE(shutter, nullptr);
  EXPECT_EQ(shutter->skipValue, &keepUnitNumerator);

  // Every row is found by its code, and no other 16-bit code finds one.
  for (const auto& [code, info] : propertyTable) EXPECT_EQ(find_property(code), &info) << code;
  for (PropertyCode code = 0; code <= 0xFFFF; ++code) {
    if (propertyTable.rows().count(code) == 0) {
      ASSERT_EQ(find_property(code), nullptr) << code;
    }
  }
}

}  // namespace
