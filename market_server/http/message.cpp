#include "http/message.h"

namespace market_server::http {
namespace {

int HexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

}  // namespace

bool DecodePercent(std::string_view text, std::string& decoded) {
  decoded.clear();
  decoded.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '%') {
      decoded.push_back(text[i]);
      continue;
    }
    if (i + 2 >= text.size()) return false;
    const int high = HexDigit(text[i + 1]);
    const int low = HexDigit(text[i + 2]);
    if (high < 0 || low < 0) return false;
    decoded.push_back(static_cast<char>(high * 16 + low));
    i += 2;
  }
  return true;
}

std::string EncodePercent(std::string_view text) {
  static constexpr char kDigits[] = "0123456789ABCDEF";
  std::string encoded;
  encoded.reserve(text.size() * 3);
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    const bool plain = (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') ||
                       c == '-' || c == '.' || c == '_' || c == '~';
    if (plain) {
      encoded.push_back(c);
    } else {
      encoded.push_back('%');
      encoded.push_back(kDigits[byte >> 4]);
      encoded.push_back(kDigits[byte & 15]);
    }
  }
  return encoded;
}

void ReadTarget(Request& request) {
  std::string_view target = request.target;
  const std::size_t mark = target.find('?');
  std::string_view query = mark == std::string_view::npos ? std::string_view{} : target.substr(mark + 1);
  request.query = query;
  request.parameters.clear();
  request.well_formed = DecodePercent(target.substr(0, mark), request.path);
  while (!query.empty()) {
    const std::size_t end = query.find('&');
    const std::string_view part = query.substr(0, end);
    query = end == std::string_view::npos ? std::string_view{} : query.substr(end + 1);
    if (part.empty()) continue;
    const std::size_t equals = part.find('=');
    std::pair<std::string, std::string> parameter;
    const bool name_ok = DecodePercent(part.substr(0, equals), parameter.first);
    const bool value_ok =
        equals == std::string_view::npos || DecodePercent(part.substr(equals + 1), parameter.second);
    request.well_formed = request.well_formed && name_ok && value_ok;
    request.parameters.push_back(std::move(parameter));
  }
}

const std::string* Find(const Parameters& parameters, std::string_view name) {
  for (const auto& [key, value] : parameters) {
    if (key == name) return &value;
  }
  return nullptr;
}

}  // namespace market_server::http
