#include "sequence_server.h"

#include <chrono>
#include <string_view>
#include <vector>

namespace client_test {
namespace {

/// The target of the request line, its query decoded.
std::string TargetOf(const std::string& request) {
  const std::size_t begin = request.find(' ') + 1;
  const std::string target = request.substr(begin, request.find(' ', begin) - begin);
  std::string decoded;
  for (std::size_t i = 0; i < target.size(); ++i) {
    if (target[i] == '%' && i + 2 < target.size()) {
      decoded.push_back(static_cast<char>(std::stoi(target.substr(i + 1, 2), nullptr, 16)));
      i += 2;
    } else {
      decoded.push_back(target[i]);
    }
  }
  return decoded;
}

/// The symbols named in `["sh600000","sz000001"]`.
std::vector<std::string> SymbolsIn(std::string_view target) {
  std::vector<std::string> symbols;
  for (std::size_t at = target.find('"'); at != std::string_view::npos;) {
    const std::size_t end = target.find('"', at + 1);
    if (end == std::string_view::npos) {
      break;
    }
    symbols.emplace_back(target.substr(at + 1, end - at - 1));
    at = target.find('"', end + 1);
  }
  return symbols;
}

std::string Row(const std::string& code, std::uint64_t number) {
  const std::string text = std::to_string(number);
  return R"({"code":")" + code + R"(","name":")" + text + R"(","last":)" + text + "}";
}

// The answers whose form is not that of a list of quotes: what stands before and after the number.
struct Form {
  std::string_view path, before, after;
};
constexpr Form kForms[] = {
    {"/pc/rt/get_bk_rank", R"([{"cud":)", "}]"},
    {"/pc/rt/get_day_time", R"({"sh600000":{"date":"20240315","list":[{"min":931,"preclose":1,"last":)",
     "}]}}"},
    {"/pc/rt/get_day_kline",
     R"({"sh600000":{"date":"20240315","list":{"open":2,"high":4,"last":3,"low":1,"vol":)", "}}}"},
    {"/pc/monitor/get_monitor", R"({"list":[{"content":")", R"("}]})"},
    {"/pc/rt/stock_in_out", R"({"list":[{"sh600000":{"mtime":)", "}}]}"},
    {"/pc/rt/stock_min_num", R"({"list":[{"up":)", "}]}"},
    {"/pc/rt/stock_distribute_num", R"({"up":)", "}"},
    {"/pc/rt/stock_min_average", R"({"list":[{"time":)", "}]}"},
    {"/pc/rt/stock_trade", R"({"list":[{"sh":{"date":)", "}},{}]}"},
    {"/pc/rt/stock_buy", R"({"list":[{"pe":)", "}]}"},
};

std::string Body(const std::string& path, const std::string& target, std::uint64_t number) {
  const std::string head = R"({"errno":0,"total_num":1,"data":)";
  for (const Form& form : kForms) {
    if (form.path == path) {
      return head + std::string(form.before) + std::to_string(number) + std::string(form.after) + "}";
    }
  }
  std::string rows;
  std::vector<std::string> symbols = SymbolsIn(target);
  if (symbols.empty()) {
    symbols = {"sh600000"};
  }
  for (const std::string& symbol : symbols) {
    rows += (rows.empty() ? "" : ",") + Row(symbol, number);
  }
  const bool nested = path == "/pc/rt/stock_detail_list";
  return head + (nested ? R"({"list":[)" + rows + "]}" : "[" + rows + "]") + "}";
}

}  // namespace

std::uint64_t SequenceServer::Arrived(const std::string& path) const {
  const std::lock_guard lock(mutex_);
  const auto found = arrived_.find(path);
  return found == arrived_.end() ? 0 : found->second;
}

SequenceServer::Chance SequenceServer::Throw() {
  if (healed_) {
    return {0, false, 0};
  }
  const std::lock_guard lock(mutex_);
  Chance chance{0, false, 0};
  if (random_() % 2 == 0) {
    chance.milliseconds = static_cast<int>(random_() % 30);
  }
  chance.overtaken = random_() % 20 == 0;
  if (random_() % 10 == 0) {
    chance.fault = 1 + static_cast<int>(random_() % 5);
  }
  return chance;
}

// However slow the machine is, what milliseconds may not do there: the answer to a later request comes
// before. False when the server stops.
bool SequenceServer::AwaitLater(host_test::LoopbackServer::Connection& connection, const std::string& path,
                                std::uint64_t number) const {
  constexpr std::chrono::milliseconds kLook(5);
  constexpr std::chrono::seconds kLongest(1);
  const auto end = std::chrono::steady_clock::now() + kLongest;
  while (!healed_ && Arrived(path) < number + 2 && std::chrono::steady_clock::now() < end) {
    if (!connection.Pause(kLook)) {
      return false;
    }
  }
  return true;
}

void SequenceServer::Serve(host_test::LoopbackServer::Connection& connection) {
  for (;;) {
    const std::string request = connection.ReadRequest();
    if (request.empty()) {
      return;
    }
    const std::string target = TargetOf(request);
    const std::string path = target.substr(0, target.find('?'));
    std::uint64_t number = 0;
    {
      const std::lock_guard lock(mutex_);
      // One that is sent once more, because its connection broke, is the same request.
      const auto [place, is_new] = numbers_.try_emplace(target, 0);
      if (is_new) {
        place->second = ++arrived_[path];
      }
      number = place->second;
    }
    const Chance chance = Throw();
    if (chance.milliseconds > 0) {
      ++late_;
      if (!connection.Pause(std::chrono::milliseconds(chance.milliseconds))) {
        return;
      }
    }
    if (chance.overtaken) {
      ++late_;
      if (!AwaitLater(connection, path, number)) {
        return;
      }
    }
    if (chance.fault != 0) {
      ++broken_;
    }
    const std::string body = Body(path, target, number);
    bool goes_on = true;
    switch (chance.fault) {
      case 1:
        connection.Reset();
        return;
      case 2:
        goes_on = connection.Write("HTTP/1.1 500 Error\r\nContent-Length: 0\r\n\r\n");
        break;
      case 3:
        goes_on = connection.Answer(R"({"errno":1001,"data":[]})");
        break;
      case 4:
        goes_on = connection.Answer("<html></html>");
        break;
      case 5:
        goes_on = connection.Answer(body.substr(0, body.size() / 2));
        break;
      default:
        goes_on = connection.Answer(body);
    }
    if (!goes_on) {
      return;
    }
  }
}

}  // namespace client_test
