#include "desktop/words.h"

#include <array>
#include <utility>

#include "cli/commands/server_examination.h"
#include "cli/format/text.h"
#include "cli/format/words.h"

namespace desktop {
namespace {

bool InChinese() {
  return cli::CurrentLanguage() == cli::Language::kChinese;
}

struct ChoiceWord {
  std::string_view help;
  const char* english;
  const char* chinese;
};

// By what the choices say of themselves: names alone are not unique.
constexpr std::array kChoiceWords = {
    ChoiceWord{"all A shares", "All A shares", "沪深A股"},
    ChoiceWord{"Shanghai", "Shanghai", "上证A股"},
    ChoiceWord{"Shenzhen", "Shenzhen", "深证A股"},
    ChoiceWord{"growth enterprises", "Growth", "创业板"},
    ChoiceWord{"small and medium enterprises", "Small and medium", "中小板"},
    ChoiceWord{"what companies make", "Industries", "行业"},
    ChoiceWord{"what investors talk of", "Concepts", "概念"},
    ChoiceWord{"of the day", "Day", "当日"},
    ChoiceWord{"of the last five minutes", "Five minutes", "五分钟"},
    ChoiceWord{"a trading day", "Day", "日K"},
    ChoiceWord{"Monday to Friday", "Week", "周K"},
    ChoiceWord{"a calendar month", "Month", "月K"},
    ChoiceWord{"prices as they were traded at", "Unadjusted", "不复权"},
    ChoiceWord{"today's prices stay, those of the past are changed", "Forward", "前复权"},
    ChoiceWord{"the first prices stay, later ones are changed", "Backward", "后复权"},
};

struct Reason {
  std::string_view begin;  // of what the views say
  const char* english;     // nothing: as they say it
  const char* chinese;
};
constexpr std::array kReasons = {
    Reason{"the watch list is empty", "The watch list is empty; Insert puts the current stock in",
           "自选为空，按 Insert 加入当前股票"},
    Reason{"no security is selected", "No security is selected; type its code, name or initials",
           "未选中证券，直接键入代码、名称或拼音"},
    Reason{"no plate is selected", nullptr, "未选中板块"},
    Reason{"a plate is quoted", nullptr, "板块没有盘口，请在板块列表中查看"},
    Reason{"there are no candles of plates", nullptr, "板块没有K线"},
    Reason{"only stocks belong to plates", nullptr, "只有股票有所属板块"},
    Reason{"no plates are known", nullptr, "没有所属板块的资料"},
    Reason{"the server knows nothing of the watch list", nullptr, "服务器没有自选股的数据"},
    Reason{"the server has no such figures", nullptr, "服务器没有这些数据"},
    Reason{"no unusual event", nullptr, "当日没有异动"},
    Reason{"nothing flowed", nullptr, "十日内没有资金流动"},
    Reason{"the list has no row", nullptr, "列表为空"},
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

QString Word(const char* english, const char* chinese) {
  return QString::fromUtf8(InChinese() ? chinese : english);
}

QString Shown(const std::wstring& text) {
  return Text(cli::Printable(text));
}

QString TitleOf(std::string_view name) {
  return Text(cli::LabelOf(name)).replace(QLatin1Char('_'), QLatin1Char(' '));
}

QString NameOf(const cli::Choice& choice) {
  for (const ChoiceWord& word : kChoiceWords) {
    if (word.help == choice.help) {
      return Word(word.english, word.chinese);
    }
  }
  return TitleOf(choice.name);
}

QString StateText(const cli::FeedReport& report) {
  for (const Reason& reason : kReasons) {
    if (report.state == cli::FeedState::kEmpty && report.text.starts_with(reason.begin) &&
        (InChinese() || reason.english != nullptr)) {
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
