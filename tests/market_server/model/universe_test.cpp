#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <set>
#include <string>

#include "market_server/model/market.h"
#include "market_server/model/names.h"
#include "small_market.h"

namespace market_server::model {
namespace {

// How the characters are read, written down independently of the initials in the tables.
const std::map<std::string, std::string>& Readings() {
  static const std::map<std::string, std::string> table{
      {"澜", "lan"},    {"珩", "heng"},  {"栩", "xu"},    {"翊", "yi"},     {"昀", "yun"},   {"熠", "yi"},
      {"岚", "lan"},    {"嵘", "rong"},  {"沐", "mu"},    {"泓", "hong"},   {"湛", "zhan"},  {"朔", "shuo"},
      {"霁", "ji"},     {"昕", "xin"},   {"晗", "han"},   {"煦", "xu"},     {"珺", "jun"},   {"瑄", "xuan"},
      {"琮", "cong"},   {"翎", "ling"},  {"鹭", "lu"},    {"鸢", "yuan"},   {"枫", "feng"},  {"楠", "nan"},
      {"樾", "yue"},    {"桐", "tong"},  {"梧", "wu"},    {"茗", "ming"},   {"荻", "di"},    {"芷", "zhi"},
      {"苒", "ran"},    {"珞", "luo"},   {"琅", "lang"},  {"霖", "lin"},    {"澄", "cheng"}, {"溪", "xi"},
      {"渚", "zhu"},    {"泽", "ze"},    {"浔", "xun"},   {"漪", "yi"},     {"淳", "chun"},  {"皓", "hao"},
      {"曜", "yao"},    {"晔", "ye"},    {"旻", "min"},   {"昱", "yu"},     {"暄", "xuan"},  {"骁", "xiao"},
      {"骐", "qi"},     {"骥", "ji"},    {"驰", "chi"},   {"铮", "zheng"},  {"锦", "jin"},   {"钧", "jun"},
      {"铭", "ming"},   {"锐", "rui"},   {"钰", "yu"},    {"砚", "yan"},    {"磐", "pan"},   {"岳", "yue"},
      {"峥", "zheng"},  {"屿", "yu"},    {"舟", "zhou"},  {"帆", "fan"},    {"棠", "tang"},  {"槿", "jin"},
      {"松", "song"},   {"葵", "kui"},   {"蓓", "bei"},   {"穗", "sui"},    {"稷", "ji"},    {"禾", "he"},
      {"鼎", "ding"},   {"弘", "hong"},  {"恺", "kai"},   {"谦", "qian"},   {"逸", "yi"},    {"遥", "yao"},
      {"邈", "miao"},   {"颂", "song"},  {"韵", "yun"},   {"墨", "mo"},     {"笙", "sheng"}, {"筱", "xiao"},
      {"碧", "bi"},     {"瀚", "han"},   {"涵", "han"},   {"渊", "yuan"},   {"沛", "pei"},   {"朗", "lang"},
      {"晏", "yan"},    {"昶", "chang"}, {"旭", "xu"},    {"奕", "yi"},     {"卓", "zhuo"},  {"烨", "ye"},
      {"炜", "wei"},    {"灿", "can"},   {"焕", "huan"},  {"煜", "yu"},     {"银", "yin"},   {"农", "nong"},
      {"商", "shang"},  {"证", "zheng"}, {"券", "quan"},  {"金", "jin"},    {"控", "kong"},  {"保", "bao"},
      {"险", "xian"},   {"人", "ren"},   {"寿", "shou"},  {"房", "fang"},   {"地", "di"},    {"产", "chan"},
      {"置", "zhi"},    {"业", "ye"},    {"物", "wu"},    {"服", "fu"},     {"务", "wu"},    {"生", "sheng"},
      {"活", "huo"},    {"建", "jian"},  {"筑", "zhu"},   {"装", "zhuang"}, {"饰", "shi"},   {"工", "gong"},
      {"材", "cai"},    {"料", "liao"},  {"新", "xin"},   {"钢", "gang"},   {"铁", "tie"},   {"特", "te"},
      {"基", "ji"},     {"础", "chu"},   {"化", "hua"},   {"学", "xue"},    {"纤", "xian"},  {"维", "wei"},
      {"塑", "su"},     {"橡", "xiang"}, {"胶", "jiao"},  {"药", "yao"},    {"肥", "fei"},   {"有", "you"},
      {"色", "se"},     {"属", "shu"},   {"铜", "tong"},  {"锌", "xin"},    {"贵", "gui"},   {"黄", "huang"},
      {"矿", "kuang"},  {"稀", "xi"},    {"钨", "wu"},    {"煤", "mei"},    {"炭", "tan"},   {"焦", "jiao"},
      {"石", "shi"},    {"油", "you"},   {"气", "qi"},    {"电", "dian"},   {"力", "li"},    {"能", "neng"},
      {"源", "yuan"},   {"燃", "ran"},   {"热", "re"},    {"水", "shui"},   {"利", "li"},    {"环", "huan"},
      {"境", "jing"},   {"光", "guang"}, {"伏", "fu"},    {"风", "feng"},   {"池", "chi"},   {"储", "chu"},
      {"网", "wang"},   {"设", "she"},   {"备", "bei"},   {"变", "bian"},   {"压", "ya"},    {"通", "tong"},
      {"用", "yong"},   {"机", "ji"},    {"械", "xie"},   {"泵", "beng"},   {"专", "zhuan"}, {"重", "zhong"},
      {"程", "cheng"},  {"仪", "yi"},    {"器", "qi"},    {"表", "biao"},   {"测", "ce"},    {"智", "zhi"},
      {"造", "zao"},    {"自", "zi"},    {"汽", "qi"},    {"车", "che"},    {"整", "zheng"}, {"客", "ke"},
      {"零", "ling"},   {"部", "bu"},    {"件", "jian"},  {"配", "pei"},    {"轨", "gui"},   {"道", "dao"},
      {"交", "jiao"},   {"辆", "liang"}, {"船", "chuan"}, {"舶", "bo"},     {"海", "hai"},   {"航", "hang"},
      {"空", "kong"},   {"发", "fa"},    {"天", "tian"},  {"星", "xing"},   {"联", "lian"},  {"半", "ban"},
      {"导", "dao"},    {"体", "ti"},    {"微", "wei"},   {"集", "ji"},     {"成", "cheng"}, {"路", "lu"},
      {"芯", "xin"},    {"子", "zi"},    {"元", "yuan"},  {"消", "xiao"},   {"费", "fei"},   {"精", "jing"},
      {"密", "mi"},     {"声", "sheng"}, {"显", "xian"},  {"示", "shi"},    {"计", "ji"},    {"算", "suan"},
      {"数", "shu"},    {"码", "ma"},    {"软", "ruan"},  {"开", "kai"},    {"信", "xin"},   {"息", "xi"},
      {"据", "ju"},     {"络", "luo"},   {"缆", "lan"},   {"讯", "xun"},    {"互", "hu"},    {"传", "chuan"},
      {"媒", "mei"},    {"影", "ying"},  {"视", "shi"},   {"游", "you"},    {"戏", "xi"},    {"娱", "yu"},
      {"制", "zhi"},    {"中", "zhong"}, {"本", "ben"},   {"草", "cao"},    {"品", "pin"},   {"因", "yin"},
      {"医", "yi"},     {"疗", "liao"},  {"健", "jian"},  {"康", "kang"},   {"白", "bai"},   {"酒", "jiu"},
      {"庄", "zhuang"}, {"食", "shi"},   {"乳", "ru"},    {"牧", "mu"},     {"种", "zhong"}, {"纺", "fang"},
      {"织", "zhi"},    {"家", "jia"},   {"居", "ju"},    {"轻", "qing"},   {"纸", "zhi"},   {"贸", "mao"},
      {"售", "shou"},   {"百", "bai"},   {"货", "huo"},   {"流", "liu"},    {"运", "yun"},   {"旅", "lv"},
      {"店", "dian"},   {"文", "wen"},   {"觉", "jue"},   {"量", "liang"},  {"云", "yun"},   {"大", "da"},
      {"区", "qu"},     {"块", "kuai"},  {"链", "lian"},  {"字", "zi"},     {"币", "bi"},    {"安", "an"},
      {"全", "quan"},   {"片", "pian"},  {"先", "xian"},  {"进", "jin"},    {"封", "feng"},  {"存", "cun"},
      {"刻", "ke"},     {"宽", "kuan"},  {"禁", "jin"},   {"带", "dai"},    {"柔", "rou"},   {"性", "xing"},
      {"屏", "ping"},   {"虚", "xu"},    {"拟", "ni"},    {"现", "xian"},   {"实", "shi"},   {"可", "ke"},
      {"穿", "chuan"},  {"戴", "dai"},   {"无", "wu"},    {"驾", "jia"},    {"驶", "shi"},   {"充", "chong"},
      {"桩", "zhuang"}, {"固", "gu"},    {"态", "tai"},   {"钠", "na"},     {"锂", "li"},    {"氢", "qing"},
      {"上", "shang"},  {"高", "gao"},   {"厂", "chang"}, {"碳", "tan"},    {"和", "he"},    {"核", "he"},
      {"聚", "ju"},     {"低", "di"},    {"经", "jing"},  {"济", "ji"},     {"卫", "wei"},   {"飞", "fei"},
      {"深", "shen"},   {"超", "chao"},  {"墨", "mo"},    {"土", "tu"},     {"永", "yong"},  {"磁", "ci"},
      {"创", "chuang"}, {"编", "bian"},  {"辑", "ji"},    {"细", "xi"},     {"胞", "bao"},   {"治", "zhi"},
      {"美", "mei"},    {"容", "rong"},  {"养", "yang"},  {"老", "lao"},    {"预", "yu"},    {"菜", "cai"},
      {"慧", "hui"},    {"跨", "kua"},   {"概", "gai"},   {"念", "nian"},   {"华", "hua"},   {"北", "bei"},
      {"东", "dong"},   {"南", "nan"},   {"西", "xi"},    {"港", "gang"},   {"澳", "ao"},    {"指", "zhi"},
      {"公", "gong"},   {"综", "zong"},  {"选", "xuan"},  {"小", "xiao"},   {"盘", "pan"},   {"科", "ke"},
      {"板", "ban"},    {"林", "lin"},   {"采", "cai"},   {"批", "pi"},     {"输", "shu"},   {"烯", "xi"},
      {"行", "hang"},   {"万", "wan"},   {"识", "shi"},   {"融", "rong"},   {"股", "gu"}};
  return table;
}

// The characters of a UTF-8 text.
std::vector<std::string> Characters(const std::string& text) {
  std::vector<std::string> out;
  for (const char c : text) {
    if ((static_cast<unsigned char>(c) & 0xc0U) != 0x80U) {
      out.emplace_back();
    }
    out.back() += c;
  }
  return out;
}

std::string InitialsOf(const std::string& name) {
  std::string out;
  for (const std::string& character : Characters(name)) {
    if (character.size() == 1) {
      out += character;
      continue;
    }
    const auto found = Readings().find(character);
    out += found == Readings().end() ? "?" : std::string(1, static_cast<char>(found->second[0] - 'a' + 'A'));
  }
  return out;
}

const Market& FullMarket() {
  static const Market& market = *new Market();
  return market;
}
const Instant kNow = InstantOf(20261120, 10, 0, 0);

TEST(Universe, everyNameHasItsPinyinInitials) {
  const Market& market = FullMarket();
  const auto check = [](const Security& security) {
    EXPECT_EQ(security.pinyin, InitialsOf(security.name)) << security.code << " " << security.name;
  };
  for (const Security* stock : market.Stocks(kNow)) {
    check(*stock);
  }
  for (const Security& index : market.indices()) {
    check(index);
  }
  for (const Security& plate : market.plates()) {
    check(plate);
  }
}

TEST(Universe, hasAboutFiveThousandFourHundredStocks) {
  const std::size_t count = FullMarket().Stocks(kNow).size();
  EXPECT_GE(count, 5250u);
  EXPECT_LE(count, 5550u);
}

TEST(Universe, growsWithTheYears) {
  const Market& market = FullMarket();
  std::size_t before = 0;
  for (const Date date : {20150105u, 20180105u, 20210105u, 20240105u, 20270105u}) {
    const std::size_t count = market.Stocks(InstantOf(date, 10, 0, 0)).size();
    EXPECT_GT(count, before + 100) << date;
    before = count;
  }
}

TEST(Universe, stocksBearTheCodesAndTextsOfTheirBoards) {
  std::map<Board, int> counts;
  for (const Security* stock : FullMarket().Stocks(kNow)) {
    const std::string range = stock->code.substr(0, 5);
    Board board = Board::kNone;
    std::string text;
    if (range == "sh600" || range == "sh601" || range == "sh603" || range == "sh605") {
      board = Board::kShanghaiMain;
      text = "MB";
    } else if (range == "sh688") {
      board = Board::kStar;
      text = "STAR";
    } else if (range == "sz000" || range == "sz001") {
      board = Board::kShenzhenMain;
      text = "MB";
    } else if (range == "sz002") {
      board = Board::kSme;
      text = "SME";
    } else if (range == "sz300" || range == "sz301") {
      board = Board::kGrowth;
      text = "GEM";
    }
    EXPECT_EQ(stock->code.size(), 8u) << stock->code;
    EXPECT_TRUE(std::all_of(stock->code.begin() + 2, stock->code.end(), [](char c) {
      return c >= '0' && c <= '9';
    })) << stock->code;
    EXPECT_EQ(stock->board, board) << stock->code;
    EXPECT_EQ(stock->board_text, text) << stock->code;
    ++counts[board];
  }
  EXPECT_GT(counts[Board::kShanghaiMain], 1500);
  EXPECT_GT(counts[Board::kStar], 500);
  EXPECT_GT(counts[Board::kShenzhenMain], 400);
  EXPECT_GT(counts[Board::kSme], 900);
  EXPECT_GT(counts[Board::kGrowth], 1400);
}

TEST(Universe, codesAndNamesAreUniqueAndCodesAscend) {
  const auto stocks = FullMarket().Stocks(kNow);
  std::set<std::string> names;
  for (const Security* stock : stocks) {
    EXPECT_TRUE(names.insert(stock->name).second) << stock->name;
    const std::size_t length = Characters(stock->name).size();
    EXPECT_GE(length, 2u) << stock->name;
    EXPECT_LE(length, 4u) << stock->name;
  }
  EXPECT_TRUE(std::is_sorted(stocks.begin(), stocks.end(),
                             [](const Security* a, const Security* b) { return a->code < b->code; }));
  EXPECT_EQ(std::adjacent_find(stocks.begin(), stocks.end(),
                               [](const Security* a, const Security* b) { return a->code == b->code; }),
            stocks.end());
}

TEST(Universe, anyCaseOfACodeFindsIt) {
  const Market& market = FullMarket();
  ASSERT_NE(market.Find("sh600000"), nullptr);
  EXPECT_EQ(market.Find("SH600000"), market.Find("sh600000"));
  EXPECT_EQ(market.Find("Bk1001"), market.Find("bk1001"));
  EXPECT_EQ(market.Find("sh999999"), nullptr);
  EXPECT_EQ(market.Find(""), nullptr);
  for (const char* code : {"sz000001", "sz300001", "sz002001", "sh688001"}) {
    ASSERT_NE(market.Find(code), nullptr) << code;
    EXPECT_EQ(market.Find(code)->code, code);
  }
}

TEST(Universe, theHeadlineIndicesHaveTheirUsualNames) {
  const Market& market = FullMarket();
  const std::pair<const char*, const char*> headlines[] = {
      {"sh000001", "上证指数"}, {"sz399001", "深证成指"}, {"sz399006", "创业板指"}};
  for (const auto& [code, name] : headlines) {
    ASSERT_NE(market.Find(code), nullptr) << code;
    EXPECT_EQ(market.Find(code)->name, name);
    EXPECT_EQ(market.Find(code)->kind, Kind::kIndex);
  }
}

TEST(Universe, everyExchangeHasTwentyIndicesWithMembersOfItsOwn) {
  const Market& market = FullMarket();
  std::map<std::string, int> counts;
  for (const Security& index : market.indices()) {
    const std::string exchange = index.code.substr(0, 2);
    ++counts[exchange];
    EXPECT_EQ(index.code.substr(0, 5), exchange == "sh" ? "sh000" : "sz399");
    EXPECT_GE(market.Members(index).size(), 10u) << index.code;
    for (const Security* member : market.Members(index)) {
      EXPECT_EQ(member->code.substr(0, 2), exchange) << index.code;
    }
  }
  EXPECT_GE(counts["sh"], 20);
  EXPECT_GE(counts["sz"], 20);
}

TEST(Universe, theCompositeIndexHoldsItsWholeExchange) {
  const Market& market = FullMarket();
  const auto members = market.Members(*market.Find("sh000001"));
  const auto stocks = market.Stocks(InstantOf(20351231, 16, 0, 0));
  EXPECT_EQ(static_cast<long>(members.size()),
            std::count_if(stocks.begin(), stocks.end(), [](const Security* s) { return s->code[1] == 'h'; }));
}

TEST(Universe, hasPlatesOfThreeKinds) {
  std::map<int, int> counts;
  std::set<std::string> codes;
  std::set<std::string> names;
  for (const Security& plate : FullMarket().plates()) {
    ++counts[plate.plate_kind];
    EXPECT_EQ(plate.code.substr(0, 2), "bk");
    EXPECT_TRUE(codes.insert(plate.code).second) << plate.code;
    EXPECT_TRUE(names.insert(plate.name).second) << plate.name;
  }
  EXPECT_GE(counts[1], 55);
  EXPECT_LE(counts[1], 65);
  EXPECT_EQ(counts[3], 200);
  EXPECT_GE(counts[2], 3);
}

TEST(Universe, everyStockIsInOneIndustryAndSeveralConcepts) {
  const Market& market = FullMarket();
  for (const Security* stock : market.Stocks(kNow)) {
    EXPECT_EQ(market.PlatesOf(*stock, 1).size(), 1u) << stock->code;
    EXPECT_GE(market.PlatesOf(*stock, 3).size(), 2u) << stock->code;
    EXPECT_EQ(market.PlatesOf(*stock, 2).size(), 1u) << stock->code;
  }
}

TEST(Universe, membersAndPlatesOfAStockAreTheSameRelation) {
  const Market& market = FullMarket();
  for (const Security& plate : market.plates()) {
    EXPECT_FALSE(market.Members(plate).empty()) << plate.code;
    for (const Security* member : market.Members(plate)) {
      const auto plates = market.PlatesOf(*member, plate.plate_kind);
      EXPECT_NE(std::find(plates.begin(), plates.end(), &plate), plates.end())
          << plate.code << " " << member->code;
    }
  }
}

TEST(Universe, circulatingSharesAreAPartOfAllShares) {
  const auto board = FullMarket().BoardAt(kNow);
  for (const Quote& quote : board->stocks) {
    EXPECT_GT(quote.shares, 0u) << quote.security->code;
    EXPECT_LE(quote.shares, quote.tso) << quote.security->code;
  }
}

TEST(Universe, someStocksAreSuspendedAndSomeHaveOtherStatuses) {
  std::map<Status, int> counts;
  for (const Date date : {20260608u, 20260618u, 20260703u, 20261120u}) {
    const auto board = FullMarket().BoardAt(InstantOf(date, 10, 0, 0));
    for (const Quote& quote : board->stocks) {
      ++counts[quote.status];
    }
  }
  EXPECT_GT(counts[Status::kTrading], 20000);
  EXPECT_GT(counts[Status::kSuspended], 5);
  EXPECT_GT(counts[Status::kExRights], 5);
  EXPECT_GT(counts[Status::kHalted] + counts[Status::kInvestigated] + counts[Status::kDelisting], 5);
  EXPECT_LT(counts[Status::kSuspended], 300);
}

TEST(Universe, listingDatesAreTradingDaysFromTheStartOn) {
  const Market& market = FullMarket();
  for (const Security* stock : market.Stocks(InstantOf(20351231, 16, 0, 0))) {
    EXPECT_TRUE(IsTradingDay(stock->listed)) << stock->code << " " << stock->listed;
    EXPECT_TRUE(market.IsListed(*stock, stock->listed));
    EXPECT_FALSE(market.IsListed(*stock, stock->listed - 1));
  }
}

TEST(Universe, namesDoNotChangeWithTheSeed) {
  const Market one(Small(1));
  const Market two(Small(2));
  const auto a = one.Stocks(kNow);
  const auto b = two.Stocks(kNow);
  ASSERT_EQ(a.size(), b.size());
  for (std::size_t i = 0; i < a.size(); ++i) {
    EXPECT_EQ(a[i]->code, b[i]->code);
    EXPECT_EQ(a[i]->name, b[i]->name);
  }
}

}  // namespace
}  // namespace market_server::model
