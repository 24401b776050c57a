#include "market_server/service.h"

#include <exception>
#include <utility>

#include "market_server/endpoints/history.h"
#include "market_server/routes.h"

namespace market_server {
namespace {

constexpr std::string_view kApiRoot = "/pc/";

}  // namespace

Service::Service(const model::Market& market, const ServerClock& clock, const FaultRules& faults,
                 Signatures* signatures, const AccessLog& log, ServiceCounters& counters)
    : market_(market),
      clock_(clock),
      rules_(faults),
      signatures_(signatures),
      log_(log),
      counters_(counters),
      packages_(market) {}

http::Welcome Service::OnConnect() {
  const http::Welcome welcome = rules_.OnConnect();
  if (welcome != http::Welcome::kServe) ++counters_.faults;
  return welcome;
}

bool Service::TakesLong(const http::Request& request) const {
  if (request.path.starts_with(endpoints::kStaticRoot) || request.path == endpoints::kHistoryPath)
    return true;
  const Route* route = FindRoute(request.path);
  return route != nullptr && route->cost == Cost::kDays;
}

http::Delivery Service::Handle(const http::Request& request) {
  if (rules_.refusing()) {
    ++counters_.faults;
    return {{{http::Step::Kind::kClose, {}, 1, {}}}, false};
  }
  const auto began = std::chrono::steady_clock::now();
  Exchange exchange;
  exchange.request = request;
  exchange.instant = clock_.Now();
  const FaultRules::Hits hits = rules_.Choose(request.path);
  hits.Apply(FaultPhase::kRequest, exchange);
  try {
    exchange.answer = MakeAnswer(exchange);
  } catch (const model::Ceased&) {
    throw;  // the server ends: the connection does, too, without an answer
  } catch (const ApiError& error) {
    exchange.answer = MakeError(error.error(), error.what());
  } catch (const std::exception&) {
    exchange.answer = MakeError(Error::kInternal);
  }
  if (exchange.answer.error != Error::kNone || exchange.answer.status != 200) ++counters_.errors;
  hits.Apply(FaultPhase::kBody, exchange);
  MakeHead(exchange, clock_.speed());
  hits.Apply(FaultPhase::kHead, exchange);
  RenderHead(exchange);
  hits.Apply(FaultPhase::kWire, exchange);
  if (!hits.empty()) ++counters_.faults;
  const std::size_t bytes = exchange.answer.body.size();
  http::Delivery delivery = MakeDelivery(exchange);
  log_.Write(exchange, bytes,
             std::chrono::duration_cast<std::chrono::microseconds>(std::chrono::steady_clock::now() - began));
  return delivery;
}

http::Delivery Service::Refuse(unsigned status, const std::string& peer) {
  Exchange exchange;
  exchange.instant = clock_.Now();
  exchange.request.method = "-";
  exchange.request.target = "-";
  exchange.request.peer = peer;
  exchange.request.keep_alive = false;
  exchange.answer.status = status;
  exchange.answer.content_type = "text/plain; charset=utf-8";
  ++counters_.errors;
  MakeHead(exchange, clock_.speed());
  RenderHead(exchange);
  http::Delivery delivery = MakeDelivery(exchange);
  log_.Write(exchange, 0, {});
  return delivery;
}

Answer Service::MakeAnswer(const Exchange& exchange) {
  const http::Request& request = exchange.request;
  const model::Instant instant = exchange.instant + exchange.data_offset;
  if (request.method != "GET") {
    Answer answer = MakeError(Error::kMethod);
    answer.status = 405;
    return answer;
  }
  if (!request.well_formed) return MakeError(Error::kMalformedQuery);
  const model::Instant figures = market_.FeedTime(instant);
  if (request.path.starts_with(endpoints::kStaticRoot)) return packages_.Serve(request.path, instant);
  if (request.path == endpoints::kHistoryPath) {
    return endpoints::AnswerHistory(request.parameters, market_, figures);
  }
  const Route* route = FindRoute(request.path);
  if (route == nullptr) return MakeError(Error::kUnknownPath);
  if (signatures_ != nullptr && request.path.starts_with(kApiRoot)) {
    const Error error = signatures_->Check(request, exchange.instant);
    if (error != Error::kNone) return MakeError(error);
  }
  return AnswerRoute(*route, request.parameters, market_, figures);
}

}  // namespace market_server
