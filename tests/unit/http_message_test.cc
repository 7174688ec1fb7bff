#include "support/http_message.h"

#include <gtest/gtest.h>

#include <string>

namespace vantrel {
namespace {

using State = HttpMessageReader::State;

State FeedByteByByte(HttpMessageReader& reader, std::string_view bytes) {
  for (char c : bytes) reader.Feed(std::string_view(&c, 1));
  return reader.state();
}

TEST(HttpMessageTest, RequestCarriesTheEnvelopeFieldsAndReadsBack) {
  const std::string text = FormatHttpRequest("POST", "/xpml?a=1", {{"TID", "7"}}, "body\r\n\r\n");
  EXPECT_EQ(text.substr(0, text.find("\r\n\r\n") + 4),
            "POST /xpml?a=1 HTTP/1.1\r\nContent-Type: application/octet-stream\r\n"
            "Cache-Control: no-cache\r\nTID: 7\r\nContent-Length: 8\r\n\r\n");
  HttpMessageReader reader;
  ASSERT_EQ(FeedByteByByte(reader, text + "trailing"), State::kComplete);
  EXPECT_EQ(reader.message().start[0], "POST");
  EXPECT_EQ(reader.message().start[1], "/xpml?a=1");
  EXPECT_EQ(reader.message().body, "body\r\n\r\n");
  EXPECT_EQ(reader.message().Field("tid"), "7");
}

TEST(HttpMessageTest, ReplyKeepsItsReasonPhrase) {
  HttpMessageReader reader;
  ASSERT_EQ(reader.Feed(FormatHttpReply(404, {}, "")), State::kComplete);
  EXPECT_EQ(reader.message().start[1], "404");
  EXPECT_EQ(reader.message().start[2], "Not Found");
  EXPECT_EQ(HttpReasonPhrase(400), "Bad Request");
}

TEST(HttpMessageTest, AcceptsEveryHeaderEnding) {
  for (const char* ending : {"\r\n\r\n", "\n\r\n", "\r\n\n", "\n\n"}) {
    HttpMessageReader reader;
    const std::string text = std::string("HTTP/1.1 200 OK\r\nContent-Length: 3") + ending + "abc";
    ASSERT_EQ(reader.Feed(text), State::kComplete) << ending;
    EXPECT_EQ(reader.message().body, "abc");
  }
}

TEST(HttpMessageTest, WithoutALengthTheBodyEndsWhenThePeerCloses) {
  HttpMessageReader reader;
  EXPECT_EQ(reader.Feed("HTTP/1.1 200 OK\r\n\r\n1;0;"), State::kNeedMore);
  EXPECT_EQ(reader.Feed("1"), State::kNeedMore);
  EXPECT_EQ(reader.Finish(), State::kComplete);
  EXPECT_EQ(reader.message().body, "1;0;1");
}

TEST(HttpMessageTest, UnfinishedMessagesFailWhenThePeerCloses) {
  HttpMessageReader short_body;
  short_body.Feed("HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\nabc");
  EXPECT_EQ(short_body.Finish(), State::kFailed);
  HttpMessageReader no_header_end;
  no_header_end.Feed("HTTP/1.1 200 OK\r\n");
  EXPECT_EQ(no_header_end.Finish(), State::kFailed);
}

TEST(HttpMessageTest, BoundsTheHeaderAndTheClaimedBody) {
  HttpMessageReader endless;
  const std::string line = "X-Filler: " + std::string(1000, 'x') + "\r\n";
  State state = endless.Feed("HTTP/1.1 200 OK\r\n");
  for (int i = 0; i < 100 && state == State::kNeedMore; ++i) state = endless.Feed(line);
  EXPECT_EQ(state, State::kFailed);

  HttpMessageReader huge;
  EXPECT_EQ(huge.Feed("HTTP/1.1 200 OK\r\nContent-Length: 16777217\r\n\r\n"), State::kFailed);
  HttpMessageReader limit;
  EXPECT_EQ(limit.Feed("HTTP/1.1 200 OK\r\nContent-Length: 16777216\r\n\r\n"), State::kNeedMore);
}

TEST(HttpMessageTest, RejectsMalformedHeaders) {
  for (const char* text : {"garbage\r\n\r\n", "HTTP/1.1 200 OK\r\nno colon here\r\n\r\n",
                           "HTTP/1.1 200 OK\r\nContent-Length: -1\r\n\r\n",
                           "HTTP/1.1 200 OK\r\nContent-Length: 12x\r\n\r\n",
                           "HTTP/1.1 200 OK\r\nContent-Length: 99999999999999999999999\r\n\r\n",
                           "HTTP/1.1 200 OK\r\nContent-Length: 1\r\nContent-Length: 2\r\n\r\n"}) {
    HttpMessageReader reader;
    EXPECT_EQ(reader.Feed(text), State::kFailed) << text;
  }
}

TEST(PercentEncodeTest, KeepsUnreservedBytesAndEscapesTheRest) {
  EXPECT_EQ(PercentEncode("Az09-_.!~*'()"), "Az09-_.!~*'()");
  EXPECT_EQ(PercentEncode("a b/\xff"), "a%20b%2F%FF");
  EXPECT_EQ(PercentDecode(PercentEncode("Zebra \\\\srv\\Q&1")), "Zebra \\\\srv\\Q&1");
  EXPECT_EQ(PercentDecode("100%"), "100%");
}

}  // namespace
}  // namespace vantrel
