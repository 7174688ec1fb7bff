#include "printers/status_rules.h"

#include <gtest/gtest.h>

#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "printers/status_reply.h"

namespace vantrel::printers {
namespace {

// A system with no resource libraries: every text is the English one.
std::string NoTexts(const char*, uint32_t) { return {}; }

struct WordCase {
  uint32_t word1;
  uint32_t severity;
  const char* text;
};

TEST(StatusRulesTest, SeverityAndTextOfSpoolerWords) {
  const WordCase cases[] = {
      {0x0, 1, "Ready"},
      // A bare ERROR is an error with a text of its own ...
      {0x2, 2, "Error"},
      // ... which a more specific error bit replaces.
      {0xA, 2, "Paper Jam"},
      {0x20000, 3, "Toner/Ink Low"},
      {0x1000000, 3, "Power Save Mode"},
      // Offline and paused are neither warning nor error; texts in bit order.
      {0x81, 1, "Paused, Offline"},
      {0x10 | 0x400000 | 0x1000000, 2, "Out of Paper, Door Open, Power Save Mode"},
      // SERVER_UNKNOWN counts as an error and has its own text, no "Error".
      {0x800002, 2, "Server Status Unknown"},
      // Pending deletion alone has no text: the generic one, else "Ready".
      {0x4, 1, "Ready"},
      // Bits beyond POWER_SAVE: no text, no severity.
      {0x80000000, 1, "Ready"},
  };
  for (const WordCase& c : cases) {
    SCOPED_TRACE(c.word1);
    EXPECT_EQ(SeverityOfWord1(c.word1), c.severity);
    EXPECT_EQ(StatusTextOfWord1(c.word1, NoTexts), c.text);
  }
}

TEST(StatusRulesTest, SystemTextsReplaceTheEnglishOnesAndTheGenericTextFillsAnEmptyOne) {
  std::vector<std::pair<std::string, uint32_t>> asked;
  const StatusTextSource system = [&](const char* library, uint32_t id) -> std::string {
    asked.emplace_back(library, id);
    if (std::string(library) == "printui.dll" && id == 14359) return "En pause";
    if (std::string(library) == "puiapi.dll" && id == 300) return "Statut inconnu";
    return {};
  };
  EXPECT_EQ(StatusTextOfWord1(0x81, system), "En pause, Offline");
  EXPECT_EQ(asked, (std::vector<std::pair<std::string, uint32_t>>{{"printui.dll", 14359},
                                                                  {"printui.dll", 14341}}));
  asked.clear();
  EXPECT_EQ(StatusTextOfWord1(0x4, system), "Statut inconnu");
  EXPECT_EQ(asked.size(), 1u);  // no text of a bit, no "Ready" looked up
  asked.clear();
  EXPECT_EQ(StatusTextOfWord1(0x2, system), "Error");
  EXPECT_EQ(asked, (std::vector<std::pair<std::string, uint32_t>>{{"printui.dll", 18003}}));
  asked.clear();
  EXPECT_EQ(StatusTextOfWord1(0, system), "Ready");
  EXPECT_EQ(asked, (std::vector<std::pair<std::string, uint32_t>>{{"printui.dll", 18005}}));
}

TEST(StatusRulesTest, ConditionsTestTheirOwnBitOfTheirOwnWord) {
  std::set<std::string> names;
  std::set<uint64_t> bits;  // word << 32 | bit
  for (const StatusCondition& condition : kStatusConditions) {
    SCOPED_TRACE(condition.name);
    EXPECT_TRUE(names.insert(condition.name).second);
    const StatusCodeBit where = BitOfStatusCode(condition.code);
    ASSERT_TRUE(where.word == 1 || where.word == 2);
    EXPECT_EQ(where.word, condition.code < 200 ? 1 : 2);
    EXPECT_TRUE(bits.insert(uint64_t(where.word) << 32 | where.bit).second);
    // Set in its word, the condition holds; set in the other word or with
    // every other bit set, it does not.
    const uint32_t own = where.bit;
    EXPECT_TRUE(
        TestStatusCode(condition.code, where.word == 1 ? own : 0, where.word == 2 ? own : 0));
    EXPECT_FALSE(
        TestStatusCode(condition.code, where.word == 2 ? own : ~own, where.word == 1 ? own : ~own));
  }
  EXPECT_EQ(BitOfStatusCode(102).bit, 0x10u);       // PaperOut
  EXPECT_EQ(BitOfStatusCode(121).bit, 0x1000000u);  // PowerSave: bit 24, not 23
  EXPECT_EQ(BitOfStatusCode(206).bit, 0x20u);       // RibbonOut
  for (int32_t code : {0, 99, 122, 200, 212, 300, -1}) EXPECT_EQ(BitOfStatusCode(code).word, 0);
}

TEST(StatusRulesTest, DeviceTextJoinsOnlyTheSpoolersOwnConditions) {
  EXPECT_EQ(JoinStatusTexts("Ribbon Out", 0, NoTexts), "Ribbon Out");
  EXPECT_EQ(JoinStatusTexts("Ribbon Out", 0x4, NoTexts), "Ribbon Out");
  EXPECT_EQ(JoinStatusTexts("Ribbon Out", 0x2, NoTexts), "Ribbon Out, Error");
  EXPECT_EQ(JoinStatusTexts("", 0, NoTexts), "Ready");
}

// The readers' form (whole decimals, three fields, severities 1 to 3) is the
// fuzzer's to prove; these are the replies' meaning.
TEST(StatusReplyTest, RepliesGiveWord2TextAndSeverityOrNothing) {
  EXPECT_EQ(ParseStateNumber("0032"), 32u);
  EXPECT_FALSE(ParseStateNumber("4294967296"));
  const std::map<std::string, std::pair<uint32_t, uint32_t>> flags = {
      {"1;32;2", {0x80000020, 2}}, {"1;32;3", {0x40000020, 3}}, {"1;1056;1", {1056, 1}},
      {"1;0;1\r\n", {0, 1}},       {"1;16;1;extra", {16, 1}},
  };
  for (const auto& [reply, expected] : flags) {
    SCOPED_TRACE(reply);
    const auto parsed = ParseFlagsReply(reply);
    ASSERT_TRUE(parsed);
    EXPECT_EQ(parsed->word2, expected.first);
    EXPECT_EQ(parsed->severity, expected.second);
  }
  for (const char* refused : {"0;32;2", "1;32", "1;32;4", "1;-32;2"}) {
    EXPECT_FALSE(ParseFlagsReply(refused)) << refused;
  }
  const auto text = ParseTextReply("1;Ribbon Out; check the roll;2");
  ASSERT_TRUE(text);
  EXPECT_EQ(text->text, "Ribbon Out; check the roll");
  EXPECT_EQ(text->severity, 2u);
  EXPECT_FALSE(ParseTextReply("0;Ribbon Out;2"));
  EXPECT_EQ(ParseSeverityReply("7;2\n"), 2u);
  EXPECT_FALSE(ParseSeverityReply("0;3"));
  EXPECT_FALSE(ParseSeverityReply("1;3;1"));
}

}  // namespace
}  // namespace vantrel::printers
