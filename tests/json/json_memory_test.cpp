// Whatever 8 MiB of answer say, decoding them takes a limited amount of memory, and all of it is given back.
#include <gtest/gtest.h>

#include <array>
#include <list>
#include <map>
#include <memory>
#include <optional>
#include <ostream>

#include "charts/stock_mline.h"
#include "failing_memory.h"
#include "json/json.h"
#include "json/record_reader.h"
#include "json_memory.h"
#include "quotes/stock_market_item_table.h"
#include "request/code_index.h"
#include "scripted_host.h"

namespace {

using request::json::Array;
using request::json::Budget;
using request::json::Document;
using request::json::Object;
using request::json::TooMuchMemory;
using request::json::Value;

constexpr std::size_t kMebibyte = std::size_t{1} << 20;
constexpr std::size_t kAnswerSize = 8 * kMebibyte;
constexpr std::size_t kMostMemory = 96 * kMebibyte;

// An answer of 8 MiB: `front`, as many of `unit(number)` as there is room for, `back`.
template <class Unit>
std::string Answer(const std::string& front, Unit unit, const std::string& back) {
  std::string text = front;
  text.reserve(kAnswerSize);
  for (std::size_t number = 0;; ++number) {
    const std::string next = unit(number);
    if (text.size() + next.size() + back.size() > kAnswerSize) break;
    text += next;
  }
  return text + back;
}

// The same with one unit.
std::string Repeated(const std::string& front, const std::string& unit, const std::string& back) {
  const std::size_t count = (kAnswerSize - front.size() - back.size()) / unit.size();
  std::string units = unit;
  units.reserve(count * unit.size());
  while (units.size() < count * unit.size()) {
    units.append(units, 0, count * unit.size() - units.size());
  }
  return front + units + back;
}

std::string ListOf(const std::string& unit) {
  return Repeated(R"({"errno":0,"data":{"list":[)", unit + ",", "0]}}");
}

std::string DataOf(const std::string& unit) {
  return Repeated(R"({"errno":0,"data":{)", unit + ",", R"("end":0}})");
}

// Members whose keys are `front`, a number and `back`.
std::string DataOfNumbered(const std::string& front, const std::string& back) {
  return Answer(
      R"({"errno":0,"data":{)",
      [&](std::size_t number) { return "\"" + front + std::to_string(100000 + number) + back + ","; },
      R"("end":0}})");
}

std::string Nested(std::size_t depth, const std::string& open, const std::string& close) {
  std::string text;
  for (std::size_t level = 0; level < depth; ++level) text += open;
  text += "0";
  for (std::size_t level = 0; level < depth; ++level) text += close;
  return text;
}

struct Hostile {
  std::string name;
  std::string (*make)();  // each when it is its turn

  friend void PrintTo(const Hostile& hostile, std::ostream* out) { *out << hostile.name; }
};

const std::vector<Hostile>& HostileAnswers() {
  static const std::vector<Hostile> answers = {
      {"numbers", [] { return ListOf("0"); }},
      {"emptyObjects", [] { return ListOf("{}"); }},
      {"emptyArrays", [] { return ListOf("[]"); }},
      {"emptyStrings", [] { return ListOf("\"\""); }},
      {"objectsOfOne", [] { return ListOf(R"({"":0})"); }},
      {"rowsWithABook", [] { return ListOf(R"({"b1p":0,"s1p":0,"b1v":0,"s1v":0})"); }},
      {"rowsWithTexts", [] { return ListOf(R"({"code":"0123456","name":"0123456"})"); }},
      {"aFewRowsWithLongTexts",
       [] { return ListOf(R"({"code":")" + std::string(kMebibyte, 'x') + R"("})"); }},
      {"oneText", [] { return Repeated(R"({"data":{"list":[{"code":")", "x", "\"}]}}"); }},
      {"aTextThatComesAgainLongerEachTime",
       [] {
         std::string members;
         for (std::size_t size = 1; size <= 2 * kMebibyte; size *= 2) {
           members += R"("code":")" + std::string(size, 'x') + "\",";
         }
         return R"({"data":{"list":[{)" + members + R"("last":0}]}})";
       }},
      {"deepArrays", [] { return ListOf(Nested(1000, "[", "]")); }},
      {"bracketsThatOnlyOpen", [] { return std::string(kAnswerSize, '['); }},
      {"flowsOfInventedSymbols",
       [] {
         return Answer(R"({"data":{"list":[)",
                       [](std::size_t number) { return "{\"" + std::to_string(number) + "\":0},"; }, "0]}}");
       }},
      {"manyMembers", [] { return DataOfNumbered("", "\":0"); }},
      {"oneMemberAgainAndAgain", [] { return DataOf(R"("":0)"); }},
      {"linesOfInventedSymbols", [] { return DataOfNumbered("sh", R"(":{"list":[0,0,0]})"); }},
      {"oneLongLine", [] { return Repeated(R"({"data":{"sh600000":{"list":[)", "0,", "0]}}}"); }},
      {"manyDays", [] { return Repeated(R"({"data":{"sh600000":[)", R"({"list":[]},)", "0]}}"); }},
      // What the plain reader leaves to Qt:
      {"numbersThenNoJSON", [] { return ListOf("0") + "x"; }},
      {"keysWrittenWithEscapes", [] { return ListOf(R"({"\u0063ode":"sh600000"})"); }},
      {"halvesOfSurrogatePairs", [] { return ListOf(R"("\ud83d")"); }},
      {"oneTextForQt", [] { return Repeated(R"({"data":{"list":["\ud83d)", "x", "\"]}}"); }},
      {"oneTextOfEscapes", [] { return Repeated(R"({"data":{"list":["\ud83d)", "\\n", "\"]}}"); }},
      {"halfOfItForQtInOneText",
       [] { return R"({"data":{"list":["\ud83d)" + std::string(kAnswerSize / 2, 'x') + "\"]}}"; }},
      {"repeatedMembersThatAreContainers", [] { return DataOf(R"("\u0061":[0])"); }},
      {"differentMembersForQt", [] { return DataOfNumbered("\\n", "\":0"); }},
      {"objectsOfAFewMembersForQt",
       [] { return ListOf(R"({"\n":0,"one member":12345678.25,"another":"a text of some length"})"); }},
      {"cutOff", [] { return ListOf(R"({"code":"sh600000","last":12.25})").substr(0, kAnswerSize - 100); }},
  };
  return answers;
}

// How the services read an answer and what they make of it up to the last view. Each holds as much as one of
// them at its end.
using Board = std::vector<StockMarketItem>;
using BoardReader = request::RecordReader<quotes::kBoardTable>;

struct HeldBoard {
  Board rows;  // shared by all who show it
  std::optional<request::CodeIndex<StockMarketItem>> index;
};

void ReadBoard(const Object& root, HeldBoard& board) {
  board.rows = BoardReader::ReadAll(root.ObjectAt("data").ArrayAt("list"));
  board.index.emplace(board.rows);
}

struct Flow {
  std::wstring symbol;
  std::uint64_t amounts[13] = {};
};
using Flows = std::map<std::wstring, std::shared_ptr<const Flow>>;

void ReadFlows(const Object& root, Flows& flows) {
  constexpr std::size_t kNode = 128;  // of the map, and of what is shared
  Budget budget;
  const Array list = root.ObjectAt("data").ArrayAt("list");
  budget.Require(list.Size(), sizeof(Flow) + sizeof(Flows::value_type) + kNode);
  list.ForEach([&](const Value& element) {
    Flow flow;
    element.AsObject().ForEach(
        [&flow](std::string_view key, const Value&) { flow.symbol = request::json::WideKey(key); });
    budget.Require(2, request::json::HeldBytes(flow.symbol));
    const std::wstring symbol = flow.symbol;
    flows[symbol] = std::make_shared<const Flow>(flow);
  });
}

struct Lines {
  std::list<StockMLineData> lines;
  std::list<StockMLineData> copy;
};

void ReadLines(const Object& root, Lines& lines) {
  constexpr std::size_t kNode = 64;
  Budget budget;
  root.ObjectAt("data").ForEach([&](std::string_view key, const Value& entry) {
    budget.Require(1, sizeof(StockMLineData) + kNode);
    StockMLineData& line = lines.lines.emplace_back();
    line.symbol = request::json::WideKey(key);
    budget.Require(1, request::json::HeldBytes(line.symbol));
    const auto read_day = [&](const Object& object) {
      const Array list = object.ArrayAt("list");
      budget.Require(list.Size(), sizeof(MinutePoint));
      MLineDay& day = line.days.emplace_back();
      day.points.resize(list.Size());
    };
    const Array days = entry.AsArray();
    budget.Require(days.Size() + 1, sizeof(MLineDay) + request::json::kAllocationOverhead);
    line.days.reserve(days.Size() + 1);
    read_day(entry.AsObject());
    days.ForEach([&](const Value& day) { read_day(day.AsObject()); });
  });
  lines.copy = lines.lines;
}

// Reads the document as a service does; false when its records would take too much.
template <class Held>
bool IsReadBy(void (*read)(const Object&, Held&), const Document& document) {
  try {
    Held held;
    read(document.Root(), held);
    return true;
  } catch (const TooMuchMemory&) {
    return false;
  }
}

void ReadByAll(const std::string& answer) {
  const Document document = Document::Parse(answer.data(), answer.size());
  IsReadBy(&ReadBoard, document);
  IsReadBy(&ReadFlows, document);
  IsReadBy(&ReadLines, document);
}

class HostileAnswerMemory : public testing::TestWithParam<Hostile> {};

TEST_P(HostileAnswerMemory, isLimited) {
  ReadByAll(R"({"\n":0,"data":{"list":[{"code":"sh600000"}]}})");  // what is made once and kept
  const std::string answer = GetParam().make();
  const std::size_t before = memory::Held();
  memory::StartPeak();
  ReadByAll(answer);
  const std::size_t peak = memory::Peak() - before;
  EXPECT_LE(peak, kMostMemory) << peak / kMebibyte << " MiB";
  EXPECT_EQ(memory::Held(), before) << "something is held on";
}

INSTANTIATE_TEST_SUITE_P(EachKind, HostileAnswerMemory, testing::ValuesIn(HostileAnswers()),
                         [](const auto& tested) { return tested.param.name; });

TEST(AnswerMemory, isNotTakenForRowsThatAreNoRows) {
  std::string answer = ListOf("0");
  answer = answer.substr(0, answer.find('[') + 1 + kMebibyte) + "0]}}";
  const Document document = Document::Parse(answer.data(), answer.size());
  ASSERT_EQ(document.Error(), 0);
  memory::StartPeak();
  const std::size_t before = memory::Held();
  EXPECT_FALSE(IsReadBy(&ReadBoard, document));
  EXPECT_LT(memory::Peak() - before, kMebibyte);
}

TEST(AnswerMemory, ofATextThatIsTooLargeIsNoneAndItsSyntaxUnknown) {
  for (const std::string& answer : {ListOf(Nested(1000, "[", "]")), ListOf("0") + "x"}) {
    const Document document = Document::Parse(answer.data(), answer.size());
    EXPECT_TRUE(document.TooLarge());
    EXPECT_NE(document.Error(), 0);
    EXPECT_EQ(document.Root().ObjectAt("data").ArrayAt("list").Size(), 0u);
  }
}

// A board of so many stocks with every member that a row may have.
std::string HonestBoard(std::size_t stocks) {
  std::string text = R"({"errno":0,"data":{"list":[)";
  for (std::size_t stock = 0; stock < stocks; ++stock) {
    text += stock == 0 ? "{" : ",{";
    std::string_view before;
    request::ForEachMember(quotes::kBoardTable, [&](const auto& line) {
      if (line.key == before) return;
      text += std::string(line.key == "code" ? "\"" : ",\"").append(line.key) + "\":";
      if (line.key == "code") {
        text += "\"sh" + std::to_string(600000 + stock) + "\"";
      } else if (line.key == "name") {
        text += "\"\xE8\x82\xA1\xE7\xA5\xA8\xE8\x82\xA1\xE7\xA5\xA8\"";
      } else {
        text += std::to_string(stock % 1000) + "." + std::to_string(10 + stock % 89);
      }
      before = line.key;
    });
    text += "}";
  }
  return text + "]}}";
}

TEST(AnswerMemory, isFarMoreThanAnHonestBoardNeeds) {
  std::string board = HonestBoard(10'000);
  ASSERT_GT(board.size(), 5 * kMebibyte);
  for (const char* const odd : {"", R"("\u0061":0,)"}) {  // read plainly, and by Qt
    board.insert(1, odd);
    const Document document = Document::Parse(board.data(), board.size());
    ASSERT_EQ(document.Error(), 0) << odd;
    Budget budget;
    EXPECT_EQ(BoardReader::ReadAll(document.Root().ObjectAt("data").ArrayAt("list"), budget).size(), 10'000u);
    EXPECT_GT(budget.Left(), request::json::kMostRecordMemory / 2) << odd;
  }
}

TEST(AnswerMemory, isOneBudgetForAllPiecesOfAnAnswer) {
  std::string answer = "[";
  for (int row = 0; row < 10'000; ++row) answer += R"({"last":0},)";
  answer += "0]";
  const Document document = Document::Parse(answer.data(), answer.size());
  Budget budget;
  const auto read = [&] { return BoardReader::ReadAll(document.RootArray(), budget).size(); };
  EXPECT_GT(read(), 10'000u);
  EXPECT_GT(read(), 10'000u);
  EXPECT_THROW(static_cast<void>(std::array{read(), read(), read()}), TooMuchMemory);
}

TEST(AnswerMemory, ofLongTextsIsNotKeptInRecordsThatAreUsedAgain) {
  const std::string hostile = R"([{"code":")" + std::string(kMebibyte, 'x') + R"("},{},{}])";
  const std::string honest = R"([{"code":"sh600000"},{"code":"sh600001"},{}])";
  std::vector<StockMarketItem> rows;
  for (const std::string& text : {hostile, honest}) {
    const Document document = Document::Parse(text.data(), text.size());
    BoardReader::ReadInto(rows, document.RootArray());
  }
  EXPECT_LT(rows[0].code.capacity(), 100u);
}

TEST(AnswerMemory, thatIsMissingIsAnExceptionAndNothingIsLost) {
  const std::string text =
      R"({"data":{"list":[{"code":"sh600000","b1p":1,"name":"a longer text"},{"code":"sh600001"},)"
      R"({"code":"another text","s5v":2}]}})";
  const std::string for_qt = R"({"l\u0061st":[1],"last":["a text of some length",{"a":2}],)" + text.substr(1);
  for (const std::string& answer : {text, for_qt}) {
    ReadByAll(answer);
    const std::size_t before = memory::Held();
    long allocations = 0;
    for (bool is_short = true; is_short; ++allocations) {
      {
        const FailingMemory failing(allocations, true);
        try {
          ReadByAll(answer);
        } catch (const std::bad_alloc&) {
          EXPECT_TRUE(FailingMemory::HasFailed());
        }
      }
      is_short = FailingMemory::HasFailed();
      EXPECT_EQ(memory::Held(), before) << allocations;
    }
    EXPECT_GT(allocations, 20);
  }
}

}  // namespace
