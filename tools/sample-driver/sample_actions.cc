#include "sample_actions.h"

#include "platform/clock.h"
#include "platform/process.h"
#include "platform/tcp_socket.h"
#include "sample_settings.h"
#include "support/http_message.h"
#include "support/registry.h"

namespace vantrel::sample {

namespace {

constexpr uint32_t kTimeoutMs = 2000;

bool Exchange(uint16_t port, const std::string& request) {
  platform::SocketHandle socket = platform::kInvalidSocket;
  if (platform::ConnectSocket("127.0.0.1", port, kTimeoutMs, &socket) != 0) return false;
  HttpMessageReader reader;
  long error = platform::SendAll(socket, request, kTimeoutMs);
  char buffer[4096];
  while (error == 0 && reader.state() == HttpMessageReader::State::kNeedMore) {
    size_t received = 0;
    error = platform::ReceiveSome(socket, buffer, sizeof(buffer), kTimeoutMs, &received);
    if (error == 0 && received == 0) reader.Finish();
    if (error == 0 && received > 0) reader.Feed(std::string_view(buffer, received));
    if (received == 0) break;
  }
  platform::CloseSocket(socket);
  return reader.state() == HttpMessageReader::State::kComplete &&
         reader.message().start[1] == "200";
}

}  // namespace

bool CarryAction(const std::string& printer, uint32_t action) {
  if (action == kHoldAction) {
    PrinterRegistry(printer).WriteDword("SETTINGS:Host Process",
                                        static_cast<uint32_t>(platform::CurrentProcessId()));
    platform::SleepMilliseconds(60000);
    return true;
  }
  if (action == kEchoAction) return true;
  const std::optional<uint32_t> port = PrinterRegistry(printer).ReadDword("DATA:XPML Server Port");
  if (!port || *port == 0 || *port > 0xFFFF) return false;
  const std::string body = "<action code='" + std::to_string(action) + "' />";
  const std::string target = "/xpml?persist=0&printer=" + PercentEncode(printer);
  return Exchange(static_cast<uint16_t>(*port), FormatHttpRequest("POST", target, {}, body));
}

uint64_t ActionFlags(const std::string& printer, uint32_t action) {
  const uint64_t builtin = action >= 3 && action <= 30 ? 1 : 0;
  return ReadNumber(printer, "Action Flags/" + std::to_string(action), builtin);
}

}  // namespace vantrel::sample
