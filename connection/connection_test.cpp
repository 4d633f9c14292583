// Tests of the connection helpers that need no camera: the camera id split,
// the SDK version text, camera id texts, the sysfs walk and the MAC lookup.
#include "connection/connection.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstring>
#include <string>
#include <vector>

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

TEST(ResultCodeText, HexAndDecimal) {
  EXPECT_EQ(result_code_text(0), "0x0 (0)");
  EXPECT_EQ(result_code_text(0x8000), "0x8000 (32768)");
  EXPECT_EQ(result_code_text(0x8201), "0x8201 (33281)");
}

// An enumerated camera entry with settable model, type and id block.
class FakeInfo : public SCRSDK::ICrCameraObjectInfo {
 public:
  FakeInfo(std::string model, std::string type, std::vector<CrInt8u> id)
      : model_(std::move(model)), type_(std::move(type)), id_(std::move(id)) {}
  void Release() override {}
  CrChar* GetName() const override { return const_cast<CrChar*>(model_.c_str()); }
  CrInt32u GetNameSize() const override { return static_cast<CrInt32u>(model_.size()); }
  CrChar* GetModel() const override { return const_cast<CrChar*>(model_.c_str()); }
  CrInt32u GetModelSize() const override { return static_cast<CrInt32u>(model_.size()); }
  CrInt16 GetUsbPid() const override { return 0; }
  CrInt8u* GetId() const override { return const_cast<CrInt8u*>(id_.data()); }
  CrInt32u GetIdSize() const override { return static_cast<CrInt32u>(id_.size()); }
  CrInt32u GetIdType() const override { return 0; }
  CrInt32u GetConnectionStatus() const override { return 0; }
  CrChar* GetConnectionTypeName() const override { return const_cast<CrChar*>(type_.c_str()); }
  CrChar* GetAdaptorName() const override { return nullptr; }
  CrChar* GetGuid() const override { return nullptr; }
  CrChar* GetPairingNecessity() const override { return nullptr; }
  CrInt16u GetAuthenticationState() const override { return 0; }
  CrInt32u GetSSHsupport() const override { return 0; }
  CrInt32u GetIPAddress() const override { return 0; }
  CrChar* GetIPAddressChar() const override { return nullptr; }
  CrInt32u GetIPAddressCharSize() const override { return 0; }
  CrInt8u* GetMACAddress() const override { return nullptr; }
  CrInt32u GetMACAddressSize() const override { return 0; }
  CrChar* GetMACAddressChar() const override { return nullptr; }
  CrInt32u GetMACAddressCharSize() const override { return 0; }

 private:
  std::string model_;
  std::string type_;
  std::vector<CrInt8u> id_;
};

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
  EXPECT_EQ(camera_id_text(FakeInfo("ILCE-7SM3", "IP", ip_block(192, 168, 1, 10))),
            "IP|ILCE-7SM3|192.168.1.10");
  EXPECT_EQ(camera_id_text(FakeInfo("ILME-FX6", "USB", text_block("D10042", 1))), "USB|ILME-FX6|D10042");
  // A serial that fills its block without a terminating zero.
  EXPECT_EQ(camera_id_text(FakeInfo("ILME-FX6", "USB", text_block("D10042", 0))), "USB|ILME-FX6|D10042");
  EXPECT_EQ(camera_id_text(FakeInfo("ILME-FX6", "USB", text_block("", 4))), "USB|ILME-FX6|");
  EXPECT_EQ(camera_id_text(FakeInfo("ILME-FX6", "Serial", text_block("x", 1))), "UNKNOWN");
  EXPECT_EQ(camera_id_text(FakeInfo(std::string(300, 'M'), "USB", text_block("S", 1))).size(), 255u);
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
  device(".hidden", "054c", "ILCE-1", "H");
  const std::vector<UsbCamera> cameras = list_usb_cameras_sysfs(dir_.path());
  ASSERT_EQ(cameras.size(), 1u);
  EXPECT_EQ(cameras[0].product, "ILME-FX6");
  EXPECT_EQ(cameras[0].serial, "D10042");
}

TEST_F(UsbSysfsWalk, TwoIdenticalCamerasDifferBySerial) {
  device("2-1", "054c", "ILCE-7SM3", "A1");
  device("2-2", "054c", "ILCE-7SM3", "A2");
  const std::vector<UsbCamera> cameras = list_usb_cameras_sysfs(dir_.path());
  ASSERT_EQ(cameras.size(), 2u);
  EXPECT_NE(cameras[0].serial, cameras[1].serial);
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
  EXPECT_EQ(seen.rfind("arp -n '10.0.0.5' | grep -o -E ", 0), 0u) << seen;
  (void)resolve_mac("1.2.3.4'; touch /tmp/x; echo '", runner);
  EXPECT_EQ(seen.rfind("arp -n '1.2.3.4'\\''; touch /tmp/x; echo '\\''' | grep", 0), 0u) << seen;
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
