// Process-level tests of the USB and IP connection paths, read back through
// the simulator's trace of SDK calls.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/bridge_process.h"
#include "tests/support/temp_dir.h"

namespace {

// Address with no neighbour entry: the run goes on with the zero MAC.
const char kAddress[] = "10.254.1.2";
const std::string kZeroMacLine = std::string("Unable to resolve MAC address for Sony IP camera at ") +
                                 kAddress + "; trying SDK connection with a zero MAC address.\n";

class Connection : public ::testing::Test {
 protected:
  BridgeResult run(const std::vector<std::string>& args, const std::string& scenario) {
    const std::string path = dir_.write("scenario.txt", scenario);
    return run_bridge_to_end(args, {{"VK_SONY_SIM_SCENARIO", path}, {"VK_SONY_SIM_TRACE", trace_path()}});
  }
  std::string trace_path() const { return dir_.file("trace.txt"); }
  // The first trace line holding `needle`, or "" when none does.
  std::string traced(const std::string& needle) const {
    for (const std::string& line : read_lines(trace_path()))
      if (line.find(needle) != std::string::npos) return line;
    return "";
  }
  TempDir dir_;
};

struct IpFailureCase {
  const char* scenario;
  std::vector<std::string> args;
  std::string err;  // after the zero-MAC line
};

TEST_F(Connection, IpFailuresAreToldAndEndTheProcess) {
  const std::string fx6[] = {"-m", "ILME-FX6", "-i", kAddress};
  const IpFailureCase cases[] = {
      {"fail create\n",
       {fx6[0], fx6[1], fx6[2], fx6[3]},
       std::string("Sony SDK failed to create IP camera object for ILME-FX6 at ") + kAddress +
           ": 0x8000 (32768)\n"},
      {"fail fingerprint 0x8001\n",
       {fx6[0], fx6[1], fx6[2], fx6[3]},
       std::string("Sony SDK failed to get SSH fingerprint from IP camera ") + kAddress +
           ": 0x8001 (32769)\n"},
      {"fail connect 0x8201\n",
       {fx6[0], fx6[1], fx6[2], fx6[3]},
       std::string("Sony SDK failed to connect to IP camera ") + kAddress + ": 0x8201 (33281)\n"},
      {"fail connect\n",
       {"-m", "ILCE-7SM3", "-i", kAddress},
       std::string("Sony SDK failed to connect to IP camera ") + kAddress +
           " without authentication: 0x8000 (32768)\n"},
  };
  for (const IpFailureCase& c : cases) {
    const BridgeResult result = run(c.args, c.scenario);
    EXPECT_EQ(result.status, 1) << c.scenario;
    EXPECT_EQ(result.out, "") << c.scenario;
    EXPECT_EQ(result.err, kZeroMacLine + c.err) << c.scenario;
    const std::vector<std::string> trace = read_lines(trace_path());
    ASSERT_FALSE(trace.empty()) << c.scenario;
    EXPECT_NE(trace.back().find(" Release"), std::string::npos) << trace.back();
    EXPECT_EQ(traced(" Disconnect"), "") << c.scenario;
  }
}

TEST_F(Connection, ZeroMacAndUnauthenticatedConnect) {
  const BridgeResult result = run({"-m", "ILCE-7SM3", "-i", kAddress}, "fail connect\n");
  EXPECT_NE(traced("CreateCameraObjectInfoEthernetConnection model=3 ip=" + std::string(kAddress) +
                   " mac=00:00:00:00:00:00 ssh=0"),
            "");
  EXPECT_EQ(traced("GetFingerprint"), "");
  EXPECT_NE(traced("Connect mode=0 reconnect=1 user= password= fingerprint_size=0"), "");
}

TEST_F(Connection, SshRequestedByModelOrByCredentials) {
  struct Case {
    std::vector<std::string> args;
    std::string create;
    std::string connect;
  };
  const Case cases[] = {
      {{"-m", "ILME-FX6", "-i", kAddress}, "model=10", "user=admin password=Pqrstu789 "},
      {{"-p", "secret", "-m", "ILCE-7SM3", "-i", kAddress}, "model=3", "user=admin password=secret "},
      {{"-u", "op", "-m", "HXR-NX800", "-i", kAddress}, "model=21", "user=op password=Pqrstu789 "},
  };
  for (const Case& c : cases) {
    const BridgeResult result = run(c.args, "fail connect\n");
    EXPECT_EQ(result.status, 1);
    EXPECT_NE(traced("CreateCameraObjectInfoEthernetConnection " + c.create), "") << c.create;
    EXPECT_NE(traced(" ssh=1 "), "") << c.create;
    EXPECT_NE(traced("GetFingerprint result=0x0"), "") << c.create;
    EXPECT_NE(traced("Connect mode=0 reconnect=1 " + c.connect), "") << c.create;
  }
}

TEST_F(Connection, CameraReportingSshTakesTheAuthenticatedPath) {
  // Not asked for SSH, but the camera object at this address reports it.
  const BridgeResult result =
      run({"-m", "ILCE-7SM3", "-i", kAddress},
          std::string("camera IP ILCE-7SM3 ") + kAddress + " 00:11:22:33:44:55 ssh\n" + "fail connect\n");
  EXPECT_EQ(result.status, 1);
  EXPECT_NE(traced(" ssh=0 "), "");
  EXPECT_NE(traced("GetFingerprint"), "");
  EXPECT_NE(traced("Connect mode=0 reconnect=1 user=admin password=Pqrstu789 "), "");
}

TEST_F(Connection, UsbDirectIdConnectsWithoutEnumeration) {
  const BridgeResult result = run({"USB|ILCE-7SM3|D10042"}, "camera USB ILME-FX6 D10042\n");
  EXPECT_EQ(result.status, 1);
  EXPECT_NE(traced("CreateCameraObjectInfoUSBConnection model=3 serial=D10042 result=0x0"), "");
  EXPECT_NE(traced("Connect mode=0 reconnect=1 user=- password=- fingerprint_size=0 result=0x0"), "");
  EXPECT_EQ(traced("EnumCameraObjects"), "");
}

TEST_F(Connection, UnlistedModelIdTakesTheSearchPath) {
  const BridgeResult result =
      run({"USB|ILCE-7RM4|R4"}, "camera USB ILME-FX6 D10042\ncamera USB ILCE-7RM4 R4\nfail connect\n");
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(traced("CreateCameraObjectInfoUSBConnection"), "");
  EXPECT_NE(traced("EnumCameraObjects result=0x0 count=2"), "");
  EXPECT_NE(traced("CreateCameraObjectInfo model=ILCE-7RM4 type=USB"), "");
  EXPECT_NE(traced("Connect mode=0 reconnect=1 user=- password=- fingerprint_size=0"), "");
}

TEST_F(Connection, UsbFailuresAreSilent) {
  struct Case {
    std::vector<std::string> args;
    const char* scenario;
  };
  const Case cases[] = {
      {{"USB|ILCE-7RM4|NOPE"}, "camera USB ILCE-7RM4 R4\n"},                   // nothing matches
      {{"IP|ILCE-7SM3"}, "camera IP ILCE-7SM3 10.0.0.9 00:00:00:00:00:01\n"},  // IP id on USB
      {{"USB|ILME-FX6|D1"}, "fail create\n"},
      {{"USB|ILME-FX6|D1"}, "fail connect\n"},
      {{"*"}, "camera IP ILCE-7SM3 10.0.0.9 00:00:00:00:00:01\n"},  // no USB camera at all
  };
  for (const Case& c : cases) {
    const BridgeResult result = run(c.args, c.scenario);
    EXPECT_EQ(result.status, 1) << c.args[0];
    EXPECT_EQ(result.out, "") << c.args[0];
    EXPECT_EQ(result.err, "") << c.args[0];
    const std::vector<std::string> trace = read_lines(trace_path());
    ASSERT_FALSE(trace.empty());
    EXPECT_NE(trace.back().find(" Release"), std::string::npos) << trace.back();
    EXPECT_EQ(traced("fingerprint_size=0 result=0x0"), "") << c.args[0];  // never connected
  }
}

}  // namespace
