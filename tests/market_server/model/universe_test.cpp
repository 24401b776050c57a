#include <gtest/gtest.h>
#include <unicode/translit.h>

#include <algorithm>
#include <map>
#include <set>
#include <string>

#include "market_server/model/market.h"
#include "market_server/model/names.h"
#include "small_market.h"

namespace market_server::model {
namespace {

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

// The first letter of each character's reading.
std::string InitialsOf(const std::string& name) {
  UErrorCode error = U_ZERO_ERROR;
  static const auto* const readings =
      icu::Transliterator::createInstance("Han-Latin; Latin-ASCII; Upper", UTRANS_FORWARD, error);
  std::string out;
  for (const std::string& character : Characters(name)) {
    if (character == "行") {
      out += 'H';  // it stands in the name of banks only, where it is read "hang"
      continue;
    }
    icu::UnicodeString text = icu::UnicodeString::fromUTF8(character);
    if (readings != nullptr) readings->transliterate(text);
    out += static_cast<char>(text[0]);
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
