#include "desktop/words.h"

#include <algorithm>

#include "cli/commands/server_examination.h"

namespace desktop {
namespace {

bool InChinese() {
  return cli::CurrentLanguage() == cli::Language::kChinese;
}

struct Translation {
  std::string_view of;
  std::string_view english;  // empty: as it is
  std::string_view chinese;
};

// By what the choices say of themselves: names alone are not unique.
constexpr Translation kChoiceWords[] = {
    {"all A shares", "All A shares", "沪深A股"},
    {"Shanghai", "Shanghai", "上证A股"},
    {"Shenzhen", "Shenzhen", "深证A股"},
    {"growth enterprises", "Growth", "创业板"},
    {"small and medium enterprises", "Small and medium", "中小板"},
    {"what companies make", "Industries", "行业"},
    {"what investors talk of", "Concepts", "概念"},
    {"of the day", "Day", "当日"},
    {"of the last five minutes", "Five minutes", "五分钟"},
    {"a trading day", "Day", "日K"},
    {"Monday to Friday", "Week", "周K"},
    {"a calendar month", "Month", "月K"},
    {"prices as they were traded at", "Unadjusted", "不复权"},
    {"today's prices stay, those of the past are changed", "Forward", "前复权"},
    {"the first prices stay, later ones are changed", "Backward", "后复权"},
};

// By how they begin.
constexpr Translation kReasons[] = {
    {"the watch list is empty", "The watch list is empty; Insert puts the current stock in",
     "自选为空，按 Insert 加入当前股票"},
    {"no security is selected", "No security is selected; type its code, name or initials",
     "未选中证券，直接键入代码、名称或拼音"},
    {"no plate is selected", "", "未选中板块"},
    {"a plate is quoted", "", "板块没有盘口，请在板块列表中查看"},
    {"there are no candles of plates", "", "板块没有K线"},
    {"only stocks belong to plates", "", "只有股票有所属板块"},
    {"no plates are known", "", "没有所属板块的资料"},
    {"the server knows nothing of the watch list", "", "服务器没有自选股的数据"},
    {"the server has no such figures", "", "服务器没有这些数据"},
    {"no unusual event", "", "当日没有异动"},
    {"nothing flowed", "", "十日内没有资金流动"},
    {"the list has no row", "", "列表为空"},
};

// What the server's error number in a line of the log means, and what to do; else the line itself.
QString Explained(const std::string& text) {
  static constexpr std::string_view kNumber = "Response Error Code: ";
  const std::size_t at = text.find(kNumber);
  const int number = at == std::string::npos ? 0 : Text(text.substr(at + kNumber.size())).toInt();
  if (number == 0) {
    return Text(text);
  }
  const stock_host::Finding finding = cli::ExplainErrno(number, {}, {});
  return Text(text.substr(0, text.find(':') + 1) + " " + finding.text +
              (finding.advice.empty() ? "" : "; " + finding.advice));
}

}  // namespace

QString NameOf(const cli::Choice& choice) {
  const auto* const word = std::ranges::find(kChoiceWords, choice.help, &Translation::of);
  return word == std::end(kChoiceWords) ? TitleOf(choice.name) : Word(word->english, word->chinese);
}

QString StateText(const cli::FeedReport& report) {
  for (const Translation& reason : kReasons) {
    if (report.state == cli::FeedState::kEmpty && report.text.starts_with(reason.of) &&
        (InChinese() || !reason.english.empty())) {
      return Word(reason.english, reason.chinese);
    }
  }
  QString text = Explained(report.text);
  if (!InChinese()) {
    return text;
  }
  const QString last = text.section(QLatin1Char(' '), -1);
  switch (report.state) {
    case cli::FeedState::kWaiting:
      return QStringLiteral("等待数据");
    case cli::FeedState::kLive:
      return QStringLiteral("实时");
    case cli::FeedState::kUnchanged:
      return QStringLiteral("自 %1 起无变化").arg(last);
    case cli::FeedState::kClosed:
      return (text.startsWith(QLatin1String("before")) ? QStringLiteral("开盘前，%1 的数据")
                                                       : QStringLiteral("已收盘，%1 的数据"))
          .arg(last);
    case cli::FeedState::kStale:
      return QStringLiteral("数据陈旧：%1").arg(text);
    case cli::FeedState::kEmpty:
      return QStringLiteral("无数据：%1").arg(text);
    case cli::FeedState::kFailed:
      break;
  }
  return QStringLiteral("失败：%1").arg(text);
}

}  // namespace desktop
