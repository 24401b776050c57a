#include "market_server/http/message.h"

#include <algorithm>
#include <boost/algorithm/string/classification.hpp>
#include <boost/algorithm/string/predicate.hpp>
#include <boost/algorithm/string/trim.hpp>
#include <charconv>
#include <locale>

namespace market_server::http {
namespace {

constexpr std::string_view kLineEnd = "\r\n";

/// Takes the text up to `mark` off the front, and the mark with it; all of it when there is no mark.
std::string_view Take(std::string_view& text, std::string_view mark) {
  const std::size_t end = text.find(mark);
  const std::string_view part = text.substr(0, end);
  text = end == std::string_view::npos ? std::string_view{} : text.substr(end + mark.size());
  return part;
}

bool TokenCharacter(char c) {
  return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') ||
         (c != '\0' && std::string_view("!#$%&'*+-.^_`|~").find(c) != std::string_view::npos);
}

bool IsToken(std::string_view text) {
  return !text.empty() && std::all_of(text.begin(), text.end(), TokenCharacter);
}

bool Same(std::string_view text, std::string_view other) {
  return boost::algorithm::iequals(text, other, std::locale::classic());
}

std::string_view Trim(std::string_view text) {
  return boost::algorithm::trim_copy_if(text, boost::algorithm::is_any_of(" \t"));
}

/// "GET /path HTTP/1.1"
bool ReadRequestLine(std::string_view line, Request& request) {
  request.method = Take(line, " ");
  request.target = Take(line, " ");
  request.keep_alive = line == "HTTP/1.1";
  const bool printable = std::all_of(request.target.begin(), request.target.end(), [](char c) {
    return static_cast<unsigned char>(c) > 0x20 && c != 0x7f;
  });
  return IsToken(request.method) && !request.target.empty() && printable &&
         (request.keep_alive || line == "HTTP/1.0");
}

/// What the fields so far have said already.
struct Said {
  bool host = false;
  bool length = false;
  bool close = false;
};

/// Takes in what matters of one field; the status of a refusal, or 0.
unsigned ReadField(std::string_view name, std::string_view value, Head& head, Said& said) {
  constexpr unsigned kBad = 400;
  constexpr unsigned kLengthRequired = 411;
  if (Same(name, "host")) {
    if (std::exchange(said.host, true)) return kBad;
    head.request.host = value;
  } else if (Same(name, "origin")) {
    head.request.origin = value;
  } else if (Same(name, "content-length")) {
    const auto [end, error] = std::from_chars(value.data(), value.data() + value.size(), head.body_bytes);
    const bool whole = !value.empty() && error == std::errc{} && end == value.data() + value.size();
    if (!whole || std::exchange(said.length, true)) return kBad;
  } else if (Same(name, "transfer-encoding")) {
    return kLengthRequired;
  } else if (Same(name, "expect")) {
    head.awaits_consent = Same(value, "100-continue");
  } else if (Same(name, "connection")) {
    while (!value.empty()) {
      const std::string_view option = Trim(Take(value, ","));
      said.close = said.close || Same(option, "close");
      head.request.keep_alive = !said.close && (head.request.keep_alive || Same(option, "keep-alive"));
    }
  }
  return 0;
}

int HexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

}  // namespace

bool CanBeginHead(std::string_view text) {
  return text.empty() || TokenCharacter(text.front());
}

Head ReadHead(std::string_view text) {
  Head head;
  Said said;
  if (!ReadRequestLine(Take(text, kLineEnd), head.request)) head.refusal = 400;
  for (std::string_view line = Take(text, kLineEnd); head.refusal == 0 && !line.empty();
       line = Take(text, kLineEnd)) {
    const bool named = line.find(':') != std::string_view::npos;
    const std::string_view name = Take(line, ":");
    const std::string_view value = Trim(line);
    const bool plain = std::all_of(value.begin(), value.end(), [](char c) {
      return (static_cast<unsigned char>(c) >= 0x20 && c != 0x7f) || c == '\t';
    });
    head.refusal = named && plain && IsToken(name) ? ReadField(name, value, head, said) : 400;
  }
  return head;
}

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

}  // namespace market_server::http
