// `vantrel printers` and `vantrel printer NAME set` against a private CUPS
// scheduler, run as an administrator would run them.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "platform/process.h"
#include "integration/cups_sandbox_posix.h"

namespace vantrel::testing {
namespace {

struct Outcome {
  int status = -1;
  std::string out, err;
};

class PrintersCommandTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    sandbox_ = new CupsSandbox();
    if (!sandbox_->ok()) return;
    sandbox_->Tool("lpadmin -p Q1 -E -v file:///dev/null -D 'Front desk' -L 'Room 1'");
    sandbox_->Tool("lpadmin -p Q2 -E -v socket://127.0.0.1:9 -D 'Dock labels' -L 'Dock'");
    sandbox_->Tool(
        "lpadmin -p Q3 -E -v file:///dev/null "
        "-o printer-state-reasons=media-empty-error,door-open");
  }
  static void TearDownTestSuite() {
    delete sandbox_;
    sandbox_ = nullptr;
  }
  void SetUp() override {
    if (!sandbox_->ok()) FAIL() << sandbox_->error();
    tool_ = std::filesystem::path(platform::CurrentExecutablePath()).parent_path() / "vantrel";
    if (!std::filesystem::exists(tool_)) FAIL() << "build the vantrel tool first: " << tool_;
  }

  Outcome Run(const std::string& arguments) {
    const auto scratch = std::filesystem::temp_directory_path();
    const auto out = scratch / "vantrel-printers-command.out";
    const auto err = scratch / "vantrel-printers-command.err";
    const auto home = scratch / "vantrel-printers-command-home";
    std::filesystem::create_directories(home);
    const std::string command = "CUPS_SERVER=" + sandbox_->server() + " VANTREL_HOME='" +
                                home.string() + "' '" + tool_.string() + "' " + arguments + " >'" +
                                out.string() + "' 2>'" + err.string() + "'";
    Outcome outcome;
    const int raw = std::system(command.c_str());
    outcome.status = raw >= 0 ? (raw >> 8) & 0xFF : -1;
    outcome.out = Slurp(out);
    outcome.err = Slurp(err);
    return outcome;
  }

  nlohmann::json Printer(const std::string& name) {
    const Outcome shown = Run("printer " + name + " --json");
    EXPECT_EQ(shown.status, 0) << shown.err;
    return nlohmann::json::parse(shown.out, nullptr, false);
  }

  static std::string Slurp(const std::filesystem::path& path) {
    std::ifstream in(path);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
  }

  static CupsSandbox* sandbox_;
  std::filesystem::path tool_;
};

CupsSandbox* PrintersCommandTest::sandbox_ = nullptr;

TEST_F(PrintersCommandTest, ListsTheQueuesWithTheirFieldsAndStatus) {
  const Outcome listed = Run("printers --json");
  ASSERT_EQ(listed.status, 0) << listed.err;
  const auto printers = nlohmann::json::parse(listed.out, nullptr, false);
  ASSERT_TRUE(printers.is_array()) << listed.out;
  std::map<std::string, nlohmann::json> by_name;
  for (const auto& p : printers) by_name[p["pPrinterName"].get<std::string>()] = p;
  ASSERT_EQ(by_name.size(), 3u);
  EXPECT_EQ(by_name["Q1"]["pComment"], "Front desk");
  EXPECT_EQ(by_name["Q1"]["pLocation"], "Room 1");
  EXPECT_EQ(by_name["Q1"]["pPortName"], "file:///dev/null");
  EXPECT_EQ(by_name["Q2"]["pPortName"], "socket://127.0.0.1:9");
  EXPECT_EQ(by_name["Q2"]["pLocation"], "Dock");
  EXPECT_EQ(by_name["Q3"]["Status"], 0x10 | 0x400000);  // PAPER_OUT | DOOR_OPEN
}

TEST_F(PrintersCommandTest, SharingRulesAndRefusals) {
  Outcome refused = Run("printer Q2 set --share-name 'a,b'");
  EXPECT_EQ(refused.status, 1);
  EXPECT_NE(refused.err.find("Invalid printer share name (0x80042104)"), std::string::npos)
      << refused.err;
  EXPECT_EQ(Printer("Q2")["pShareName"], "");

  ASSERT_EQ(Run("printer Q2 set --shared on").status, 0);
  auto shared = Printer("Q2");
  EXPECT_EQ(shared["pShareName"], "Q2");
  EXPECT_TRUE(shared["Attributes"].get<uint32_t>() & 0x8);

  ASSERT_EQ(Run("printer Q2 set --share-name ''").status, 0);
  EXPECT_FALSE(Printer("Q2")["Attributes"].get<uint32_t>() & 0x8);

  refused = Run("printer Q2 set --port foo://bar --comment ignored");
  EXPECT_EQ(refused.status, 1);
  EXPECT_NE(refused.err.find("Invalid port (0x80042103)"), std::string::npos) << refused.err;
  EXPECT_EQ(Printer("Q2")["pPortName"], "socket://127.0.0.1:9");
  EXPECT_EQ(Printer("Q2")["pComment"], "Dock labels");
}

TEST_F(PrintersCommandTest, ChangesReachTheScheduler) {
  ASSERT_EQ(Run("printer Q1 set --comment 'New desk' --location 'Room 2' --priority 9").status, 0);
  EXPECT_EQ(sandbox_->Tool("lpstat -l -p Q1 | grep -q 'Description: New desk'"), 0);
  EXPECT_EQ(sandbox_->Tool("lpstat -l -p Q1 | grep -q 'Location: Room 2'"), 0);
  EXPECT_EQ(Printer("Q1")["DefaultPriority"], 9);
  const Outcome missing = Run("printer Nope");
  EXPECT_EQ(missing.status, 1);
  EXPECT_EQ(missing.err,
            "vantrel: cannot show printer 'Nope': Could not open printer: the print "
            "scheduler at " +
                sandbox_->server() + " has no such queue (0x80042003)\n");
}

}  // namespace
}  // namespace vantrel::testing
