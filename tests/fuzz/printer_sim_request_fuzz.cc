// Feeds arbitrary bytes to the simulated printer's request reading and
// answers, as a connection would deliver them: the first byte picks the
// service (XPML or control) and where the bytes are split. Every request
// must end complete or failed, and every answer must render without reading
// out of bounds or growing past the reader's limits.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "printer-sim/sim_answer.h"
#include "printer-sim/sim_control.h"
#include "printer-sim/sim_request_reader.h"
#include "printer-sim/sim_xpml.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using vantrel::sim::RequestReader;
  if (size == 0) return 0;
  const bool control = (data[0] & 0x80) != 0;
  std::string_view bytes(reinterpret_cast<const char*>(data) + 1, size - 1);
  const size_t split = std::min<size_t>(data[0] & 0x7F, bytes.size());
  vantrel::sim::SimState state;
  // A query rule with pending polls so that status requests walk the lifecycle.
  state.query_rules.push_back({"Q", 2, "answer", 1});
  RequestReader reader;
  reader.Feed(bytes.substr(0, split));
  reader.Feed(bytes.substr(split));
  // The bytes of one connection may hold several requests.
  for (int round = 0; round < 8 && reader.state() == RequestReader::State::kComplete; ++round) {
    if (reader.request().body.size() > vantrel::kHttpMaxBodyBytes) std::abort();
    const vantrel::sim::SimReply reply = control
                                             ? vantrel::sim::HandleControl(&state, reader.request())
                                             : vantrel::sim::AnswerXpml(&state, reader.request());
    const std::string rendered = vantrel::sim::RenderReply(reply);
    if (rendered.size() > vantrel::kHttpMaxBodyBytes + 2 * vantrel::kHttpMaxHeaderBytes) {
      std::abort();
    }
    reader.Next();
  }
  reader.Finish();
  // The XPML text alone, as a request body would carry it.
  vantrel::sim::ParseXpml(bytes);
  return 0;
}
