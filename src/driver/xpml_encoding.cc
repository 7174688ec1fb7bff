#include "driver/xpml_encoding.h"

#include <zlib.h>

#include <cstring>

namespace vantrel {

namespace {

constexpr size_t kContainerHeaderSize = 12;

void AppendLittleEndian32(uint32_t value, char* out) {
  for (int i = 0; i < 4; ++i) out[i] = static_cast<char>((value >> (8 * i)) & 0xFF);
}

// deflate in one go into `out`; the compressed size, or -1 when the stream
// did not end (zlib error or `out` too small).
long DeflateInto(std::string_view input, unsigned char* out, size_t out_size) {
  z_stream stream{};
  if (deflateInit2(&stream, 6, Z_DEFLATED, 15, 8, Z_DEFAULT_STRATEGY) != Z_OK) return -1;
  stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(input.data()));
  stream.avail_in = static_cast<uInt>(input.size());
  stream.next_out = out;
  stream.avail_out = static_cast<uInt>(out_size);
  int result = Z_OK;
  while (result == Z_OK) {
    // No flush while input remains, finish once it is all taken.
    result = deflate(&stream, stream.avail_in > 0 ? Z_NO_FLUSH : Z_FINISH);
    if (result == Z_OK && stream.avail_out == 0) break;
  }
  const long produced = result == Z_STREAM_END ? static_cast<long>(stream.total_out) : -1;
  deflateEnd(&stream);
  return produced;
}

}  // namespace

std::string XmlEscape(std::string_view text) {
  text = text.substr(0, text.find('\0'));
  std::string out;
  out.reserve(text.size());
  for (char c : text) {
    switch (c) {
      case '"':
        out += "&quot;";
        break;
      case '&':
        out += "&amp;";
        break;
      case '<':
        out += "&lt;";
        break;
      case '>':
        out += "&gt;";
        break;
      case '\0':
        out += "&#0;";
        break;
      default:
        out += c;
    }
  }
  return out;
}

bool Lz77Compress(std::string* buffer) {
  const size_t length = buffer->size();
  if (length > 0xFFFFFFFFu - 0x10000000u) return false;
  const size_t area = length + 24 + (length + 999) / 1000;
  std::string out(area, '\0');
  auto* body = reinterpret_cast<unsigned char*>(out.data()) + kContainerHeaderSize;
  const long compressed = DeflateInto(*buffer, body, area - kContainerHeaderSize);
  if (compressed < 0) return false;
  std::memcpy(out.data(), "ZLIB", 4);
  AppendLittleEndian32(static_cast<uint32_t>(length), out.data() + 4);
  AppendLittleEndian32(static_cast<uint32_t>(compressed), out.data() + 8);
  out.resize(kContainerHeaderSize + static_cast<size_t>(compressed));
  buffer->swap(out);
  return true;
}

bool Base64Encode(std::string* buffer) {
  static constexpr char kAlphabet[] =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  const auto* in = reinterpret_cast<const unsigned char*>(buffer->data());
  const size_t length = buffer->size();
  std::string out;
  out.reserve((length + 2) / 3 * 4);
  size_t i = 0;
  for (; i + 3 <= length; i += 3) {
    const uint32_t group = (in[i] << 16) | (in[i + 1] << 8) | in[i + 2];
    out += kAlphabet[group >> 18];
    out += kAlphabet[(group >> 12) & 63];
    out += kAlphabet[(group >> 6) & 63];
    out += kAlphabet[group & 63];
  }
  if (i < length) {
    const bool two = i + 1 < length;
    const uint32_t group = (in[i] << 16) | (two ? in[i + 1] << 8 : 0);
    out += kAlphabet[group >> 18];
    out += kAlphabet[(group >> 12) & 63];
    out += two ? kAlphabet[(group >> 6) & 63] : '=';
    out += '=';
  }
  buffer->swap(out);
  return true;
}

std::string BuildQueryRequest(const XpmlQuery& query) {
  std::string text = "<query id='" + query.query_id + "' name='Kesto Query'>";
  text += "<request id='1' name='Kesto Request'";
  if (query.send_timeout > 0) {
    text += " sendTimeout='" + std::to_string(query.send_timeout) + "'";
  }
  if (query.receive_start_timeout > 0) {
    text += " receiveStartTimeout='" + std::to_string(query.receive_start_timeout) + "'";
  }
  if (query.receive_interval_timeout > 0) {
    text += " receiveIntervalTimeout='" + std::to_string(query.receive_interval_timeout) + "'";
  }
  if (!query.response_pattern.empty()) {
    text += " responsePattern='" + XmlEscape(query.response_pattern) + "'";
  }
  if (query.write_only) text += " parameters='read=false'";
  text += ">";
  std::string data = query.data;
  Lz77Compress(&data);  // on failure the data goes out uncompressed
  Base64Encode(&data);
  text += "<encode in='base64;lz77'>" + data + "</encode>";
  text += "</request></query>";
  return text;
}

std::string BuildStatusRequest(std::string_view query_id) {
  return "<request query='" + std::string(query_id) + "' id='1' get='status' />";
}

std::string BuildResponseRequest(std::string_view query_id) {
  return "<request query='" + std::string(query_id) + "' id='1' get='response' />";
}

std::string BuildJobStateRequest(int32_t job_id) {
  return "<job id='" + std::to_string(job_id) +
         "' action='get' jobIdentity='true' jobStatus='true' />&#00;";
}

}  // namespace vantrel
