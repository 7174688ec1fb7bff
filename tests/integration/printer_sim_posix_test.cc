// The simulated printer's request reading and answers, checked against the
// library's own request builders and reply reader: what the simulator parses
// is what the library sends, and what it answers is what the library reads.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "driver/xpml_encoding.h"
#include "printer-sim/sim_answer.h"
#include "printer-sim/sim_control.h"
#include "printer-sim/sim_request_reader.h"
#include "printer-sim/sim_xpml.h"
#include "support/http_message.h"

namespace vantrel::sim {
namespace {

HttpMessage XpmlPost(std::string_view body,
                     std::string target = "/xpml?persist=1&transactid=42&share=0&printer=P") {
  HttpMessage request;
  request.start[0] = "POST";
  request.start[1] = std::move(target);
  request.start[2] = "HTTP/1.1";
  request.body = body;
  return request;
}

std::string Ask(SimState* state, std::string_view body) {
  const SimReply reply = AnswerXpml(state, XpmlPost(body));
  EXPECT_EQ(reply.status, 200) << reply.body;
  return reply.body;
}

SimReply Control(SimState* state, const std::string& method, const std::string& target,
                 const std::string& body = "") {
  HttpMessage request;
  request.start[0] = method;
  request.start[1] = target;
  request.body = body;
  return HandleControl(state, request);
}

// Reads rendered reply bytes the way the library's client does.
HttpMessageReader::State ClientReads(const std::string& bytes) {
  HttpMessageReader reader;
  reader.Feed(bytes);
  return reader.Finish();
}

TEST(PrinterSimXpmlTest, QueryRequestsOfTheLibraryDecodeToTheirData) {
  std::string binary;
  for (int i = 0; i < 3000; ++i) binary += static_cast<char>(i * 7);
  for (const std::string& data : {std::string(), std::string("~HS\r\n"), binary}) {
    XpmlQuery query;
    query.query_id = "port1-17";
    query.send_timeout = 500;
    query.response_pattern = "<&\">";
    query.data = data;
    const XpmlRequest parsed = ParseXpml(BuildQueryRequest(query));
    ASSERT_EQ(parsed.kind, XpmlKind::kQuery) << parsed.error;
    EXPECT_EQ(parsed.name, "port1-17");
    EXPECT_EQ(parsed.response_pattern, "<&\">");
    EXPECT_FALSE(parsed.write_only);
    EXPECT_EQ(parsed.data, data);
  }
  XpmlQuery immediate;
  immediate.query_id = "x";
  immediate.write_only = true;
  immediate.data = "^XA^XZ";
  const XpmlRequest parsed = ParseXpml(BuildQueryRequest(immediate));
  EXPECT_TRUE(parsed.write_only);
  EXPECT_EQ(parsed.data, "^XA^XZ");
}

TEST(PrinterSimXpmlTest, ToleratesWhatSendersAreKnownToSend) {
  // An apostrophe in the pattern ends the attribute early; the rest of the
  // tag must not lose the data.
  XpmlQuery query;
  query.query_id = "q";
  query.response_pattern = "it's";
  query.data = "data";
  XpmlRequest parsed = ParseXpml(BuildQueryRequest(query));
  ASSERT_EQ(parsed.kind, XpmlKind::kQuery) << parsed.error;
  EXPECT_EQ(parsed.response_pattern, "it");
  EXPECT_EQ(parsed.data, "data");
  // Data that could not be compressed goes out base64 only under the same label.
  parsed = ParseXpml(
      "<query id='q' name='Kesto Query'><request id='1' name='Kesto Request'>"
      "<encode in='base64;lz77'>aGVsbG8=</encode></request></query>");
  EXPECT_EQ(parsed.data, "hello");
  // A trailing zero byte after the terminator.
  parsed = ParseXpml(std::string(kStateRequestSeverity) + std::string(1, '\0'));
  EXPECT_EQ(parsed.state_names,
            (std::vector<std::string>{"Monitoring Supported", "Status Severity"}));
  EXPECT_EQ(ParseXpml(BuildJobStateRequest(-3)).number, -3);
  EXPECT_EQ(ParseXpml(kPortStateRequest).name, "bidirectional");
}

TEST(PrinterSimXpmlTest, RefusesMalformedTextsWithAReason) {
  for (const char* text :
       {"", "plain words", "<job id='12x' />", "<job id='1' /><job id='2' />",
        "<state name='Status' action='set' />", "<state name='Status' />;<port name='x' />",
        "<request query='q' get='everything' />", "<action code='' />",
        "<query id='q'><request id='1'><encode in='base64'>!!</encode></request></query>",
        "<query id='q'><request id='1'><encode in='rot13'>abc</encode></request></query>",
        "<query id='q'><request id='1'><encode in='base64'>YWJj", "<job id='1"}) {
    const XpmlRequest parsed = ParseXpml(text);
    EXPECT_EQ(parsed.kind, XpmlKind::kUnknown) << text;
    EXPECT_FALSE(parsed.error.empty()) << text;
    EXPECT_EQ(parsed.error.find('\n'), std::string::npos);
  }
}

TEST(PrinterSimXpmlTest, ContainerAndBase64RejectInconsistentInput) {
  std::string container = "some bytes to pack";
  ASSERT_TRUE(Lz77Compress(&container));
  std::string out;
  ASSERT_TRUE(DecodeContainer(container, &out));
  EXPECT_EQ(out, "some bytes to pack");
  std::string longer = container + "x";  // the compressed length no longer matches
  EXPECT_FALSE(DecodeContainer(longer, &out));
  std::string lying = container;
  lying[4] = static_cast<char>(lying[4] + 1);  // claims one byte more than it holds
  EXPECT_FALSE(DecodeContainer(lying, &out));
  std::string huge = container;
  huge[7] = '\x7f';  // claims about 2 GiB: refused before any allocation
  EXPECT_FALSE(DecodeContainer(huge, &out));
  EXPECT_FALSE(DecodeBase64("AAA", &out));
  EXPECT_FALSE(DecodeBase64("A===", &out));
  EXPECT_FALSE(DecodeBase64("AA=A", &out));
  EXPECT_FALSE(DecodeBase64("AA==AA==", &out));
  ASSERT_TRUE(DecodeBase64("AAAA\r\nAA==", &out));  // line breaks are skipped
  EXPECT_EQ(out, std::string(4, '\0'));
}

TEST(PrinterSimRequestReaderTest, ReadsTheClientsRequestAcrossAnySplit) {
  const std::string wire = FormatHttpRequest("POST", "/xpml?persist=1", {}, "<job id='1' />");
  for (size_t split = 0; split <= wire.size(); ++split) {
    RequestReader reader;
    reader.Feed(std::string_view(wire).substr(0, split));
    ASSERT_EQ(reader.Feed(std::string_view(wire).substr(split)), RequestReader::State::kComplete);
    EXPECT_EQ(reader.request().body, "<job id='1' />");
  }
}

TEST(PrinterSimRequestReaderTest, KeepsRequestsOfOneConnectionApart) {
  RequestReader reader;
  // A GET without a length has no body; the next request follows at once.
  const std::string wire = "GET /state HTTP/1.1\r\nHost: x\r\n\r\n" +
                           FormatHttpRequest("POST", "/faults", {}, "{}") + "GET /jo";
  ASSERT_EQ(reader.Feed(wire), RequestReader::State::kComplete);
  EXPECT_EQ(reader.request().start[1], "/state");
  EXPECT_EQ(reader.request().body, "");
  ASSERT_EQ(reader.Next(), RequestReader::State::kComplete);
  EXPECT_EQ(reader.request().start[1], "/faults");
  EXPECT_EQ(reader.request().body, "{}");
  EXPECT_EQ(reader.Next(), RequestReader::State::kNeedMore);
  EXPECT_EQ(reader.Feed("bs HTTP/1.1\r\n\r\n"), RequestReader::State::kComplete);
  EXPECT_EQ(reader.request().start[1], "/jobs");
}

TEST(PrinterSimRequestReaderTest, FailsUnboundedOrUnfinishedRequests) {
  RequestReader endless;
  endless.Feed("POST /xpml HTTP/1.1\r\n");
  const std::string field = "X: " + std::string(1000, 'y') + "\r\n";
  for (int i = 0; i < 70 && endless.state() == RequestReader::State::kNeedMore; ++i) {
    endless.Feed(field);
  }
  EXPECT_EQ(endless.state(), RequestReader::State::kFailed);

  RequestReader huge;
  EXPECT_EQ(huge.Feed("POST /xpml HTTP/1.1\r\nContent-Length: 999999999\r\n\r\n"),
            RequestReader::State::kFailed);
  RequestReader cut;
  cut.Feed("POST /xpml HTTP/1.1\r\nContent-Length: 10\r\n\r\nabc");
  EXPECT_EQ(cut.Finish(), RequestReader::State::kFailed);
}

TEST(PrinterSimAnswerTest, StateRepliesReadBackAsTheLibraryReadsThem) {
  SimState state;
  state.status_flags = 0x124;
  state.severity = 3;
  state.status_text = "Head Open";
  EXPECT_EQ(Ask(&state, kStateRequestStatusFlags2), "1;292;3");
  EXPECT_EQ(Ask(&state, kStateRequestSeverity), "1;3");
  EXPECT_EQ(Ask(&state, kStateRequestStatus), "1;Head Open;3");
  state.monitoring = false;
  EXPECT_EQ(Ask(&state, kStateRequestSeverity).substr(0, 1), "0");
  state.disconnected = true;
  EXPECT_EQ(Ask(&state, "<port action='get' name='disconnected' />;"), "1");
  EXPECT_EQ(Ask(&state, kPortStateRequest), "1");
  state.bidirectional = false;
  EXPECT_EQ(Ask(&state, kPortStateRequest), "0");
}

TEST(PrinterSimAnswerTest, JobAnswersCarryTheVerificationAttributes) {
  SimState state;
  state.job_answers[9] = {"failed", 4};
  const std::string failed = Ask(&state, BuildJobStateRequest(9));
  EXPECT_NE(failed.find("status=\"failed\""), std::string::npos) << failed;
  EXPECT_NE(failed.find("warningCount=\"4\""), std::string::npos) << failed;
  EXPECT_NE(Ask(&state, BuildJobStateRequest(10)).find("status=\"completed\""), std::string::npos);
}

TEST(PrinterSimAnswerTest, QueryGoesThroughItsLifecycle) {
  SimState state;
  state.query_rules.push_back({"~HQES", 2, "PRINTER STATUS", 2});
  state.query_rules.push_back({"fail-me", 3, "never sent", 0});
  XpmlQuery query;
  query.query_id = "a1";
  query.data = "~HQES\r\n";
  EXPECT_EQ(Ask(&state, BuildQueryRequest(query)), "0");
  EXPECT_EQ(Ask(&state, BuildResponseRequest("a1")), "");  // not answered yet
  EXPECT_EQ(Ask(&state, BuildStatusRequest("a1")), "0");
  EXPECT_EQ(Ask(&state, BuildStatusRequest("a1")), "1");
  EXPECT_EQ(Ask(&state, BuildStatusRequest("a1")), "2");
  EXPECT_EQ(Ask(&state, BuildStatusRequest("a1")), "2");
  EXPECT_EQ(Ask(&state, BuildResponseRequest("a1")), "PRINTER STATUS");

  query.query_id = "a2";
  query.data = "other";
  query.response_pattern = "fail-me";  // chosen by the pattern, not the data
  Ask(&state, BuildQueryRequest(query));
  EXPECT_EQ(Ask(&state, BuildStatusRequest("a2")), "3");
  EXPECT_EQ(Ask(&state, BuildResponseRequest("a2")), "");

  query.query_id = "a3";
  query.response_pattern = "";
  Ask(&state, BuildQueryRequest(query));
  EXPECT_EQ(Ask(&state, BuildStatusRequest("a3")), "2");  // the default rule
  EXPECT_EQ(Ask(&state, BuildStatusRequest("nobody")), "5");
  ASSERT_EQ(state.queries.size(), 3u);
  EXPECT_EQ(state.queries[1].data, "other");
}

TEST(PrinterSimAnswerTest, EnvelopeEchoesTheTransactionAndRecordsActions) {
  SimState state;
  SimReply reply = AnswerXpml(&state, XpmlPost("<action code='7' />"));
  HttpMessageReader reader;
  ASSERT_EQ(reader.Feed(RenderReply(reply)), HttpMessageReader::State::kComplete);
  EXPECT_EQ(reader.message().start[1], "200");
  EXPECT_EQ(reader.message().Field("TID"), "42");
  EXPECT_FALSE(ClosesAfter(reply));
  ASSERT_EQ(state.actions.size(), 1u);
  EXPECT_EQ(state.actions[0].code, 7);
  EXPECT_EQ(state.actions[0].printer, "P");

  reply = AnswerXpml(&state, XpmlPost("<nonsense />", "/xpml?transactid=3&printer=My%20P"));
  EXPECT_EQ(reply.status, 400);
  EXPECT_EQ(reply.body.find('\n'), std::string::npos);
  EXPECT_TRUE(ClosesAfter(reply));  // no persist=1
  EXPECT_EQ(AnswerXpml(&state, XpmlPost("", "/other")).status, 404);
  HttpMessage get = XpmlPost("");
  get.start[0] = "GET";
  EXPECT_EQ(AnswerXpml(&state, get).status, 405);
}

TEST(PrinterSimAnswerTest, EveryMalformedFaultDefeatsTheLibrarysReader) {
  SimState state;
  for (const char* kind : {"drop", "bad_status_line", "short_body", "endless_header"}) {
    ASSERT_EQ(
        Control(&state, "POST", "/faults", std::string("{\"kind\":\"") + kind + "\",\"count\":1}")
            .status,
        200);
    const SimReply faulty = AnswerXpml(&state, XpmlPost(kPortStateRequest));
    EXPECT_TRUE(ClosesAfter(faulty)) << kind;
    EXPECT_EQ(ClientReads(RenderReply(faulty)), HttpMessageReader::State::kFailed) << kind;
    // The fault was used up: the next reply is sound.
    const SimReply sound = AnswerXpml(&state, XpmlPost(kPortStateRequest));
    EXPECT_EQ(ClientReads(RenderReply(sound)), HttpMessageReader::State::kComplete) << kind;
  }
  Control(&state, "POST", "/faults", R"({"delay_ms": 250})");
  for (int i = 0; i < 2; ++i) {
    const SimReply slow = AnswerXpml(&state, XpmlPost(kPortStateRequest));
    EXPECT_EQ(slow.fault.delay_ms, 250u);
    EXPECT_FALSE(ClosesAfter(slow));  // a slow reply is still a sound one
  }
}

TEST(PrinterSimControlTest, UpdatesArePartialAndAllOrNothing) {
  SimState state;
  SimReply reply = Control(&state, "POST", "/state",
                           R"({"severity": 2, "job_answers": {"5": {"warningCount": 1}}})");
  ASSERT_EQ(reply.status, 200) << reply.body;
  EXPECT_EQ(state.severity, 2);
  EXPECT_EQ(state.status_text, "Ready");
  EXPECT_EQ(state.job_answers[5].status, "completed");  // the rest from the default
  EXPECT_EQ(state.job_answers[5].warning_count, 1);

  for (const char* refused :
       {R"({"status_flags": 7, "severity": "high"})", R"({"status_flags": 7, "jobs": 3})",
        R"({"status_flags": 7, "job_answers": {"x": {}}})", "{not json",
        R"({"status_flags": 7, "query_rules": [{"pattern": "a", "colour": 1}]})"}) {
    reply = Control(&state, "POST", "/state", refused);
    EXPECT_EQ(reply.status, 400) << refused;
    EXPECT_EQ(state.status_flags, 0u) << refused;
  }
  Control(&state, "POST", "/state", R"({"job_answers": {"5": null}})");
  EXPECT_TRUE(state.job_answers.empty());
  EXPECT_EQ(Control(&state, "POST", "/faults", R"({"kind": "sideways"})").status, 400);
  EXPECT_EQ(Control(&state, "GET", "/nothing").status, 404);
  state.jobs.push_back("abc");
  EXPECT_NE(Control(&state, "GET", "/jobs?data=1").body.find("\"YWJj\""), std::string::npos);
  Control(&state, "POST", "/reset");
  EXPECT_TRUE(state.jobs.empty());
  EXPECT_EQ(state.severity, 1);
}

}  // namespace
}  // namespace vantrel::sim
