// Records from tables: every manner of reading, and what a missing, a strange and a repeated member does.
#include "json/record_reader.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "scripted_host.h"

namespace {

struct Row {
  std::wstring code = L"unset";
  double last = -1;
  float small = -1;
  double nullable = -1;
  std::uint32_t null_flags = 0;
  std::int32_t whole = -1;
  std::int32_t truncated = -1;
  std::uint64_t amount = 1;
  TickField<double> tick;
  TickField<std::uint64_t> volume;
  PlainField<double> plain;
  CountField count;
  TrendValue trend;
  std::vector<BookLevel<float>> prices;
  std::vector<BookLevel<std::uint32_t>> volumes;
  int unread = 5;  // by no line of the table

  bool operator==(const Row&) const = default;
};

constexpr auto kRowTable = request::TableOf<Row>(
    request::Read("code", &Row::code, request::Text{}), request::Read("last", &Row::last, request::Number{}),
    request::Read("small", &Row::small, request::Number{}),
    request::Read("nullable", &Row::nullable, request::NullableNumber<Row>{&Row::null_flags, 4U}),
    request::Read("whole", &Row::whole, request::Integer{}),
    request::Read("truncated", &Row::truncated, request::Truncated{}),
    request::Read("amount", &Row::amount, request::Amount{}),
    request::Read("tick", &Row::tick, request::Figure{}),
    request::Read("volume", &Row::volume, request::Figure{}),
    request::Read("plain", &Row::plain, request::Figure{}),
    request::Read("count", &Row::count, request::Figure{}),
    request::Read("trend", &Row::trend, request::Figure{}),
    request::Read("p1", "prices", &Row::prices, request::Level{0}),
    request::Read("p5", "prices", &Row::prices, request::Level{4}),
    request::Read("v2", "volumes", &Row::volumes, request::Level{1}));

Row RowOf(const std::string& text) {
  const auto document = request::json::Document::Parse(text.data(), text.size());
  EXPECT_EQ(document.Error(), 0) << text;
  Row row;
  request::RecordReader<kRowTable>::Fill(row, document.Root());
  return row;
}

TEST(RecordReader, leavesMembersAloneWhoseKeysAreMissing) {
  const Row row = RowOf("{}");
  EXPECT_EQ(row.code, L"unset");
  EXPECT_EQ(row.last, -1);
  EXPECT_EQ(row.amount, 1u);
  EXPECT_FALSE(row.tick.present);
  EXPECT_TRUE(row.prices.empty());
}

TEST(RecordReader, ignoresUnknownMembers) {
  const Row row = RowOf(R"({"unknown":1,"lastt":2,"las":3,"Last":4,"":5," last":6})");
  EXPECT_EQ(row.last, -1);
}

// Qt shows such a key without the mark, but does not find it so.
TEST(RecordReader, ignoresKeysWithAByteOrderMarkInFront) {
  EXPECT_EQ(RowOf("{\"\xEF\xBB\xBFlast\":2,\"\\ufeffwhole\":3}").last, -1);
  EXPECT_EQ(RowOf("{\"last\":1,\"\xEF\xBB\xBFlast\":2}").last, 1);
}

TEST(RecordReader, readsTexts) {
  EXPECT_EQ(RowOf("{\"code\":\"sh000001 \xE4\xB8\xAD\"}").code, L"sh000001 \x4E2D");
  EXPECT_EQ(RowOf(R"({"code":"\u4e2d\n"})").code, L"\x4E2D\n");
  for (const char* text : {R"({"code":5})", R"({"code":null})", R"({"code":["x"]})", R"({"code":true})"}) {
    EXPECT_EQ(RowOf(text).code, L"") << text;
  }
}

TEST(RecordReader, readsNumbersWithZeroForAnythingElse) {
  EXPECT_EQ(RowOf(R"({"last":3054.64})").last, 3054.64);
  EXPECT_EQ(RowOf(R"({"small":0.1})").small, 0.1F);
  for (const char* text : {R"({"last":"5"})", R"({"last":null})", R"({"last":[5]})", R"({"last":true})"}) {
    EXPECT_EQ(RowOf(text).last, 0.0) << text;
  }
}

TEST(RecordReader, setsTheNullBitForNullOnly) {
  const Row null = RowOf(R"({"nullable":null})");
  EXPECT_EQ(null.nullable, 0.0);
  EXPECT_EQ(null.null_flags, 4u);
  for (const char* text : {R"({"nullable":5})", R"({"nullable":"5"})", R"({"nullable":[]})", "{}"}) {
    EXPECT_EQ(RowOf(text).null_flags, 0u) << text;
  }
}

TEST(RecordReader, readsWholeNumbersWithZeroForAnythingElse) {
  EXPECT_EQ(RowOf(R"({"whole":12})").whole, 12);
  EXPECT_EQ(RowOf(R"({"whole":-12.0})").whole, -12);
  for (const char* text :
       {R"({"whole":5.5})", R"({"whole":3000000000})", R"({"whole":"5"})", R"({"whole":null})"}) {
    EXPECT_EQ(RowOf(text).whole, 0) << text;
  }
}

TEST(RecordReader, truncatesWhereTheTableSaysSo) {
  EXPECT_EQ(RowOf(R"({"truncated":5.9})").truncated, 5);
  EXPECT_EQ(RowOf(R"({"truncated":-5.9})").truncated, -5);
  EXPECT_EQ(RowOf(R"({"truncated":3000000000})").truncated, -2147483647 - 1);
  EXPECT_EQ(RowOf(R"({"truncated":null})").truncated, 0);
}

TEST(RecordReader, readsAmountsOverTheWholeRange) {
  EXPECT_EQ(RowOf(R"({"amount":9223372036854775808})").amount, 9223372036854775808u);
  EXPECT_EQ(RowOf(R"({"amount":-5})").amount, 18446744073709551611u);
  EXPECT_EQ(RowOf(R"({"amount":18446744073709551616})").amount, 0u);
  EXPECT_EQ(RowOf(R"({"amount":null})").amount, 0u);
}

TEST(RecordReader, marksFiguresPresentWhenTheirKeyIsThereNullIncluded) {
  const Row row = RowOf(R"({"tick":1.5,"volume":null,"plain":"x","count":7,"trend":2.5})");
  EXPECT_EQ(row.tick, (TickField<double>{1.5, true, 0}));
  EXPECT_EQ(row.volume, (TickField<std::uint64_t>{0, true, 0}));
  EXPECT_EQ(row.plain, (PlainField<double>{0.0, true}));
  EXPECT_EQ(row.count, (CountField{7, true}));
  EXPECT_EQ(row.trend, (TrendValue{2.5, true, 0}));
}

TEST(RecordReader, makesFiveLevelsOnceAnyLevelIsThere) {
  const Row row = RowOf(R"({"p5":9.5,"v2":4294967303})");
  ASSERT_EQ(row.prices.size(), 5u);
  EXPECT_FALSE(row.prices[0].present);
  EXPECT_EQ(row.prices[4], (BookLevel<float>{9.5F, true, 0}));
  ASSERT_EQ(row.volumes.size(), 5u);
  EXPECT_EQ(row.volumes[1], (BookLevel<std::uint32_t>{7, true, 0})) << "the low 32 bits";
}

TEST(RecordReader, takesTheLastOfRepeatedMembers) {
  EXPECT_EQ(RowOf(R"({"last":1,"last":2})").last, 2);
  EXPECT_EQ(RowOf(R"({"last":[1],"last":2})").last, 2);
  const Row number_last = RowOf(R"({"nullable":null,"nullable":3})");
  EXPECT_EQ(number_last.nullable, 3.0);
  EXPECT_EQ(number_last.null_flags, 0u);
  EXPECT_EQ(RowOf(R"({"nullable":3,"nullable":null})").null_flags, 4u);
}

TEST(RecordReader, knowsAKeyHoweverItIsWritten) {
  EXPECT_EQ(RowOf(R"({"l\u0061st":2})").last, 2);
}

TEST(RecordReader, makesOneRecordPerElement) {
  const std::string text = R"([{"last":1},5,null,[{"last":2}],{},{"last":3}])";
  const auto document = request::json::Document::Parse(text.data(), text.size());
  const std::vector<Row> rows = request::RecordReader<kRowTable>::ReadAll(document.RootArray());
  ASSERT_EQ(rows.size(), 6u);
  EXPECT_EQ(rows[0].last, 1);
  for (const std::size_t index : {1U, 2U, 3U, 4U}) EXPECT_EQ(rows[index].last, -1) << index;
  EXPECT_EQ(rows[5].last, 3);
}

// Rows that are alike are read by a short cut, which no row may be led astray by.
TEST(RecordReader, readsRowsOfOtherMembersAndOrdersAsEachAlone) {
  const std::vector<std::string> texts = {
      R"({"code":"a","last":1,"p1":2,"tick":3})",
      R"({"code":"b","last":4,"p1":5,"tick":6})",
      R"({"tick":7,"p1":8,"last":9,"code":"c"})",
      R"({"code":"d","new":[{"last":1}],"last":10,"p5":11,"tick":12,"v2":13})",
      R"({"code":"e","code":"f","last":14,"last":15})",
      R"({})",
      R"({"last":16,"l\u0061st":17,"code":"g"})",
      R"({"las":18,"lastt":19,"last":20,"cod":"h"})",
      R"({"code":"a","last":1,"p1":2,"tick":3})",
  };
  std::string all;
  for (const std::string& text : texts) all += (all.empty() ? "[" : ",") + text;
  all += "]";
  const auto document = request::json::Document::Parse(all.data(), all.size());
  const std::vector<Row> rows = request::RecordReader<kRowTable>::ReadAll(document.RootArray());
  ASSERT_EQ(rows.size(), texts.size());
  for (std::size_t row = 0; row < rows.size(); ++row) EXPECT_EQ(rows[row], RowOf(texts[row])) << texts[row];
}

TEST(RecordReader, leavesNothingOfRecordsThatAreUsedAgain) {
  const std::vector<std::string> answers = {
      R"([{"code":"a longer text","nullable":null,"p1":1,"v2":2,"tick":3},{"code":"another text","count":4}])",
      R"([{},{"last":5,"p5":6},{"code":"third"}])",
      R"([{"v2":7},5])",
      R"([{"p1":8}])",
      R"([])",
      R"([{"code":"back"}])",
  };
  std::vector<Row> rows;
  for (const std::string& text : answers) {
    const auto document = request::json::Document::Parse(text.data(), text.size());
    for (Row& row : rows) row.unread = 7;
    request::RecordReader<kRowTable>::ReadInto(rows, document.RootArray());
    EXPECT_EQ(rows, request::RecordReader<kRowTable>::ReadAll(document.RootArray())) << text;
  }
}

// Rows with every key of the table take another road than others: between them nothing may stay either.
TEST(RecordReader, leavesNothingWhenRowsWithEveryKeyFollowOthers) {
  const std::string rest =
      R"("last":1,"small":2,"nullable":null,"whole":3,"truncated":4.5,"amount":5,"tick":6,"volume":7,)"
      R"("plain":8,"count":9,"trend":10,"p1":11,"p5":12,"v2":13})";
  const std::string whole = R"({"code":"text",)" + rest;
  const std::string long_text(2000, 'x');
  const std::vector<std::string> answers = {
      "[" + whole + "," + whole + "]",
      R"([{"code":[1],"p1":{}},{"last":null}])",
      "[" + whole + "," + whole + "]",
      R"([{"last":5},{"last":6}])",
      "[" + whole + R"(,{"code":")" + long_text + R"("},)" + whole + "]",
      "[" + whole + "," + whole + "," + whole + "]",
      R"([{"code":{"code":1},)" + rest + "," + whole + "]",
      R"([{"code":"first","code":"again",)" + rest + "," + whole + "]",
  };
  std::vector<Row> rows;
  for (const std::string& text : answers) {
    const auto document = request::json::Document::Parse(text.data(), text.size());
    ASSERT_EQ(document.Error(), 0) << text;
    for (Row& row : rows) {
      row.tick.direction = -1;
      if (!row.prices.empty()) row.prices[4].direction = 1;
    }
    request::RecordReader<kRowTable>::ReadInto(rows, document.RootArray());
    for (std::size_t row = 0; row < rows.size(); ++row) {
      Row alone;
      request::RecordReader<kRowTable>::Fill(alone, document.RootArray().At(row).AsObject());
      EXPECT_EQ(rows[row], alone) << text;
      EXPECT_LE(rows[row].code.capacity(), std::max<std::size_t>(rows[row].code.size(), 500)) << text;
    }
  }
}

TEST(RecordReader, usesTheMemoryOfRecordsAgainUnlessItIsFarTooMuch) {
  const auto read = [](std::vector<Row>& rows, std::size_t count) {
    std::string text;
    for (std::size_t row = 0; row < count; ++row) {
      text += std::string(row == 0 ? "[" : ",") + R"({"code":"a longer text","p1":1,"v2":2})";
    }
    text += "]";
    const auto document = request::json::Document::Parse(text.data(), text.size());
    request::RecordReader<kRowTable>::ReadInto(rows, document.RootArray());
  };
  std::vector<Row> rows;
  read(rows, 100);
  const Row* const first = rows.data();
  const wchar_t* const code = rows[49].code.data();
  const BookLevel<float>* const prices = rows[49].prices.data();
  const BookLevel<std::uint32_t>* const volumes = rows[49].volumes.data();
  read(rows, 50);
  EXPECT_EQ(rows.data(), first);
  EXPECT_EQ(rows[49].code.data(), code);
  EXPECT_EQ(rows[49].prices.data(), prices);
  EXPECT_EQ(rows[49].volumes.data(), volumes);
  read(rows, 10);
  EXPECT_LE(rows.capacity(), 40u);
}

TEST(RecordTable, isWalkedInItsOrder) {
  std::vector<std::string> keys, names;
  request::ForEachMember(kRowTable, [&](const auto& line) {
    keys.emplace_back(line.key);
    names.emplace_back(line.name);
  });
  ASSERT_EQ(keys.size(), kRowTable.kSize);
  EXPECT_EQ(keys.front(), "code");
  EXPECT_EQ(names.front(), "code");
  EXPECT_EQ(keys.back(), "v2");
  EXPECT_EQ(names.back(), "volumes");
}

}  // namespace
