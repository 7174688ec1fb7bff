#include "driver/xpml_encoding.h"

#include <gtest/gtest.h>
#include <zlib.h>

#include <random>
#include <string>

namespace vantrel {
namespace {

uint32_t ReadLittleEndian32(const std::string& bytes, size_t at) {
  uint32_t value = 0;
  for (int i = 3; i >= 0; --i) value = (value << 8) | static_cast<uint8_t>(bytes[at + i]);
  return value;
}

// Undoes the container with zlib, checking its header on the way.
std::string Unpack(const std::string& container) {
  EXPECT_EQ(container.substr(0, 4), "ZLIB");
  const uint32_t original = ReadLittleEndian32(container, 4);
  const uint32_t compressed = ReadLittleEndian32(container, 8);
  EXPECT_EQ(container.size(), compressed + 12u);
  std::string out(original, '\0');
  uLongf out_size = original;
  EXPECT_EQ(uncompress(reinterpret_cast<Bytef*>(out.data()), &out_size,
                       reinterpret_cast<const Bytef*>(container.data() + 12), compressed),
            Z_OK);
  out.resize(out_size);
  return out;
}

std::string Base64(std::string bytes) {
  EXPECT_TRUE(Base64Encode(&bytes));
  return bytes;
}

TEST(XmlEscapeTest, ReplacesTheFourMarkupCharactersAndKeepsTheApostrophe) {
  EXPECT_EQ(XmlEscape("a'b"), "a'b");
  EXPECT_EQ(XmlEscape("<&>\""), "&lt;&amp;&gt;&quot;");
  EXPECT_EQ(XmlEscape(""), "");
  EXPECT_EQ(XmlEscape("x&&y"), "x&amp;&amp;y");
}

TEST(XmlEscapeTest, StopsAtTheFirstZeroByte) {
  EXPECT_EQ(XmlEscape(std::string_view("ab\0<c", 5)), "ab");
}

TEST(Lz77CompressTest, EmptyInputGivesTheTwentyByteContainer) {
  std::string buffer;
  ASSERT_TRUE(Lz77Compress(&buffer));
  ASSERT_EQ(buffer.size(), 20u);
  EXPECT_EQ(ReadLittleEndian32(buffer, 4), 0u);
  EXPECT_EQ(ReadLittleEndian32(buffer, 8), 8u);
  // zlib's empty stream at level 6: header 78 9C, an empty final block, Adler-32 of nothing.
  EXPECT_EQ(buffer.substr(12), std::string("\x78\x9c\x03\x00\x00\x00\x00\x01", 8));
}

TEST(Lz77CompressTest, RoundTripsTextAndIncompressibleDataOfManySizes) {
  std::mt19937 random(7);
  for (size_t size : {1u, 2u, 999u, 1000u, 1001u, 65536u, 300000u}) {
    std::string noise(size, '\0');
    for (char& c : noise) c = static_cast<char>(random());
    std::string text;
    while (text.size() < size)
      text += "^XA^FO50,50^FDLabel " + std::to_string(text.size()) + "^FS^XZ";
    text.resize(size);
    for (const std::string& original : {noise, text}) {
      std::string buffer = original;
      ASSERT_TRUE(Lz77Compress(&buffer)) << size;
      EXPECT_EQ(Unpack(buffer), original) << size;
    }
  }
}

TEST(Lz77CompressTest, MatchesZlibsOwnCompressionAtLevelSix) {
  std::string data(5000, 'q');
  for (size_t i = 0; i < data.size(); i += 7) data[i] = static_cast<char>('a' + i % 26);
  std::string expected(compressBound(data.size()), '\0');
  uLongf expected_size = expected.size();
  ASSERT_EQ(compress2(reinterpret_cast<Bytef*>(expected.data()), &expected_size,
                      reinterpret_cast<const Bytef*>(data.data()), data.size(), 6),
            Z_OK);
  expected.resize(expected_size);
  std::string buffer = data;
  ASSERT_TRUE(Lz77Compress(&buffer));
  EXPECT_EQ(buffer.substr(12), expected);
}

TEST(Base64EncodeTest, PadsToFourCharacters) {
  EXPECT_EQ(Base64(std::string(1, '\0')), "AA==");
  EXPECT_EQ(Base64(std::string(2, '\0')), "AAA=");
  EXPECT_EQ(Base64(std::string(3, '\0')), "AAAA");
  EXPECT_EQ(Base64(""), "");
  EXPECT_EQ(Base64("Man"), "TWFu");
  EXPECT_EQ(Base64("\xff\xfe\xfd\xfc"), "//79/A==");
}

TEST(Base64EncodeTest, UsesEveryCharacterOfTheAlphabetInOrder) {
  // The 48 bytes whose 6-bit groups count 0..63.
  std::string bytes;
  for (int group = 0; group < 64; group += 4) {
    const uint32_t bits = (group << 18) | ((group + 1) << 12) | ((group + 2) << 6) | (group + 3);
    bytes += static_cast<char>(bits >> 16);
    bytes += static_cast<char>(bits >> 8);
    bytes += static_cast<char>(bits);
  }
  EXPECT_EQ(Base64(bytes), "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/");
}

std::string EncodedData(const std::string& data) {
  std::string encoded = data;
  EXPECT_TRUE(Lz77Compress(&encoded));
  return Base64(encoded);
}

TEST(QueryRequestTest, PlainReadingQueryHasNoAttributesAfterTheName) {
  XpmlQuery query;
  query.query_id = "17";
  query.data = "~HS";
  EXPECT_EQ(BuildQueryRequest(query),
            "<query id='17' name='Kesto Query'><request id='1' name='Kesto Request'>"
            "<encode in='base64;lz77'>" +
                EncodedData("~HS") + "</encode></request></query>");
}

TEST(QueryRequestTest, WritesPositiveTimeoutsPatternAndWriteOnlyInOrder) {
  XpmlQuery query;
  query.query_id = "a<b";  // the id is the caller's text, not escaped
  query.send_timeout = 1;
  query.receive_start_timeout = 2000;
  query.receive_interval_timeout = 30;
  query.response_pattern = "<x&y>";
  query.write_only = true;
  const std::string text = BuildQueryRequest(query);
  EXPECT_EQ(text.substr(0, text.find("<encode")),
            "<query id='a<b' name='Kesto Query'><request id='1' name='Kesto Request'"
            " sendTimeout='1' receiveStartTimeout='2000' receiveIntervalTimeout='30'"
            " responsePattern='&lt;x&amp;y&gt;' parameters='read=false'>");
}

TEST(QueryRequestTest, LeavesOutZeroAndNegativeTimeouts) {
  XpmlQuery query;
  query.query_id = "1";
  query.send_timeout = -5;
  query.receive_start_timeout = 0;
  query.receive_interval_timeout = -2147483647 - 1;
  const std::string text = BuildQueryRequest(query);
  EXPECT_NE(text.find("name='Kesto Request'><encode"), std::string::npos) << text;
}

TEST(OtherRequestsTest, StatusResponseAndJobTexts) {
  EXPECT_EQ(BuildStatusRequest("42"), "<request query='42' id='1' get='status' />");
  EXPECT_EQ(BuildResponseRequest("42"), "<request query='42' id='1' get='response' />");
  EXPECT_EQ(BuildJobStateRequest(-3),
            "<job id='-3' action='get' jobIdentity='true' jobStatus='true' />&#00;");
}

}  // namespace
}  // namespace vantrel
