#include "cli/commands/quote.h"

#include <algorithm>
#include <chrono>
#include <map>
#include <memory>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include "c_stock_market.h"
#include "cli/follow.h"
#include "cli/format/price_limits.h"
#include "cli/format/quote_sheet.h"
#include "cli/format/quote_tables.h"
#include "cli/format/record_json.h"
#include "cli/options.h"
#include "cli/securities.h"

namespace cli {
namespace {

using QuoteDelivery = Delivery<StockMarketItem>;
using QuoteSubscription = Subscription<ISingleStockMarket, StockMarketItem>;

constexpr Feed kFeed{"single_stock_market", "/pc/rt/stock_detail_list", kQuotePolling};
constexpr std::chrono::milliseconds kLate(1000);
constexpr const char* kExamples = R"(Examples:
  csm quote sh600000                      figures and order book, redrawn in place; q ends it
  csm quote 600000 000002 sh000001        several; an index shows its members in place of a book
  csm quote sh600000 --count 1            once
  csm quote sh600000 --json --for 60      a minute of JSON lines, one for each symbol and update

Prices are red above the previous close and green below it. A mark behind a figure says that it rose or fell since
the update before; with several symbols the module compares with whatever it was asked last, so that there are
mostly none.)";

struct QuoteOptions {
  WatchOptions watch;
  std::vector<std::string> symbols;
};

std::string JsonLine(const QuoteDelivery& delivery) {
  JsonWriter json;
  BeginJsonLine(json, kFeed.name, delivery.data.code, delivery.server_time);
  json.BeginArray();
  json.BeginObject();
  json.Key("symbol_type");
  json.Value(static_cast<std::int32_t>(delivery.data.symbol_type));
  WriteMembers(json, kSingleQuoteTable, WithLimitsOfBoard(delivery.data));
  json.EndObject();
  json.EndArray();
  json.EndObject();
  return json.Text();
}

// The quotes of all symbols. They arrive one by one and are shown together: when all have come, or when one
// comes again before the others.
class Quotes {
 public:
  explicit Quotes(LineRun& run) : run_(run) {}

  void SetSymbols(std::vector<std::wstring> symbols) { symbols_ = std::move(symbols); }

  void OnUpdate(const QuoteDelivery& delivery) {
    const std::wstring& symbol = delivery.data.code;
    if (fresh_.count(symbol) > 0 && delivery.at - began_ > kLate) {
      Show();
    }
    if (fresh_.empty()) {
      began_ = delivery.at;
    }
    newest_[symbol] = delivery;
    fresh_.insert(symbol);
    if (fresh_.size() == symbols_.size()) {
      Show();
    }
  }

 private:
  void Show() {
    if (run_.json()) {
      std::string lines;
      for (const std::wstring& symbol : symbols_) {
        if (fresh_.count(symbol) > 0) {
          lines += (lines.empty() ? "" : "\n") + JsonLine(newest_.at(symbol));
        }
      }
      run_.OnUpdate(lines);
    } else {
      run_.OnPicture(Picture());
    }
    fresh_.clear();
  }

  [[nodiscard]] std::vector<StyledLine> Picture() const {
    std::vector<StyledLine> lines;
    for (const std::wstring& symbol : symbols_) {
      const auto newest = newest_.find(symbol);
      if (newest == newest_.end()) {
        continue;
      }
      if (!lines.empty()) {
        lines.emplace_back();
      }
      const std::vector<StyledLine> sheet = QuoteSheet(newest->second.data);
      lines.insert(lines.end(), sheet.begin(), sheet.end());
    }
    return lines;
  }

  LineRun& run_;
  std::vector<std::wstring> symbols_;
  std::map<std::wstring, QuoteDelivery> newest_;
  std::chrono::steady_clock::time_point began_;  // when the first of the fresh ones came
  std::set<std::wstring> fresh_;                 // came since the last time that all were shown
};

// The symbols that are meant, each once. Throws std::runtime_error for what the market does not know.
std::vector<std::wstring> FindSymbols(IStockCommon& reference, const std::vector<std::string>& texts) {
  std::vector<std::wstring> symbols;
  for (const std::string& text : texts) {
    const Security security = FindSecurity(reference, text);
    if (security.type == stock::kSymbolPlate) {
      throw std::runtime_error(Printable(security.code) + " " + Printable(security.name) +
                               " is a plate: csm plates shows its quote, csm plate its stocks");
    }
    if (std::find(symbols.begin(), symbols.end(), security.code) == symbols.end()) {
      symbols.push_back(security.code);
    }
  }
  return symbols;
}

int ShowQuotes(const QuoteOptions& options) {
  LineRun run(options.watch, kFeed, options.symbols.size() == 1 ? "quote" : "quotes");
  ISingleStockMarket& market = Made(GetSingleStockMarket(), kFeed);
  Quotes quotes(run);
  std::vector<std::unique_ptr<QuoteSubscription>> subscriptions;
  LoadReferenceData(run.loop(), Made(GetStockCommon(), kReferenceFeed), Needs::kLists, [&](bool loaded) {
    if (!loaded) {
      throw std::runtime_error(NotLoadedText(run.session()));
    }
    const std::vector<std::wstring> symbols = FindSymbols(*GetStockCommon(), options.symbols);
    quotes.SetSymbols(symbols);
    for (const std::wstring& symbol : symbols) {
      subscriptions.push_back(std::make_unique<QuoteSubscription>(
          market, symbol, run.loop(), [&](const QuoteDelivery& delivery) { quotes.OnUpdate(delivery); },
          false));
    }
    market.Refresh();
  });
  return run.Run([&market] { market.Refresh(); });
}

}  // namespace

Runner SetUpQuote(Form& form) {
  const auto options = std::make_shared<QuoteOptions>();
  form.Add({.name = "SYMBOL",
            .help = "stocks or indices: sh600000, 600000 or a name",
            .take = Into(options->symbols),
            .kind = Option::Kind::kSeveral,
            .is_required = true});
  AddWatchOptions(form, options->watch);
  form.footer = kExamples;
  return [options] { return ShowQuotes(*options); };
}

}  // namespace cli
