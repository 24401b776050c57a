// Records as rows of a table and as JSON, after their tables.
#include "cli/format/record_rows.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <vector>

#include "cli/format/sheet.h"

namespace cli {
namespace {

struct Record {
  std::wstring name;
  TickField<double> last;
  TickField<double> diff;
  TickField<std::uint64_t> vol;
  PlainField<double> pe;
  CountField count;
  TrendValue trend;
  double plain = 0;
  double nullable = 0;
  std::uint32_t null_flags = 0;
  stock::StockStatus status = stock::kStockNormal;
  std::vector<BookLevel<float>> prices;
};

constexpr auto kTable = [] {
  using namespace request;
  return TableOf<Record>(Read("n", "name", &Record::name, Text{}), Read("last", &Record::last, Figure{}),
                         Read("diff", &Record::diff, Figure{}), Read("vol", &Record::vol, Figure{}),
                         Read("pe", &Record::pe, Figure{}), Read("count", &Record::count, Figure{}),
                         Read("trend", &Record::trend, Figure{}), Read("plain", &Record::plain, Number{}),
                         Read("nullable", &Record::nullable, NullableNumber<Record>{&Record::null_flags, 4}),
                         Read("status", &Record::status, StatusText{}),
                         Read("p1", "prices", &Record::prices, Level{0}),
                         Read("p2", "prices", &Record::prices, Level{1}));
}();

Cell CellFor(const Record& record, const MemberColumn& column) {
  return CellsOf(kTable, record, std::span(&column, 1)).front();
}

TEST(RecordRows, writeEachFigureByItsMeaning) {
  Record record;
  record.name = L"上证";
  record.pe = {12.345, true};
  record.plain = -1234567;
  const auto text = [&](std::string_view member, Writing writing) {
    return CellFor(record, {member, writing}).text;
  };
  EXPECT_EQ(text("name", Writing::kText), "上证");
  EXPECT_EQ(text("pe", Writing::kPrice), "12.35");
  EXPECT_EQ(text("pe", Writing::kSignedPrice), "+12.35");
  EXPECT_EQ(text("pe", Writing::kPercent), "12.35%");
  EXPECT_EQ(text("pe", Writing::kSignedPercent), "+12.35%");
  EXPECT_EQ(text("plain", Writing::kAmount), "-123.5万");
  EXPECT_EQ(text("plain", Writing::kWhole), "-1,234,567");
  EXPECT_EQ(text("status", Writing::kWhole), "0");
}

TEST(RecordRows, showWhatIsAbsentAsSuch) {
  Record record;
  record.pe = {5, false};
  record.null_flags = 4;
  EXPECT_EQ(CellFor(record, {"pe", Writing::kPrice}).text, "--");
  EXPECT_EQ(CellFor(record, {"count", Writing::kWhole}).text, "--");
  EXPECT_EQ(CellFor(record, {"nullable", Writing::kPrice}).text, "--");
  EXPECT_EQ(CellFor(record, {"last", Writing::kPrice}).text, "-- ") << "below a figure with room for a mark";
  EXPECT_EQ(CellFor(record, {"trend", Writing::kPrice}).text, "-- ");
  EXPECT_EQ(CellFor(record, {"no such member", Writing::kPrice}).text, "--");
  EXPECT_EQ(CellFor(record, {"pe", Writing::kSignedPrice}).tone, Tone::kPlain);
  record.plain = std::numeric_limits<double>::quiet_NaN();
  EXPECT_EQ(CellFor(record, {"plain", Writing::kPrice}).text, "--");
}

TEST(RecordRows, markWhatMoved) {
  Record record;
  record.last = {10, true, 1};
  record.vol = {500, true, -1};
  record.trend = {3, true, 1};
  EXPECT_EQ(CellFor(record, {"last", Writing::kPrice}).text, "10.00▴");
  EXPECT_EQ(CellFor(record, {"vol", Writing::kAmount}).text, "500▾");
  EXPECT_EQ(CellFor(record, {"trend", Writing::kPrice}).text, "3.00▴");
  record.last.direction = 0;
  EXPECT_EQ(CellFor(record, {"last", Writing::kPrice}).text, "10.00 ");
}

TEST(RecordRows, marksTakeOneColumn) {
  EXPECT_EQ(DisplayWidth(kRose), 1);
  EXPECT_EQ(DisplayWidth(kFell), 1);
}

TEST(RecordRows, haveTheToneOfTheirSignOrOfTheirMovement) {
  Record record;
  record.last = {10, true, 1};
  record.diff = {-0.5, true, 0};
  record.vol = {500, true, -1};
  EXPECT_EQ(CellFor(record, {"diff", Writing::kSignedPrice}).tone, Tone::kFall);
  EXPECT_EQ(CellFor(record, {"last", Writing::kPrice}).tone, Tone::kRise);
  EXPECT_EQ(CellFor(record, {"vol", Writing::kAmount}).tone, Tone::kFall);
  EXPECT_EQ(CellFor(record, {"last", Writing::kPrice, 0, "diff"}).tone, Tone::kFall);
  record.diff.present = false;
  EXPECT_EQ(CellFor(record, {"last", Writing::kPrice, 0, "diff"}).tone, Tone::kPlain);
}

TEST(RecordRows, escapeWhatTheServerSays) {
  Record record;
  record.name = L"a\x1b[31m";
  EXPECT_EQ(CellFor(record, {"name", Writing::kText}).text, "a\\u{1b}[31m");
}

TEST(RecordRows, haveColumnsNamedLikeTheirMembers) {
  const MemberColumn columns[] = {{"name", Writing::kText, 8}, {"last", Writing::kPrice}};
  const std::vector<Column> made = ColumnsOf(columns);
  ASSERT_EQ(made.size(), 2U);
  EXPECT_EQ(made[0].title, "name");
  EXPECT_EQ(made[0].align, Align::kLeft);
  EXPECT_EQ(made[0].min_width, 8);
  EXPECT_EQ(made[1].align, Align::kRight);
}

std::string JsonOf(const Record& record) {
  JsonWriter json;
  json.Object([&] { WriteMembers(json, kTable, record); });
  return json.Text();
}

TEST(RecordJson, writesNullForWhatIsAbsent) {
  EXPECT_EQ(JsonOf({}),
            R"({"name":"","last":null,"diff":null,"vol":null,"pe":null,"count":null,"trend":null,"plain":0,)"
            R"("nullable":0,"status":0,"prices":[],"directions":{},"null_flags":0})");
}

TEST(RecordJson, writesEveryDigitAndWhatMoved) {
  Record record;
  record.name = L"上";
  record.last = {10.25, true, -1};
  record.vol = {18446744073709551615ULL, true, 1};
  record.pe = {3, true};
  record.count = {-2, true};
  record.trend = {0.1, true, 1};
  record.null_flags = 4;
  record.status = static_cast<stock::StockStatus>(3);
  record.prices = {{10.11F, true, 0}, {10.1F, false, 0}};
  EXPECT_EQ(
      JsonOf(record),
      R"({"name":"上","last":10.25,"diff":null,"vol":18446744073709551615,"pe":3,"count":-2,"trend":0.1,)"
      R"("plain":0,"nullable":null,"status":3,"prices":[10.11,null],)"
      R"("directions":{"last":-1,"vol":1,"trend":1},"null_flags":4})");
  record.prices[1].direction = -1;
  EXPECT_NE(JsonOf(record).find(R"("prices":[0,-1]})"), std::string::npos);
}

}  // namespace
}  // namespace cli
