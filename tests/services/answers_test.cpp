// Every fetch against everything that can come in answer, with all twenty services alive: it writes exactly
// its lines, asks once, tells whom it should and nobody else, and after a failure the data that is held
// stays.
#include <gtest/gtest.h>

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QJsonParseError>
#include <optional>

#include "answers.h"
#include "fetches.h"

namespace {

// What an answer has to lead to.
enum class Content {
  kFailure,      // nothing is read
  kGood,         // what the good answer says
  kNothing,      // no payload
  kNullMembers,  // a payload whose texts and numbers are null
  kNullEntries,  // a payload whose entries are null
};

struct Step {
  std::string name;
  Answer answer;
  Content content = Content::kFailure;
  bool failed = false;
  std::optional<int> number = {};  // of the response line
  std::optional<int> code = {};    // of the parse line
};

QByteArray Bytes(const std::string& text) {
  return {text.data(), static_cast<int>(text.size())};
}

int ParseCode(const std::string& text) {
  QJsonParseError error{};
  QJsonDocument::fromJson(Bytes(text), &error);
  EXPECT_NE(error.error, QJsonParseError::NoError) << text;
  return error.error;
}

QJsonObject Parsed(const std::string& text) {
  return QJsonDocument::fromJson(Bytes(text)).object();
}

std::string Text(const QJsonObject& object) {
  return QJsonDocument(object).toJson(QJsonDocument::Compact).toStdString();
}

// `value` with `replace` in place of what stands at the end of `path`; undefined takes it away.
QJsonObject With(QJsonObject object, const std::vector<std::string>& path, const QJsonValue& replace,
                 std::size_t depth = 0) {
  const QString key = QString::fromStdString(path[depth]);
  if (depth + 1 < path.size()) {
    object[key] = With(object[key].toObject(), path, replace, depth + 1);
  } else if (replace.isUndefined()) {
    object.remove(key);
  } else {
    object[key] = replace;
  }
  return object;
}

QJsonValue At(const QJsonObject& object, const std::vector<std::string>& path) {
  QJsonValue value = object;
  for (const std::string& key : path) value = value.toObject()[QString::fromStdString(key)];
  return value;
}

// Every text, number and truth of `value` as null.
QJsonValue NullMembers(const QJsonValue& value) {
  if (value.isArray()) {
    QJsonArray nulled;
    for (const auto& element : value.toArray()) nulled.append(NullMembers(element));
    return nulled;
  }
  if (value.isObject()) {
    QJsonObject nulled;
    const QJsonObject object = value.toObject();
    for (const QString& key : object.keys()) nulled[key] = NullMembers(object[key]);
    return nulled;
  }
  return QJsonValue::Null;
}

QJsonValue NullEntries(const QJsonValue& value) {
  if (value.isArray()) {
    QJsonArray nulled;
    for (int left = value.toArray().size(); left > 0; --left) nulled.append(QJsonValue::Null);
    return nulled;
  }
  if (value.isObject()) {
    QJsonObject nulled;
    for (const QString& key : value.toObject().keys()) nulled[key] = QJsonValue::Null;
    return nulled;
  }
  return QJsonValue::Null;
}

// `good` with that text as its error number.
std::string WithNumber(const std::string& good, const std::string& number) {
  const std::string bare = Text(With(Parsed(good), {"errno"}, QJsonValue::Undefined));
  return R"({"errno":)" + number + "," + bare.substr(1);
}

// No answer, or one with another status. Whoever parses everything goes on with the body.
void AddTransportFailures(const FetchCase& fetch, std::vector<Step>& steps) {
  const std::string error = WithNumber(fetch.good, "7");
  const std::string page = "<html>";
  const int empty = ParseCode("");
  const bool all = fetch.parses_all;
  const auto only = [all](int number) { return all ? std::optional(number) : std::nullopt; };
  const auto add = [&steps](Step step) {
    step.failed = true;
    steps.push_back(std::move(step));
  };
  add({.name = "no answer", .answer = Answer::Failed(), .code = only(empty)});
  add({.name = "an empty body with another status", .answer = Answer::Failed(""), .code = only(empty)});
  add({.name = "a page with another status", .answer = Answer::Failed(page), .code = only(ParseCode(page))});
  add({.name = "an error number with another status", .answer = Answer::Failed(error), .number = only(7)});
  add({.name = "data with another status",
       .answer = Answer::Failed(fetch.good),
       .content = all ? Content::kGood : Content::kFailure});
}

void AddEmptyBodies(const FetchCase& fetch, std::vector<Step>& steps) {
  const auto code = fetch.parses_all ? std::optional(ParseCode("")) : std::nullopt;
  steps.push_back({.name = "an empty body", .answer = Answer::Body(""), .code = code});
  steps.push_back({.name = "no body", .answer = Answer::Null(), .code = code});
}

void AddErrorNumbers(const FetchCase& fetch, std::vector<Step>& steps) {
  for (const int number : {1001, -1, 2147483647}) {
    const std::string text = std::to_string(number);
    steps.push_back({.name = "error number " + text + " with data",
                     .answer = Answer::Body(WithNumber(fetch.good, text)),
                     .number = number});
    steps.push_back({.name = "error number " + text + " alone",
                     .answer = Answer::Body(R"({"errno":)" + text + "}"),
                     .number = number});
  }
  for (const char* const number : {"0", "\"7\"", "5.5", "3000000000", "true", "null", "[7]"}) {
    steps.push_back({.name = std::string("no error number: ") + number,
                     .answer = Answer::Body(WithNumber(fetch.good, number)),
                     .content = Content::kGood});
  }
}

void AddParseErrors(const FetchCase& fetch, std::vector<Step>& steps) {
  const std::string& good = fetch.good;
  const std::string deep = R"({"data":)" + std::string(1100, '[') + std::string(1100, ']') + "}";
  for (const std::string& body :
       {std::string("?"), std::string("{"), std::string("["), std::string(" "), std::string("7"),
        std::string("null"), std::string("\"text\""), std::string(R"({"data")"), std::string(R"({"data":})"),
        std::string(R"({"data":1e})"), std::string(R"({"data":"\)"), std::string("{\"data\":\"\xff\"}"),
        good.substr(0, good.size() - 1), good.substr(0, good.size() / 2), good + "}", good + good, deep,
        std::string(1, '\0') + good}) {
    steps.push_back(
        {.name = "no JSON: " + body.substr(0, 40), .answer = Answer::Body(body), .code = ParseCode(body)});
  }
}

// A root of another type, and the payload or what it stands in missing, null or of another type.
void AddMissingPayloads(const FetchCase& fetch, std::vector<Step>& steps) {
  const auto add = [&steps](const std::string& name, const std::string& body) {
    steps.push_back({.name = name, .answer = Answer::Body(body), .content = Content::kNothing});
  };
  add("an array", "[]");
  add("an array with the answer in it", "[" + fetch.good + "]");
  add("an empty object", "{}");
  const QJsonObject good = Parsed(fetch.good);
  std::vector<std::string> path;
  for (const std::string& key : fetch.payload) {
    path.push_back(key);
    const bool last = path.size() == fetch.payload.size();
    const char type = last ? fetch.type : '{';
    add("without " + key, Text(With(good, path, QJsonValue::Undefined)));
    for (const QJsonValue& other : {QJsonValue(QJsonValue::Null), QJsonValue(7.5), QJsonValue(true)}) {
      add(key + " of another type", Text(With(good, path, other)));
    }
    if (type != '"') add(key + " as a text", Text(With(good, path, QStringLiteral("x"))));
    if (type != '[') add(key + " as an array", Text(With(good, path, QJsonArray{QJsonObject()})));
    if (type != '{')
      add(key + " as an object", Text(With(good, path, QJsonObject{{QStringLiteral("x"), QJsonObject()}})));
  }
}

void AddNulls(const FetchCase& fetch, std::vector<Step>& steps) {
  const QJsonObject good = Parsed(fetch.good);
  steps.push_back({.name = "null members",
                   .answer = Answer::Body(Text(NullMembers(good).toObject())),
                   .content = Content::kNullMembers});
  steps.push_back(
      {.name = "null entries",
       .answer = Answer::Body(Text(With(good, fetch.payload, NullEntries(At(good, fetch.payload))))),
       .content = Content::kNullEntries});
}

std::vector<Step> StepsOf(const FetchCase& fetch) {
  std::vector<Step> steps;
  AddTransportFailures(fetch, steps);
  AddEmptyBodies(fetch, steps);
  AddErrorNumbers(fetch, steps);
  AddParseErrors(fetch, steps);
  AddMissingPayloads(fetch, steps);
  AddNulls(fetch, steps);
  return steps;
}

class EveryFetch : public ::testing::TestWithParam<FetchCase> {
 protected:
  // Answers one fetch, everything else that is asked on the way well; then looks at the lines and at who was
  // told.
  void Take(const Step& step) {
    SCOPED_TRACE(std::string(fetch.name) + ": " + step.name);
    all.host.Expect(Script(fetch.path).Setting(fetch.setting).Inline(step.answer));
    answers::Allow(all.host, fetch.path);
    all.host.Allow(Script("/kql").Inline(Answer::Body("{}")));
    ExpectLines(step);
    const std::size_t lines = all.host.Log().size();
    const std::size_t told = all.Told();
    const std::size_t holidays = all.host.HolidayCalls().size();

    fetch.fetch(all);

    EXPECT_EQ(all.host.RequestsTo(fetch.path).back().kind, fetch.kind);
    EXPECT_EQ(all.host.Log().size() - lines, expected_lines_);
    const bool loads_holidays = std::string(fetch.path) != answers::kHolidayPath;
    EXPECT_EQ(all.Told() - told, Told(step) + (loads_holidays ? Holidays(holidays) : 0));
    if (step.content == Content::kFailure && fetch.keeps) {
      EXPECT_TRUE(fetch.keeps(all)) << "what was held is gone";
    }
    for (const std::string& problem : all.host.TakeProblems()) ADD_FAILURE() << problem;
  }

  void ExpectLines(const Step& step) {
    expected_lines_ = 0;
    if (step.failed && !fetch.lines.failed.empty()) {
      all.host.ExpectFailureLine(fetch.lines.failed);
      ++expected_lines_;
    }
    const auto expect = [this](const std::wstring& format, int number) {
      all.host.ExpectCodeLine(format, number);
      ++expected_lines_;
    };
    if (step.number) expect(fetch.lines.response_error, *step.number);
    if (step.code) expect(fetch.lines.parse_error, *step.code);
    const bool nulls = step.content == Content::kNullMembers || step.content == Content::kNullEntries;
    if (nulls && !fetch.null_line.empty()) expect(fetch.null_line, 1);
  }

  [[nodiscard]] std::size_t Told(const Step& step) const {
    switch (step.content) {
      case Content::kFailure:
        return fetch.told_by_failure ? fetch.audience : 0;
      case Content::kNothing:
        return fetch.told_by_nothing ? fetch.audience : 0;
      case Content::kNullEntries:
        return fetch.told_by_null_entries ? fetch.audience : 0;
      case Content::kNullMembers:
        return fetch.null_line.empty() ? fetch.audience : 0;
      default:
        return fetch.audience;
    }
  }

  // A load of the reference data sets the holidays, too.
  [[nodiscard]] std::size_t Holidays(std::size_t before) const {
    return all.host.HolidayCalls().size() - before;
  }

  Step Good() const {
    return {.name = "the good answer", .answer = Answer::Body(fetch.good), .content = Content::kGood};
  }

  const FetchCase& fetch = GetParam();
  AllServices all;

 private:
  std::size_t expected_lines_ = 0;
};

TEST_P(EveryFetch, writesExactlyItsLinesAndKeepsItsData) {
  Take(Good());
  for (const Step& step : StepsOf(fetch)) {
    Take(step);
    if (step.content != Content::kFailure) {
      Take(Good());
      EXPECT_TRUE(!fetch.keeps || fetch.keeps(all)) << fetch.name << ": " << step.name;
    }
  }
}

TEST_P(EveryFetch, sendsNothingWithoutAnAddress) {
  all.host.SignNothing(true);
  fetch.fetch(all);
  EXPECT_TRUE(all.host.RequestsTo(fetch.path).empty());
  EXPECT_EQ(all.Told(), 0U);
}

INSTANTIATE_TEST_SUITE_P(Answers, EveryFetch, ::testing::ValuesIn(AllFetches()),
                         [](const auto& each) { return std::string(each.param.name); });

// Two requests on their way at once.
class EveryAsynchronousFetch : public EveryFetch {
 protected:
  void SetUp() override {
    all.host.Expect(Script(fetch.path).Times(2).Held());
    answers::Allow(all.host, fetch.path);
    all.host.Allow(Script("/kql").Inline(Answer::Body("{}")));
    for (int request = 0; request < 2; ++request) fetch.fetch(all);
    held_ = all.host.HeldRequests();
    ASSERT_EQ(held_.size(), 2U);
    told_ = all.Told();
  }
  void Complete(std::size_t request, const Answer& answer) {
    fetch.showing(all, [&] { all.host.Complete(held_[request], answer); });
  }
  [[nodiscard]] std::size_t ToldSince() const { return all.Told() - told_; }

 private:
  std::vector<std::size_t> held_;
  std::size_t told_ = 0;
};

TEST_P(EveryAsynchronousFetch, dropsAnOlderAnswerThatComesLast) {
  Complete(1, Answer::Body(fetch.good));
  EXPECT_EQ(ToldSince(), fetch.audience);
  Complete(0, Answer::Body(fetch.good));
  EXPECT_EQ(ToldSince(), fetch.audience * (fetch.direct && !fetch.latest_only ? 2 : 1));
}

TEST_P(EveryAsynchronousFetch, dropsAnOlderAnswerThatComesFirstOrTellsIt) {
  Complete(0, Answer::Body(fetch.good));
  EXPECT_EQ(ToldSince(), fetch.latest_only ? 0 : fetch.audience);
  Complete(1, Answer::Body(fetch.good));
  EXPECT_EQ(ToldSince(), fetch.audience * (fetch.latest_only ? 1 : 2));
}

TEST_P(EveryAsynchronousFetch, writesTheFailureOfAnOlderRequest) {
  all.host.ExpectFailureLine(fetch.lines.failed);
  if (fetch.parses_all) all.host.ExpectCodeLine(fetch.lines.parse_error, ParseCode(""));
  Complete(0, Answer::Failed());
  EXPECT_EQ(ToldSince(), fetch.told_by_failure ? fetch.audience : 0);
  Complete(1, Answer::Body(fetch.good));
}

TEST_P(EveryAsynchronousFetch, writesAnErrorOfAnOlderRequestUnlessItIsDropped) {
  if (!fetch.latest_only) {
    all.host.ExpectCodeLine(fetch.lines.response_error, 7);
    all.host.ExpectCodeLine(fetch.lines.parse_error, ParseCode("?"));
  }
  Complete(0, Answer::Body(R"({"errno":7})"));
  if (!fetch.latest_only) Complete(1, Answer::Body("?"));
  EXPECT_EQ(ToldSince(), fetch.told_by_failure ? 2 * fetch.audience : 0);
}

std::vector<FetchCase> Asynchronous() {
  std::vector<FetchCase> fetches;
  for (const FetchCase& fetch : AllFetches()) {
    if (fetch.kind == Request::Kind::kAsync) fetches.push_back(fetch);
  }
  return fetches;
}

INSTANTIATE_TEST_SUITE_P(Answers, EveryAsynchronousFetch, ::testing::ValuesIn(Asynchronous()),
                         [](const auto& each) { return std::string(each.param.name); });

}  // namespace
