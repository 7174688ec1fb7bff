#include "platform/tcp_socket.h"

namespace vantrel::platform {

std::string SocketErrorText(long error) {
  const char* text = "Socket error";
  switch (error) {
    case kWsaTimedOut:
      text = "Connection timed out";
      break;
    case kWsaConnectionRefused:
      text = "Connection refused";
      break;
    case kWsaConnectionReset:
      text = "Connection reset by peer";
      break;
    case kWsaHostNotFound:
      text = "Host not found";
      break;
    case kWsaNotConnected:
      text = "Socket is not connected";
      break;
    case kWsaHostUnreachable:
      text = "No route to host";
      break;
    case kWsaNetworkUnreachable:
      text = "Network is unreachable";
      break;
    case kWsaAddressInUse:
      text = "Address already in use";
      break;
    case kWsaConnectionAborted:
      text = "Connection aborted";
      break;
    default:
      break;
  }
  return std::string(text) + " (" + std::to_string(error) + ")";
}

}  // namespace vantrel::platform
