// Tests of the connection helpers that need no camera: the camera id split,
// the SDK version text, camera id texts, the sysfs walk and the MAC lookup.
#include "connection/connection.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstring>
#include <string>
#include <vector>

#include "sim/camera_objects.h"
#include "tests/support/temp_dir.h"

namespace {

TEST(SplitCameraId, KeepsEmptyFieldsButNoTrailingOne) {
  struct Case {
    std::string id;
    std::vector<std::string> fields;
  };
  const Case cases[] = {
      {"", {}},
      {"*", {"*"}},
      {"IP||10.0.0.5", {"IP", "", "10.0.0.5"}},
      {"USB|X|", {"USB", "X"}},
      {"USB|X||", {"USB", "X", ""}},
      {"|", {""}},
      {"|a", {"", "a"}},
      {"USB|ILME-FX6|D10042", {"USB", "ILME-FX6", "D10042"}},
  };
  for (const Case& c : cases) EXPECT_EQ(split_camera_id(c.id), c.fields) << c.id;
}

TEST(SdkVersionText, UnpacksTheTopThreeBytes) {
  EXPECT_EQ(sdk_version_text(0x020001FFu), "2.0.1");
  EXPECT_EQ(sdk_version_text(0xFF0A0B00u), "255.10.11");
  EXPECT_EQ(sdk_version_text(0u), "0.0.0");
}

// An enumerated camera entry with the given model, type and id block.
sim::CameraObject info(const std::string& model, const std::string& type, std::vector<CrInt8u> id) {
  sim::CameraObject object;
  object.model = model;
  object.connection_type = type;
  object.id = std::move(id);
  return object;
}

std::vector<CrInt8u> ip_block(CrInt8u a, CrInt8u b, CrInt8u c, CrInt8u d) {
  std::vector<CrInt8u> block(526, 0);
  block[4] = a;
  block[5] = b;
  block[6] = c;
  block[7] = d;
  return block;
}

std::vector<CrInt8u> text_block(const std::string& text, size_t padding) {
  std::vector<CrInt8u> block(text.begin(), text.end());
  block.resize(text.size() + padding, 0);
  return block;
}

TEST(CameraIdText, ByConnectionType) {
  EXPECT_EQ(camera_id_text(info("ILCE-7SM3", "IP", ip_block(192, 168, 1, 10))), "IP|ILCE-7SM3|192.168.1.10");
  EXPECT_EQ(camera_id_text(info("ILME-FX6", "USB", text_block("D10042", 1))), "USB|ILME-FX6|D10042");
  // A serial that fills its block without a terminating zero.
  EXPECT_EQ(camera_id_text(info("ILME-FX6", "USB", text_block("D10042", 0))), "USB|ILME-FX6|D10042");
  EXPECT_EQ(camera_id_text(info("ILME-FX6", "USB", text_block("", 4))), "USB|ILME-FX6|");
  EXPECT_EQ(camera_id_text(info("ILME-FX6", "Serial", text_block("x", 1))), "UNKNOWN");
  EXPECT_EQ(camera_id_text(info(std::string(300, 'M'), "USB", text_block("S", 1))).size(), 255u);
}

class UsbSysfsWalk : public ::testing::Test {
 protected:
  void device(const std::string& name, const std::string& vendor, const std::string& product,
              const char* serial) {
    dir_.write(name + "/idVendor", vendor + "\n");
    dir_.write(name + "/product", product + "\n");
    if (serial != nullptr) dir_.write(name + "/serial", std::string(serial) + "\n");
  }
  TempDir dir_;
};

TEST_F(UsbSysfsWalk, KeepsOnlyListedSonyCamerasWithSerials) {
  device("1-1", "054C", "  ILME-FX6 ", "D10042");  // upper-case vendor, padded product
  device("1-2", "054c", "Sony Headphones", "H1");  // not a camera
  device("1-3", "054c", "ILCE-7SM3", nullptr);     // no serial file
  device("1-4", "054c", "ILCE-7RM4", "R4");        // model number 0
  device("1-5", "1d6b", "ILCE-7SM3", "OTHER");     // another vendor
  device("1-6", "054c", "ILCE-7SM3", "");          // empty serial
  device("1-7", "054c", "ILME-FX6", "D10043");     // an identical camera
  device(".hidden", "054c", "ILCE-1", "H");
  const std::vector<UsbCamera> cameras = list_usb_cameras_sysfs(dir_.path());
  ASSERT_EQ(cameras.size(), 2u);
  EXPECT_EQ(cameras[0].product, "ILME-FX6");
  EXPECT_EQ(cameras[1].product, "ILME-FX6");
  EXPECT_NE(cameras[0].serial, cameras[1].serial);
  EXPECT_TRUE(cameras[0].serial == "D10042" || cameras[1].serial == "D10042");
}

TEST_F(UsbSysfsWalk, MissingRootGivesEmptyList) {
  EXPECT_TRUE(list_usb_cameras_sysfs(dir_.file("absent")).empty());
}

TEST(ResolveMac, QuotesTheAddressForTheShell) {
  std::string seen;
  auto runner = [&](const std::string& command) -> std::optional<std::string> {
    seen = command;
    return std::string("0:1:2:3:4:5\n");
  };
  EXPECT_EQ(resolve_mac("10.0.0.5", runner), "0:1:2:3:4:5\n");
  EXPECT_EQ(seen.rfind("arp -n -- '10.0.0.5' | grep -o -E ", 0), 0u) << seen;
  (void)resolve_mac("1.2.3.4'; touch /tmp/x; echo '", runner);
  EXPECT_EQ(seen.rfind("arp -n -- '1.2.3.4'\\''; touch /tmp/x; echo '\\''' | grep", 0), 0u) << seen;
  (void)resolve_mac("-a", runner);
  EXPECT_EQ(seen.rfind("arp -n -- '-a' | grep", 0), 0u) << seen;
}

TEST(ResolveMac, OnlyDottedQuadsAreAddresses) {
  for (const char* good : {"192.168.2.50", "0.0.0.0", "255.255.255.255"}) {
    EXPECT_TRUE(is_ipv4_dotted_quad(good)) << good;
  }
  for (const char* bad : {"", "-a", "1.2.3", "1.2.3.4.5", "256.1.1.1", "01.2.3.4", "1.2.3.4 ", " 1.2.3.4",
                          "0x1.2.3.4", "1.2.3.-4", "camera.local", "::1"}) {
    EXPECT_FALSE(is_ipv4_dotted_quad(bad)) << bad;
  }
}

TEST(ResolveMac, CutsAfterSeventeenCharactersAndHandlesFailure) {
  auto long_output = [](const std::string&) -> std::optional<std::string> {
    return std::string("aa:bb:cc:dd:ee:ff:11:22\n");
  };
  EXPECT_EQ(resolve_mac("x", long_output), "aa:bb:cc:dd:ee:ff");
  auto no_output = [](const std::string&) -> std::optional<std::string> { return std::string(); };
  EXPECT_EQ(resolve_mac("x", no_output), "");
  auto not_started = [](const std::string&) -> std::optional<std::string> { return std::nullopt; };
  EXPECT_EQ(resolve_mac("x", not_started), "");
}

TEST(ResolveMac, RealShellKeepsAQuotedAddressInert) {
  TempDir dir;
  const std::string marker = dir.file("injected");
  (void)resolve_mac("1.2.3.4; touch " + marker);
  (void)resolve_mac("1.2.3.4'; touch " + marker + "; echo '");
  EXPECT_NE(access(marker.c_str(), F_OK), 0);
}

}  // namespace
