#include <gtest/gtest.h>

#include <cctype>
#include <string>

#include "platform/computer_name.h"
#include "support/registry.h"

namespace vantrel {
namespace {

using platform::RegistryRoot;

constexpr const char* kP1Settings =
    "SYSTEM\\CurrentControlSet\\Control\\Print\\Printers\\P1\\PrinterDriverData\\Settings";

struct PathRow {
  const char* path;
  bool is_value;
  RegistryRoot root;
  std::string key;
  std::string value_name;
};

void ExpectResolves(const ORegistry& registry, const PathRow& row) {
  ResolvedRegistryPath resolved;
  ASSERT_TRUE(registry.Resolve(row.path, row.is_value, &resolved)) << row.path;
  EXPECT_EQ(resolved.root, row.root) << row.path;
  EXPECT_EQ(resolved.key, row.key) << row.path;
  EXPECT_EQ(resolved.value_name, row.value_name) << row.path;
}

std::string LocalName() {
  const auto names = platform::LocalComputerNames();
  return names.empty() ? std::string() : names.front();
}

TEST(RegistryPathTest, NamedKeysRootsAndEscapes) {
  const PrinterRegistry registry("P1");
  const PathRow rows[] = {
      {"SETTINGS:Foo", true, RegistryRoot::kLocalMachine, kP1Settings, "Foo"},
      {"settings:Foo", true, RegistryRoot::kLocalMachine, kP1Settings, "Foo"},
      {"SETTINGS:", false, RegistryRoot::kLocalMachine, kP1Settings, ""},
      {"1:SOFTWARE//X", false, RegistryRoot::kCurrentUser, "SOFTWARE/X", ""},
      {"2:A%%B::C/Value", true, RegistryRoot::kLocalMachine, "A%B:C", "Value"},
      {"2:A%%2F/Value", true, RegistryRoot::kLocalMachine, "A%2F", "Value"},
      {"2:SOFTWARE\\Sub\\Value", true, RegistryRoot::kLocalMachine, "SOFTWARE\\Sub", "Value"},
      {"2:Value", true, RegistryRoot::kLocalMachine, "", "Value"},
      {"2:SOFTWARE/[FOO]/[printer]", false, RegistryRoot::kLocalMachine,
       "SOFTWARE\\[FOO]\\[printer]", ""},
      {"LOCAL_MACHINE:SOFTWARE/Value", true, RegistryRoot::kLocalMachine, "SOFTWARE", "Value"},
      {"Classes_Root:", false, RegistryRoot::kClassesRoot, "", ""},
      {"USERS:.DEFAULT", false, RegistryRoot::kUsers, ".DEFAULT", ""},
      {"USERSETTINGS:Foo", true, RegistryRoot::kCurrentUser,
       "SOFTWARE\\Marlock Scientific\\Drivers\\Printers\\P1\\Settings", "Foo"},
      {"PRINT:Printers", false, RegistryRoot::kLocalMachine,
       "SYSTEM\\CurrentControlSet\\Control\\Print\\Printers", ""},
  };
  for (const PathRow& row : rows) ExpectResolves(registry, row);
}

TEST(RegistryPathTest, UnusablePathsFail) {
  const ORegistry registry;
  ResolvedRegistryPath resolved;
  for (const char* path : {"9:SOFTWARE", "4:X", "22:X", "SOFTWARE", "", ":X", "NOSUCHKEY:X",
                           "2::SOFTWARE", "SETTINGS::Foo"}) {
    EXPECT_FALSE(registry.Resolve(path, false, &resolved)) << path;
    EXPECT_FALSE(registry.Resolve(path, true, &resolved)) << path;
  }
}

TEST(RegistryPathTest, EveryNamedKeyExpandsToAUsablePath) {
  const PrinterRegistry registry("P1", "", "PORT1", "OEM1");
  for (const auto& [name, expansion] : ORegistry::NamedKeys()) {
    ResolvedRegistryPath resolved;
    EXPECT_TRUE(registry.Resolve(name + ":Value", true, &resolved)) << name;
    EXPECT_EQ(resolved.value_name, "Value") << name;
    EXPECT_EQ(resolved.key.find('['), std::string::npos) << name << " left a placeholder";
  }
}

TEST(RegistryPathTest, FilledNamesStayOneComponent) {
  const PrinterRegistry odd("Lab: A/B 100%", "\\\\" + LocalName(), "IP_10.0.0.1:9100", "[OEM]");
  const PathRow rows[] = {
      {"SETTINGS:Foo", true, RegistryRoot::kLocalMachine,
       "SYSTEM\\CurrentControlSet\\Control\\Print\\Printers\\Lab: A/B 100%\\PrinterDriverData"
       "\\Settings",
       "Foo"},
      {"2:Ports/[PORT]/[OEM]", true, RegistryRoot::kLocalMachine, "Ports\\IP_10.0.0.1:9100",
       "[OEM]"},
      {"NETWORK:TCP Port", true, RegistryRoot::kLocalMachine,
       "SOFTWARE\\Marlock Scientific\\Drivers\\Network\\@" + LocalName(), "TCP Port"},
  };
  for (const PathRow& row : rows) ExpectResolves(odd, row);

  // A filled value is not scanned again for placeholders.
  const PrinterRegistry tricky("[SERVER]", "\\\\" + LocalName());
  ExpectResolves(tricky, {"2:[PRINTER]", false, RegistryRoot::kLocalMachine, "[SERVER]", ""});

  // Plain ORegistry fills nothing.
  ExpectResolves(ORegistry(), {"SETTINGS:Foo", true, RegistryRoot::kLocalMachine,
                               "SYSTEM\\CurrentControlSet\\Control\\Print\\Printers\\[PRINTER]"
                               "\\PrinterDriverData\\Settings",
                               "Foo"});
}

TEST(RegistryPathTest, EscapedNamesRoundTrip) {
  const ORegistry registry;
  for (const std::string name : {"a/b", "a:b", "100%", "%%", "a//::b", "a%2Fb", "x:/%y"}) {
    ResolvedRegistryPath resolved;
    const std::string escaped = EscapeRegistryName(name);
    ASSERT_TRUE(registry.Resolve("2:K/" + escaped + "/" + escaped, true, &resolved)) << name;
    EXPECT_EQ(resolved.key, "K\\" + name);
    EXPECT_EQ(resolved.value_name, name);
  }
}

TEST(RegistryPathTest, PrinterOnAnotherServerUsesThatServersBranch) {
  const PrinterRegistry remote("P1", "\\\\FAR:AWAY");
  ASSERT_TRUE(remote.is_remote());
  const std::string branch = "SOFTWARE\\Marlock Scientific\\Drivers\\@FAR:AWAY";
  const PathRow rows[] = {
      {"LOCAL:Sub/Value", true, RegistryRoot::kLocalMachine, branch + "\\Sub", "Value"},
      {"local:", false, RegistryRoot::kLocalMachine, branch, ""},
      {"Print:Printers/Value", true, RegistryRoot::kLocalMachine, branch + "\\Print\\Printers",
       "Value"},
      {"USER:Value", true, RegistryRoot::kCurrentUser, branch, "Value"},
      // Other named keys and literal paths are not moved.
      {"SETTINGS:Foo", true, RegistryRoot::kLocalMachine, kP1Settings, "Foo"},
      {"NETWORK:", false, RegistryRoot::kLocalMachine,
       "SOFTWARE\\Marlock Scientific\\Drivers\\Network\\@FAR:AWAY", ""},
      {"2:SOFTWARE/Value", true, RegistryRoot::kLocalMachine, "SOFTWARE", "Value"},
  };
  for (const PathRow& row : rows) ExpectResolves(remote, row);
}

// Names that look like placeholders or escapes are filled in as they stand.
TEST(RegistryPathTest, FilledNamesAreNotReadAgain) {
  const PrinterRegistry remote("[SERVER]%2F", "\\[PRINTER]", "[OEM]", "a/b");
  ASSERT_TRUE(remote.is_remote());
  const std::string branch = "SOFTWARE\\Marlock Scientific\\Drivers\\@[PRINTER]";
  const PathRow rows[] = {
      {"LOCAL:Value", true, RegistryRoot::kLocalMachine, branch, "Value"},
      {"PRINT:", false, RegistryRoot::kLocalMachine, branch + "\\Print", ""},
      {"2:K/[PRINTER]/[PORT]/[OEM]/[SERVER]", false, RegistryRoot::kLocalMachine,
       "K\\[SERVER]%2F\\[OEM]\\a/b\\[PRINTER]", ""},
  };
  for (const PathRow& row : rows) ExpectResolves(remote, row);
}

TEST(RegistryPathTest, LocalServerNamesAreNotRemote) {
  const std::string local = LocalName();
  ASSERT_FALSE(local.empty());
  std::string shouted = local;
  for (char& c : shouted) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  for (const std::string& server : {std::string(), local, "\\\\" + local, "\\\\" + shouted}) {
    const PrinterRegistry registry("P1", server);
    EXPECT_FALSE(registry.is_remote()) << server;
    ExpectResolves(registry, {"LOCAL:Value", true, RegistryRoot::kLocalMachine,
                              "SOFTWARE\\Marlock Scientific\\Drivers", "Value"});
  }
}

}  // namespace
}  // namespace vantrel
