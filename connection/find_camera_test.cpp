// Tests of find_camera_index against simulated enumerations.
#include <gtest/gtest.h>

#include <string>

#include "connection/connection.h"
#include "sim/sim_control.h"

namespace {

class FindCameraIndex : public ::testing::Test {
 protected:
  void SetUp() override {
    sim::reset();
    std::string error;
    ASSERT_TRUE(
        sim::load_scenario("camera IP ILCE-7SM3 192.168.1.10 00:11:22:33:44:55\n"
                           "camera USB ILME-FX6 D10042\n"
                           "camera Serial ILCE-1 S1\n"
                           "camera USB ILCE-7SM3 A2\n",
                           &error))
        << error;
  }
  void TearDown() override { sim::reset(); }
};

TEST_F(FindCameraIndex, MatchesIdTextsAmongTheRightTypes) {
  struct Case {
    std::string wanted;
    bool all_types;
    int index;
  };
  const Case cases[] = {
      {"*", false, 1},  // the IP entry before it is skipped
      {"*", true, 0},
      {"USB|ILCE-7SM3|A2", false, 3},
      {"IP|ILCE-7SM3|192.168.1.10", false, -1},
      {"IP|ILCE-7SM3|192.168.1.10", true, 0},
      {"UNKNOWN", false, -1},
      {"UNKNOWN", true, 2},
      {"USB|ILME-FX6|D1004", false, -1},  // a prefix is no match
      {"", false, -1},
  };
  for (const Case& c : cases)
    EXPECT_EQ(find_camera_index(c.wanted, c.all_types), c.index) << c.wanted << " all=" << c.all_types;
}

}  // namespace
