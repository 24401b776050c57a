#include "cli/commands/state.h"

#include <memory>
#include <optional>
#include <stdexcept>
#include <string>

#include "c_stock_market.h"
#include "cli/format/china_time.h"
#include "cli/format/record_json.h"
#include "cli/format/table.h"
#include "cli/line_run.h"
#include "cli/reference_run.h"
#include "cli/subscription.h"

namespace cli {
namespace {

// The phase is computed here; the calendar that it stands on is asked for once.
constexpr Feed kFeed{"stock_market_state", "/pc/rt/trade_date"};
constexpr const char* kExamples = R"(Examples:
  csm state --count 1                     the phase of this moment
  csm state --json --for 60               a minute of JSON lines
  csm state --clock 09:10 --speed 60      a simulated day goes by in six minutes

The time beside the caption is that of the close or of the break while the market rests.)";

using StateDelivery = Delivery<StockMarketState>;

std::string JsonLine(const StateDelivery& delivery) {
  JsonWriter json;
  BeginJsonLine(json, kFeed.name, L"CN", delivery.server_time);
  json.BeginArray();
  json.BeginObject();
  json.Key("text");
  json.Value(delivery.data.text);
  json.Key("time");
  json.Value(delivery.data.time);
  json.Key("valid");
  json.Bool(delivery.data.valid);
  json.EndObject();
  json.EndArray();
  json.EndObject();
  return json.Text();
}

std::string Line(const StateDelivery& delivery, const Palette& palette) {
  const StockMarketState& state = delivery.data;
  StyledLine line = {{DateAndTime(delivery.server_time) + "  ", Tone::kDim}};
  if (state.valid) {
    // The record has the low half of the time only.
    const auto time = static_cast<std::int64_t>(static_cast<std::uint32_t>(state.time));
    line.push_back({Pad(Printable(state.text), 8, Align::kLeft), Tone::kStrong});
    line.push_back({"  " + DateAndTime(time)});
  } else {
    line.push_back({"(unknown)", Tone::kWarning});
  }
  return Render(line, palette);
}

int PrintState(const WatchOptions& options) {
  LineRun run(options, kFeed);
  IStockCommon* const reference = GetStockCommon();
  if (reference == nullptr) {
    throw std::runtime_error("the service of reference data cannot be made");
  }
  IStockMarketState* market = nullptr;
  using StateSubscription = Subscription<IStockMarketState, StockMarketState>;
  std::optional<StateSubscription> subscription;
  LoadReferenceData(run.loop(), *reference, Needs::kCalendar, [&](bool ok) {
    if (!ok) {
      Say("the holidays are not known, only weekends" + (LoadFailure().empty() ? "" : ": " + LoadFailure()));
    }
    // Made only when the server's clock is known: its thread wakes by that clock.
    market = GetStockMarketState();
    if (market == nullptr) {
      throw std::runtime_error("the service of the market's phase cannot be made");
    }
    subscription.emplace(*market, run.loop(), [&](const StateDelivery& delivery) {
      run.OnUpdate(options.json ? JsonLine(delivery) : Line(delivery, run.palette()));
    });
  });
  return run.Run([&] {
    if (market != nullptr) {
      market->Refresh();
    }
  });
}

}  // namespace

Runner SetUpState(Form& form) {
  const auto options = std::make_shared<WatchOptions>();
  AddWatchOptions(form, *options);
  form.footer = kExamples;
  return [options] { return PrintState(*options); };
}

}  // namespace cli
