// Named misbehaviours: the table, the rules in force, and the answer that they change on its way out. A rule
// says which fault, on which paths, how often and with what argument:
// `name[:endpoint[:probability[:arguments]]]`. FaultRules is thread-safe; the rest are values.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "market_server/answer.h"
#include "market_server/http/listener.h"
#include "market_server/http/message.h"
#include "market_server/market_server.h"

namespace market_server {

/// One answer on its way from the endpoint to the wire.
struct Exchange {
  http::Request request;
  double instant = 0;      ///< server time for which it is answered
  double data_offset = 0;  ///< added for the figures alone
  double date_offset = 0;  ///< added to the Date header alone
  Answer answer;
  // The head, made from the answer.
  std::string status_line{};
  std::vector<std::pair<std::string, std::string>> fields{};
  // The wire, made from head and answer.body.
  std::string head{};
  http::Delivery delivery{};          ///< no steps: head and body, one after the other
  std::chrono::milliseconds delay{};  ///< before the first step
  std::string faults{};               ///< names of those that had a hand in it
};

/// When a fault acts.
enum class FaultPhase { kConnect, kRequest, kBody, kHead, kWire };

/// What a fault is told when it acts.
struct FaultCall {
  std::string_view argument;  ///< of the rule, or the default of the table
  double number = 0;          ///< the argument as a number, 0 when it is none
  std::uint64_t random = 0;   ///< equal for equal seed, rule and ordinal
  std::uint64_t ordinal = 0;  ///< how often the rule met its paths before
};

struct FaultEntry {
  std::string_view name;
  std::string_view stage;
  FaultPhase phase;
  enum class Argument { kNone, kNumber, kText } argument;
  std::string_view fallback;  ///< argument when none is given
  std::string_view argument_help;
  std::string_view summary;
  void (*act)(Exchange&, const FaultCall&);  ///< null for those of kConnect
};

[[nodiscard]] const std::vector<FaultEntry>& FaultTable();

/// The rules in force.
class FaultRules {
 public:
  explicit FaultRules(std::uint64_t seed) : seed_(seed) {}

  /// Replaces the rules; throws std::runtime_error and changes nothing when one makes no sense.
  void Set(const std::vector<std::string>& texts);
  [[nodiscard]] std::vector<std::string> Texts() const;

  /// Whether the listening socket is to refuse everybody.
  [[nodiscard]] bool refusing() const;
  /// What becomes of a connection that is being accepted.
  [[nodiscard]] http::Welcome OnConnect() const;

  /// The rules that hit one request, decided once for it and applied phase by phase.
  class Hits {
   public:
    void Apply(FaultPhase phase, Exchange& exchange) const;
    [[nodiscard]] bool empty() const { return hits_.empty(); }

   private:
    friend class FaultRules;
    struct Hit {
      const FaultEntry* entry = nullptr;
      std::string argument{};
      FaultCall call{};
    };
    std::vector<Hit> hits_;
  };
  [[nodiscard]] Hits Choose(std::string_view path) const;

 private:
  struct Rule {
    std::string text;
    const FaultEntry* entry = nullptr;
    std::string paths;  // a pattern with "*"
    double probability = 1;
    std::string argument;
    std::uint64_t salt = 0;
    mutable std::atomic<std::uint64_t> met{0};
  };
  using Rules = std::vector<std::unique_ptr<const Rule>>;

  [[nodiscard]] std::shared_ptr<const Rules> Current() const;

  const std::uint64_t seed_;
  mutable std::mutex mutex_;  ///< guards rules_, the pointer
  std::shared_ptr<const Rules> rules_ = std::make_shared<const Rules>();
};

/// Whether `text` matches `pattern`, in which "*" stands for any text.
[[nodiscard]] bool MatchesPattern(std::string_view pattern, std::string_view text);

/// Makes status line and fields of the answer; `speed` is that of the server's clock.
void MakeHead(Exchange& exchange, double speed);
/// Makes the text of the head from status line and fields.
void RenderHead(Exchange& exchange);
/// The steps by which the exchange travels. Takes head and body out of it.
[[nodiscard]] http::Delivery MakeDelivery(Exchange& exchange);

}  // namespace market_server
