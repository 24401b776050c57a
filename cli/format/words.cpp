#include "cli/format/words.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <iterator>

namespace cli {
namespace {

struct Word {
  std::string_view name;
  std::string_view chinese;
  std::string_view meaning;
};

// In the order of their names, so that nobody lists one twice.
constexpr Word kWords[] = {
    {"Shanghai", "上证指数", "close of the index of Shanghai"},
    {"Shenzhen", "深证成指", "close of the index of Shenzhen"},
    {"amount", "成交额", "yuan traded"},
    {"amp", "振幅", "amplitude: highest minus lowest, in percent of the previous close"},
    {"amt", "成交额", "yuan traded in this session"},
    {"apply", "申购代码", "code to subscribe with"},
    {"ask1", "卖一", "best offer"},
    {"average", "均价", "average price of the day so far, or average change of all stocks"},
    {"avg_price", "均价", "average price of the day so far"},
    {"balance", "两融余额", "margin balance of both exchanges"},
    {"bid1", "买一", "best bid"},
    {"big in", "主力流入", "yuan that big orders brought in"},
    {"big net", "主力净额", "yuan of big orders, in less out"},
    {"big out", "主力流出", "yuan that big orders took out"},
    {"bpin", "净流入", "the server's figure of that name"},
    {"chance", "中签率", "percent of the subscriptions that were drawn"},
    {"change", "涨跌幅", "change against the previous close, in percent"},
    {"close", "收盘", "last price of the candle"},
    {"cmc", "流通市值", "market value of the circulating shares, in yuan"},
    {"code", "代码", "market and six digits; of a plate bk and digits"},
    {"cr", "委比", "commission ratio: bids less offers, in percent of both"},
    {"cud", "连涨", "the server's count of that name"},
    {"date", "日期", "trading day"},
    {"days", "天数", "trading days that are added up"},
    {"diff", "涨跌", "change against the previous close, in yuan"},
    {"down", "下跌", "stocks below their previous close"},
    {"event", "异动", "what happened"},
    {"high", "最高", "highest price"},
    {"holidays", "休市日", "days of the month on which the market is closed, without weekends"},
    {"issued", "发行量", "shares issued, in ten thousands"},
    {"last", "最新", "last price; red above the previous close, green below"},
    {"lead", "领涨股", "leading member"},
    {"lead_change", "领涨幅", "change of the leading member"},
    {"limit", "申购上限", "most that one account may subscribe to, in ten thousands of shares"},
    {"limit_down", "跌停", "lowest price that the board allows today"},
    {"limit_up", "涨停", "highest price that the board allows today"},
    {"low", "最低", "lowest price"},
    {"mc", "总市值", "market value, in yuan"},
    {"month", "月份", "month of the year"},
    {"name", "名称", "name"},
    {"num_d", "下跌", "members that fell"},
    {"num_u", "上涨", "members that rose"},
    {"num_z", "平盘", "members that are unchanged"},
    {"online", "网上发行", "shares issued online, in ten thousands"},
    {"online on", "申购日", "day of the online subscription"},
    {"open", "开盘", "first price"},
    {"pb", "市净率", "price to book value"},
    {"pe", "市盈率", "price to earnings"},
    {"plate", "板块", "first plate of the stock"},
    {"preclose", "昨收", "previous close"},
    {"price", "价格", "price in yuan"},
    {"published", "公告日", "day of issue"},
    {"qrr", "量比", "volume ratio: against the usual volume at this time of the day"},
    {"raised", "募资", "hundred millions of yuan raised"},
    {"rate", "涨跌幅", "change in percent"},
    {"shares", "流通股", "circulating shares"},
    {"small in", "散户流入", "yuan that small orders brought in"},
    {"small net", "散户净额", "yuan of small orders, in less out"},
    {"small out", "散户流出", "yuan that small orders took out"},
    {"status", "状态", "0 trades normally, 5 is newly listed, 6 ex rights, others are suspended"},
    {"time", "时间", "time of the day in China"},
    {"tr", "换手", "turnover rate: shares traded, in percent of the circulating ones"},
    {"trading days", "交易日", "days on which the market trades"},
    {"tso", "总股本", "all shares"},
    {"turnover", "换手", "turnover rate: shares traded, in percent of the circulating ones"},
    {"up", "上涨", "stocks above their previous close"},
    {"vol", "成交量", "shares traded in this session"},
    {"volume", "成交量", "shares traded"},
};

static_assert(std::is_sorted(std::begin(kWords), std::end(kWords),
                             [](const Word& a, const Word& b) { return a.name < b.name; }));

std::atomic<Language> language{Language::kEnglish};

const Word* Find(std::string_view name) {
  const auto* const found =
      std::lower_bound(std::begin(kWords), std::end(kWords), name,
                       [](const Word& word, std::string_view n) { return word.name < n; });
  return found != std::end(kWords) && found->name == name ? found : nullptr;
}

}  // namespace

void SetLanguage(Language chosen) {
  language = chosen;
}

Language CurrentLanguage() {
  return language;
}

Language LanguageOfLocale() {
  for (const char* const variable : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
    const char* const value = std::getenv(variable);
    if (value != nullptr && *value != '\0') {
      return std::string_view(value).starts_with("zh") ? Language::kChinese : Language::kEnglish;
    }
  }
  return Language::kEnglish;
}

std::string LabelOf(std::string_view name) {
  const Word* const word = language == Language::kChinese ? Find(name) : nullptr;
  return std::string(word == nullptr ? name : word->chinese);
}

std::string_view MeaningOf(std::string_view name) {
  const Word* const word = Find(name);
  return word == nullptr ? std::string_view() : word->meaning;
}

}  // namespace cli
