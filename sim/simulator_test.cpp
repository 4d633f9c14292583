// Tests of the simulated camera through the SDK calls: enumeration, the
// connection's callbacks, writes and their confirmations, commands, injected
// failures, the control FIFO and the trace.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <mutex>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "CameraRemote_SDK.h"
#include "IDeviceCallback.h"
#include "sim/sim_control.h"
#include "tests/support/temp_dir.h"

namespace {

using namespace SCRSDK;

// Records callbacks; on a property change it reads the properties back, as
// the bridge does, to prove that callbacks may call into the SDK.
constexpr const char kLetters[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";
// "<microseconds> <Name> [<CallbackName>] key=value ...", keys in lower case.
bool well_formed_trace_line(const std::string& line) {
  std::istringstream words(line);
  std::string word;
  if (!(words >> word) || word.find_first_not_of("0123456789") != std::string::npos) return false;
  if (!(words >> word) || word.find_first_not_of(kLetters) != std::string::npos) return false;
  bool first_after_name = true;
  while (words >> word) {
    const size_t equals = word.find('=');
    if (equals == std::string::npos) {
      if (!first_after_name || word.find_first_not_of(kLetters) != std::string::npos) return false;
    } else if (equals == 0 || word.find_first_not_of("abcdefghijklmnopqrstuvwxyz_0123456789") < equals) {
      return false;
    }
    first_after_name = false;
  }
  return line.find("  ") == std::string::npos && line.back() != ' ';
}

std::string without_time_stamp(const std::string& line) {
  const size_t space = line.find(' ');
  return space == std::string::npos ? std::string() : line.substr(space + 1);
}

class RecordingCallback : public IDeviceCallback {
 public:
  void OnConnected(DeviceConnectionVersioin) override { note("OnConnected"); }
  void OnPropertyChangedCodes(CrInt32u num, CrInt32u* codes) override {
    CrDeviceProperty* props = nullptr;
    CrInt32 count = 0;
    if (GetSelectDeviceProperties(handle, num, codes, &props, &count) == CrError_None) {
      std::lock_guard<std::mutex> lock(mu);
      read_back += count;
      if (ReleaseDeviceProperties(handle, props) != CrError_None) ++release_failures;
    }
    note("OnPropertyChangedCodes");
  }
  void OnWarning(CrInt32u warning) override { note("OnWarning " + std::to_string(warning)); }
  void OnDisconnected(CrInt32u) override { note("OnDisconnected"); }

  void note(const std::string& name) {
    std::lock_guard<std::mutex> lock(mu);
    names.push_back(name);
  }

  CrDeviceHandle handle = 0;
  std::mutex mu;
  std::vector<std::string> names;
  int read_back = 0;
  int release_failures = 0;
};

constexpr char kScenario[] =
    "camera USB ILME-FX6 D10042\n"
    "camera IP ILCE-7SM3 192.168.1.10 00:1a:2b:3c:4d:5e no-ssh\n"
    "property 0x104 UInt32 800 rw 0xFFFFFF 100 800\n"
    "property 0x115 UInt16Range 5600 rw 2500 9900 100\n"
    "property 0x15D Int8Range 0 rw -99 99 1\n"
    "property 0x705 UInt8 0 ro 0 1\n"
    "property 0x765 STR \"FE 50mm\" ro\n"
    "lv-property 0x121 0x01020304\n"
    "confirm 1\n";

class SimulatorTest : public ::testing::Test {
 protected:
  void SetUp() override {
    sim::reset();
    unsetenv("VK_SONY_SIM_CONTROL");
    unsetenv("VK_SONY_SIM_TRACE");
  }
  void TearDown() override { sim::reset(); }

  // Loads `text`, initialises and connects the first camera.
  void connect(const std::string& text = kScenario, bool clear = true) {
    std::string error;
    ASSERT_TRUE(sim::load_scenario(text, &error)) << error;
    ASSERT_TRUE(Init());
    ICrCameraObjectInfo* info = nullptr;
    CrInt8u serial[USB_SERIAL_LENGTH] = {'D', '1', '0', '0', '4', '2'};
    ASSERT_EQ(CreateCameraObjectInfoUSBConnection(&info, CrCameraDeviceModel_ILME_FX6, serial), CrError_None);
    ASSERT_EQ(Connect(info, &callback_, &callback_.handle), CrError_None);
    info->Release();
    ASSERT_TRUE(sim::wait_idle());
    if (clear) sim::clear_trace();
  }

  CrError set(CrInt32u code, CrInt64u value, CrDataType type = CrDataType_UInt32) {
    CrDeviceProperty p;
    p.SetCode(code);
    p.SetCurrentValue(value);
    p.SetValueType(type);
    return SetDeviceProperty(callback_.handle, &p);
  }

  // The trace lines naming callbacks.
  static std::vector<std::string> callbacks() {
    std::vector<std::string> out;
    for (const std::string& line : sim::trace()) {
      if (line.rfind("callback ", 0) == 0) out.push_back(line.substr(9));
    }
    return out;
  }

  RecordingCallback callback_;
};

TEST_F(SimulatorTest, EnumeratesScenarioCamerasWithIdBlocks) {
  ASSERT_TRUE(sim::load_scenario(kScenario));
  ASSERT_TRUE(Init());
  ICrEnumCameraObjectInfo* list = nullptr;
  ASSERT_EQ(EnumCameraObjects(&list, 30), CrError_None);  // does not wait 30 s
  ASSERT_NE(list, nullptr);
  ASSERT_EQ(list->GetCount(), 2u);
  const ICrCameraObjectInfo* usb = list->GetCameraObjectInfo(0);
  EXPECT_STREQ(usb->GetConnectionTypeName(), "USB");
  EXPECT_STREQ(usb->GetModel(), "ILME-FX6");
  EXPECT_EQ(std::string(reinterpret_cast<const char*>(usb->GetId()), usb->GetIdSize()), "D10042");
  const ICrCameraObjectInfo* ip = list->GetCameraObjectInfo(1);
  EXPECT_STREQ(ip->GetConnectionTypeName(), "IP");
  ASSERT_GE(ip->GetIdSize(), 526u);
  const CrInt8u* id = ip->GetId();
  EXPECT_EQ(id[4], 192);
  EXPECT_EQ(id[5], 168);
  EXPECT_EQ(id[6], 1);
  EXPECT_EQ(id[7], 10);
  EXPECT_EQ(id[520], 0x00);
  EXPECT_EQ(id[521], 0x1a);
  EXPECT_EQ(id[525], 0x5e);
  EXPECT_EQ(list->GetCameraObjectInfo(2), nullptr);
  list->Release();
  EXPECT_EQ(sim::trace().back(), "EnumCameraObjects result=0x0 count=2");
}

TEST_F(SimulatorTest, CreatesCameraObjects) {
  ASSERT_TRUE(sim::load_scenario(kScenario));
  ASSERT_TRUE(Init());
  ICrCameraObjectInfo* usb = nullptr;
  CrInt8u serial[USB_SERIAL_LENGTH] = {'A', 'B', 'C', 0, 'X'};
  ASSERT_EQ(CreateCameraObjectInfoUSBConnection(&usb, CrCameraDeviceModel_ILME_FX6, serial), CrError_None);
  EXPECT_STREQ(usb->GetModel(), "ILME-FX6");
  EXPECT_EQ(std::string(reinterpret_cast<const char*>(usb->GetId()), usb->GetIdSize()), "ABC");
  usb->Release();

  // The scenario's no-ssh wins over what the caller asks; elsewhere the
  // caller's flag is reported.
  CrInt8u mac[6] = {0xaa, 0xbb, 0xcc, 0xdd, 0xee, 0x0f};
  const CrInt32u known = 192 | 168 << 8 | 1 << 16 | 10u << 24;
  const CrInt32u other = 10 | 0 << 8 | 0 << 16 | 9u << 24;
  ICrCameraObjectInfo* ip = nullptr;
  ASSERT_EQ(CreateCameraObjectInfoEthernetConnection(&ip, CrCameraDeviceModel_ILCE_7SM3, known, mac, 1),
            CrError_None);
  EXPECT_EQ(ip->GetSSHsupport(), 0u);
  char fingerprint[128] = {};
  CrInt32u size = 0;
  ASSERT_EQ(GetFingerprint(ip, fingerprint, &size), CrError_None);
  EXPECT_GT(size, 0u);
  EXPECT_EQ(std::strlen(fingerprint), size);
  ip->Release();
  ASSERT_EQ(CreateCameraObjectInfoEthernetConnection(&ip, CrCameraDeviceModel_ILCE_7SM3, other, mac, 1),
            CrError_None);
  EXPECT_EQ(ip->GetSSHsupport(), 1u);
  ip->Release();
  const std::vector<std::string> t = sim::trace();
  EXPECT_NE(
      std::find(t.begin(), t.end(), "CreateCameraObjectInfoUSBConnection model=10 serial=ABC result=0x0"),
      t.end());
  EXPECT_NE(
      std::find(t.begin(), t.end(),
                "CreateCameraObjectInfoEthernetConnection model=3 ip=10.0.0.9 mac=aa:bb:cc:dd:ee:0f ssh=1 "
                "result=0x0"),
      t.end());
}

TEST_F(SimulatorTest, ConnectDeliversConnectionCallbacksInOrder) {
  std::string error;
  ASSERT_TRUE(sim::load_scenario(kScenario, &error)) << error;
  ASSERT_TRUE(Init());
  ICrCameraObjectInfo* info = nullptr;
  CrInt8u serial[USB_SERIAL_LENGTH] = {'D'};
  ASSERT_EQ(CreateCameraObjectInfoUSBConnection(&info, CrCameraDeviceModel_ILME_FX6, serial), CrError_None);
  ASSERT_EQ(Connect(info, &callback_, &callback_.handle), CrError_None);
  info->Release();
  ASSERT_TRUE(sim::wait_idle());
  EXPECT_EQ(callbacks(), (std::vector<std::string>{
                             "OnConnected version=300",
                             "OnPropertyChangedCodes codes=0x104,0x115,0x15d,0x705,0x765",
                             "OnLvPropertyChangedCodes codes=0x121",
                         }));
  EXPECT_EQ(callback_.read_back, 5);
  EXPECT_EQ(callback_.release_failures, 0);
  const std::vector<std::string> t = sim::trace();
  EXPECT_NE(std::find(t.begin(), t.end(),
                      "Connect mode=0 reconnect=1 user=- password=- fingerprint_size=0 result=0x0"),
            t.end());
}

TEST_F(SimulatorTest, SetDevicePropertyConfirmsOnlyChanges) {
  connect();
  EXPECT_EQ(set(0x104, 400), CrError_None);
  ASSERT_TRUE(sim::wait_idle());
  EXPECT_EQ(sim::property_value(0x104), 400u);
  EXPECT_EQ(callbacks(),
            (std::vector<std::string>{"OnPropertyChanged", "OnPropertyChangedCodes codes=0x104"}));
  EXPECT_EQ(sim::trace().front(), "SetDeviceProperty code=0x104 value=400 type=0x3 result=0x0");

  sim::clear_trace();
  EXPECT_EQ(set(0x104, 400), CrError_None);  // same value: accepted, nothing reported
  EXPECT_EQ(set(0x999, 1), static_cast<CrError>(0x8402));
  ASSERT_TRUE(sim::wait_idle());
  EXPECT_TRUE(callbacks().empty());
  EXPECT_EQ(sim::trace().back(), "SetDeviceProperty code=0x999 value=1 type=0x3 result=0x8402");
}

TEST_F(SimulatorTest, ConfirmNeverAndInjectedSetFailure) {
  connect(std::string(kScenario) + "confirm never\nfail set 0x115 0x8403\n");
  EXPECT_EQ(set(0x104, 100), CrError_None);
  EXPECT_EQ(set(0x115, 3200, CrDataType_UInt16), static_cast<CrError>(0x8403));
  ASSERT_TRUE(sim::wait_idle());
  EXPECT_EQ(sim::property_value(0x104), 100u);
  EXPECT_EQ(sim::property_value(0x115), 5600u);
  EXPECT_TRUE(callbacks().empty());
}

TEST_F(SimulatorTest, StepPropertiesMoveTheirBase) {
  connect();
  const struct {
    CrInt32u step;
    CrInt64u value;
    CrInt32u base;
    long long expected;
  } cases[] = {
      {0x15B, 3, 0x115, 5900},       // colour temperature, 100 K a step
      {0x15B, 0xFFFE, 0x115, 5700},  // -2 steps, signed 16-bit
      {0x15E, 0xFFFB, 0x15D, -5},    // tint, one a step
      {0x15E, 200, 0x15D, 99},       // clamped to the range
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.value);
    sim::clear_trace();
    EXPECT_EQ(set(c.step, c.value, CrDataType_Int16), CrError_None);
    ASSERT_TRUE(sim::wait_idle());
    EXPECT_EQ(static_cast<long long>(sim::property_value(c.base)), c.expected);
    char codes[64];
    std::snprintf(codes, sizeof codes, "OnPropertyChangedCodes codes=0x%x", c.base);
    EXPECT_EQ(callbacks(), (std::vector<std::string>{"OnPropertyChanged", codes}));
  }
}

TEST_F(SimulatorTest, RecordingCommands) {
  connect();
  ASSERT_EQ(SendCommand(callback_.handle, CrCommandId_MovieRecord, CrCommandParam_Down), CrError_None);
  ASSERT_TRUE(sim::wait_idle());
  EXPECT_EQ(sim::property_value(0x705), 1u);
  EXPECT_EQ(callbacks().size(), 2u);
  sim::clear_trace();
  ASSERT_EQ(SendCommand(callback_.handle, CrCommandId_MovieRecord, CrCommandParam_Down), CrError_None);
  ASSERT_EQ(SendCommand(callback_.handle, CrCommandId_MovieRecButtonToggle, CrCommandParam_Up), CrError_None);
  ASSERT_TRUE(sim::wait_idle());
  EXPECT_EQ(sim::property_value(0x705), 1u);
  EXPECT_TRUE(callbacks().empty());
  ASSERT_EQ(SendCommand(callback_.handle, CrCommandId_MovieRecButtonToggle, CrCommandParam_Down),
            CrError_None);
  ASSERT_TRUE(sim::wait_idle());
  EXPECT_EQ(sim::property_value(0x705), 0u);
  EXPECT_EQ(callbacks().back(), "OnPropertyChangedCodes codes=0x705");
}

TEST_F(SimulatorTest, MenuResultWarning) {
  for (const char* result : {"success", "error"}) {
    SCOPED_TRACE(result);
    sim::reset();
    connect(std::string(kScenario) + "menu-result " + result + "\n");
    ASSERT_EQ(RequestDisplayStringList(callback_.handle, CrDisplayStringType_AllList), CrError_None);
    ASSERT_TRUE(sim::wait_idle());
    EXPECT_EQ(callbacks(), (std::vector<std::string>{std::string("OnWarning warning=") +
                                                     (result[0] == 's' ? "0x2002b" : "0x2002c")}));
  }
}

TEST_F(SimulatorTest, FailDirectives) {
  ASSERT_TRUE(sim::load_scenario(std::string(kScenario) + "fail init\n"));
  EXPECT_FALSE(Init());
  ASSERT_TRUE(sim::load_scenario(std::string(kScenario) + "fail enum 0x8101\n"));
  ICrEnumCameraObjectInfo* list = nullptr;
  EXPECT_EQ(EnumCameraObjects(&list), static_cast<CrError>(0x8101));
  EXPECT_EQ(list, nullptr);
  ASSERT_TRUE(sim::load_scenario(std::string(kScenario) + "fail enum-null\n"));
  EXPECT_EQ(EnumCameraObjects(&list), CrError_None);
  EXPECT_EQ(list, nullptr);
  ASSERT_TRUE(sim::load_scenario(std::string(kScenario) + "fail create\n"));
  ICrCameraObjectInfo* info = nullptr;
  CrInt8u serial[USB_SERIAL_LENGTH] = {'D'};
  EXPECT_EQ(CreateCameraObjectInfoUSBConnection(&info, CrCameraDeviceModel_ILME_FX6, serial),
            CrError_Generic);
  EXPECT_EQ(CreateCameraObjectInfo(nullptr, nullptr, 0, 0, 0, nullptr, nullptr, nullptr, nullptr), nullptr);
  ASSERT_TRUE(sim::load_scenario(std::string(kScenario) + "fail connect 0x8204\n"));
  ASSERT_EQ(CreateCameraObjectInfoUSBConnection(&info, CrCameraDeviceModel_ILME_FX6, serial), CrError_None);
  CrDeviceHandle handle = 0;
  EXPECT_EQ(Connect(info, &callback_, &handle), static_cast<CrError>(0x8204));
  info->Release();
  ASSERT_TRUE(sim::wait_idle());
  EXPECT_TRUE(callbacks().empty());

  sim::reset();
  connect(std::string(kScenario) +
          "fail get-properties\nfail get-lv-properties\nfail menu\nfail lut 0x8402\nfail live-view\n");
  CrDeviceProperty* props = nullptr;
  CrInt32 count = 0;
  CrInt32u code = 0x104;
  EXPECT_EQ(GetSelectDeviceProperties(callback_.handle, 1, &code, &props, &count), CrError_Generic);
  CrLiveViewProperty* lv = nullptr;
  EXPECT_EQ(GetLiveViewProperties(callback_.handle, &lv, &count), CrError_Generic);
  EXPECT_EQ(RequestDisplayStringList(callback_.handle, CrDisplayStringType_AllList), CrError_Generic);
  char file[] = "look.cube";
  EXPECT_EQ(ImportLUTFile(callback_.handle, file, CrBaseLookNumber_2), static_cast<CrError>(0x8402));
  CrImageInfo image_info;
  EXPECT_EQ(GetLiveViewImageInfo(callback_.handle, &image_info), CrError_Generic);
  EXPECT_EQ(sim::trace().back(), "GetLiveViewImageInfo result=0x8000");
  EXPECT_NE(std::find(sim::trace().begin(), sim::trace().end(),
                      "ImportLUTFile file=look.cube slot=2 result=0x8402"),
            sim::trace().end());
}

TEST_F(SimulatorTest, LiveViewCallsReportScenarioTimeCode) {
  connect();
  CrLiveViewProperty* lv = nullptr;
  CrInt32 count = 0;
  CrInt32u code = 0x121;
  ASSERT_EQ(GetSelectLiveViewProperties(callback_.handle, 1, &code, &lv, &count), CrError_None);
  ASSERT_EQ(count, 1);
  EXPECT_EQ(lv[0].GetTimeCode(), 0x01020304u);
  EXPECT_EQ(ReleaseLiveViewProperties(callback_.handle, lv), CrError_None);
  CrImageInfo info;
  ASSERT_EQ(GetLiveViewImageInfo(callback_.handle, &info), CrError_None);
  std::vector<CrInt8u> buffer(info.GetBufferSize());
  CrImageDataBlock block;
  block.SetSize(info.GetBufferSize());
  block.SetData(buffer.data());
  ASSERT_EQ(GetLiveViewImage(callback_.handle, &block), CrError_None);
  EXPECT_GT(block.GetImageSize(), 0u);
  EXPECT_LE(block.GetImageSize(), info.GetBufferSize());
  EXPECT_EQ(block.GetTimeCode(), 0x01020304u);
  EXPECT_EQ(buffer[0], 0xFF);
}

TEST_F(SimulatorTest, ControlLinesAndTimedEvents) {
  connect(std::string(kScenario) + "after 1 warning 0x20010\n", false);
  ASSERT_TRUE(sim::fire("change 0x104 100"));
  EXPECT_FALSE(sim::fire("explode"));
  // Three connection callbacks, the timed warning and the change's two.
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(5);
  while (callbacks().size() < 6 && std::chrono::steady_clock::now() < deadline) {
    ASSERT_TRUE(sim::wait_idle());
  }
  const std::vector<std::string> seen = callbacks();
  EXPECT_NE(std::find(seen.begin(), seen.end(), "OnWarning warning=0x20010"), seen.end());
  EXPECT_NE(std::find(seen.begin(), seen.end(), "OnPropertyChangedCodes codes=0x104"), seen.end());
  EXPECT_EQ(sim::property_value(0x104), 100u);

  // A disconnect ends the connection: nothing after it is delivered.
  sim::clear_trace();
  ASSERT_TRUE(sim::fire("disconnect 0x8207"));
  ASSERT_TRUE(sim::fire("warning 0x1"));
  ASSERT_TRUE(sim::wait_idle());
  EXPECT_EQ(callbacks(), (std::vector<std::string>{"OnDisconnected error=0x8207"}));
}

TEST_F(SimulatorTest, ControlFifoAndTraceFile) {
  TempDir dir;
  const std::string fifo = dir.file("control");
  const std::string trace_file = dir.file("trace.log");
  setenv("VK_SONY_SIM_CONTROL", fifo.c_str(), 1);
  setenv("VK_SONY_SIM_TRACE", trace_file.c_str(), 1);
  connect();
  // Writers that open, write and close repeatedly.
  for (const char* line : {"warning 0x20010\n", "bogus line\nnotify 0x104 0x115\n"}) {
    const int fd = ::open(fifo.c_str(), O_WRONLY);
    ASSERT_GE(fd, 0);
    ASSERT_EQ(::write(fd, line, std::strlen(line)), static_cast<ssize_t>(std::strlen(line)));
    ::close(fd);
  }
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(5);
  while (callbacks().size() < 2 && std::chrono::steady_clock::now() < deadline) {
    ASSERT_TRUE(sim::wait_idle(std::chrono::milliseconds(20)));
  }
  EXPECT_EQ(callbacks(), (std::vector<std::string>{"OnWarning warning=0x20010",
                                                   "OnPropertyChangedCodes codes=0x104,0x115"}));
  EXPECT_TRUE(Release());  // joins the reader although the FIFO is idle

  std::ifstream in(trace_file);
  std::vector<std::string> lines;
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  ASSERT_GE(lines.size(), 4u);
  for (const std::string& line : lines) EXPECT_TRUE(well_formed_trace_line(line)) << line;
  EXPECT_EQ(without_time_stamp(lines.front()), "Init logtype=0") << lines.front();
  EXPECT_EQ(without_time_stamp(lines.back()), "Release") << lines.back();
  unsetenv("VK_SONY_SIM_CONTROL");
  unsetenv("VK_SONY_SIM_TRACE");
}

TEST_F(SimulatorTest, InitReportsBadScenarioFile) {
  TempDir dir;
  const std::string path = dir.write("bad.scenario", "camera USB ILME-FX6 D1\nproperty 0x104 UInt32 x rw\n");
  setenv("VK_SONY_SIM_SCENARIO", path.c_str(), 1);
  testing::internal::CaptureStderr();
  EXPECT_FALSE(Init());
  const std::string err = testing::internal::GetCapturedStderr();
  EXPECT_EQ(err, "vk-sony simulator: " + path + ":2: bad value: x\n");
  setenv("VK_SONY_SIM_SCENARIO", dir.file("missing").c_str(), 1);
  testing::internal::CaptureStderr();
  EXPECT_FALSE(Init());
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "vk-sony simulator: " + dir.file("missing") + ": No such file or directory\n");
  unsetenv("VK_SONY_SIM_SCENARIO");
  EXPECT_TRUE(Init());  // the built-in default
  EXPECT_EQ(GetSDKVersion(), 0x02010000u);
  EXPECT_TRUE(Release());
}

}  // namespace
