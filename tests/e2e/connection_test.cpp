// Process-level tests of the USB and IP connection paths, read back through
// the simulator's trace of SDK calls.
#include <gtest/gtest.h>

#include <cstdio>
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
    std::remove(trace_path().c_str());  // the simulator appends: one run per trace
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
  const std::vector<std::string> fx6 = {"-m", "ILME-FX6", "-i", kAddress};
  const std::string sdk = "Sony SDK failed to ";
  const std::string at = std::string(" IP camera ") + kAddress;
  const IpFailureCase cases[] = {
      {"fail create\n", fx6,
       sdk + "create IP camera object for ILME-FX6 at " + kAddress + ": 0x8000 (32768)\n"},
      {"fail fingerprint 0x8001\n", fx6, sdk + "get SSH fingerprint from" + at + ": 0x8001 (32769)\n"},
      {"fail connect 0x8201\n", fx6, sdk + "connect to" + at + ": 0x8201 (33281)\n"},
      {"fail connect\n",
       {"-m", "ILCE-7SM3", "-i", kAddress},
       sdk + "connect to" + at + " without authentication: 0x8000 (32768)\n"},
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

TEST_F(Connection, PathsChosenByArgumentsAndCamera) {
  const std::string ip = kAddress;
  const std::string create_ip = "CreateCameraObjectInfoEthernetConnection model=";
  const std::string connect = "Connect mode=0 reconnect=1 ";
  struct Case {
    std::vector<std::string> args;
    std::string scenario;
    std::vector<std::string> traced;      // each in some trace line
    std::vector<std::string> not_traced;  // in none
  };
  const Case cases[] = {
      // Neither model nor credentials ask for SSH: zero MAC, plain connect.
      {{"-m", "ILCE-7SM3", "-i", kAddress},
       "fail connect\n",
       {create_ip + "3 ip=" + ip + " mac=00:00:00:00:00:00 ssh=0",
        connect + "user= password= fingerprint_size=0"},
       {"GetFingerprint"}},
      // SSH requested by the model or by credentials.
      {{"-m", "ILME-FX6", "-i", kAddress},
       "fail connect\n",
       {create_ip + "10 ", " ssh=1 ", "GetFingerprint result=0x0",
        connect + "user=admin password=Pqrstu789 "},
       {}},
      {{"-p", "secret", "-m", "ILCE-7SM3", "-i", kAddress},
       "fail connect\n",
       {create_ip + "3 ", " ssh=1 ", "GetFingerprint result=0x0", connect + "user=admin password=secret "},
       {}},
      {{"-u", "op", "-m", "HXR-NX800", "-i", kAddress},
       "fail connect\n",
       {create_ip + "21 ", " ssh=1 ", "GetFingerprint result=0x0", connect + "user=op password=Pqrstu789 "},
       {}},
      // Not asked for SSH, but the camera object at this address reports it.
      {{"-m", "ILCE-7SM3", "-i", kAddress},
       "camera IP ILCE-7SM3 " + ip + " 00:11:22:33:44:55 ssh\nfail connect\n",
       {" ssh=0 ", "GetFingerprint", connect + "user=admin password=Pqrstu789 "},
       {}},
      // A listed model's USB id connects without enumeration.
      {{"USB|ILCE-7SM3|D10042"},
       "camera USB ILME-FX6 D10042\n",
       {"CreateCameraObjectInfoUSBConnection model=3 serial=D10042 result=0x0",
        connect + "user=- password=- fingerprint_size=0 result=0x0"},
       {"EnumCameraObjects"}},
      // An unlisted model's id takes the search path.
      {{"USB|ILCE-7RM4|R4"},
       "camera USB ILME-FX6 D10042\ncamera USB ILCE-7RM4 R4\nfail connect\n",
       {"EnumCameraObjects result=0x0 count=2", "CreateCameraObjectInfo model=ILCE-7RM4 type=USB",
        connect + "user=- password=- fingerprint_size=0"},
       {"CreateCameraObjectInfoUSBConnection"}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(::testing::PrintToString(c.args) + " " + c.scenario);
    EXPECT_EQ(run(c.args, c.scenario).status, 1);
    for (const std::string& needle : c.traced) EXPECT_NE(traced(needle), "") << needle;
    for (const std::string& needle : c.not_traced) EXPECT_EQ(traced(needle), "") << needle;
  }
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
