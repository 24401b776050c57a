#include "question.h"

#include <rapidjson/document.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <algorithm>
#include <charconv>
#include <limits>
#include <map>
#include <utility>

#include "host/clock.h"

namespace stock_host {
namespace {

using rapidjson::Document;
using rapidjson::Value;
using Parameters = std::map<std::string, std::string, std::less<>>;

constexpr std::int64_t kToTheEnd = std::numeric_limits<std::int64_t>::max();
// A date of fewer digits is a day; of more, a moment in Unix seconds.
constexpr std::int64_t kLargestDay = 99'999'999;

std::string Decoded(std::string_view text) {
  std::string decoded;
  for (std::size_t i = 0; i < text.size(); ++i) {
    unsigned char byte = 0;
    if (text[i] == '%' && i + 2 < text.size() &&
        std::from_chars(text.data() + i + 1, text.data() + i + 3, byte, 16).ptr == text.data() + i + 3) {
      decoded += static_cast<char>(byte);
      i += 2;
    } else {
      decoded += text[i];
    }
  }
  return decoded;
}

Parameters ParametersOf(std::string_view query) {
  Parameters parameters;
  while (!query.empty()) {
    const std::string_view pair = query.substr(0, query.find('&'));
    query.remove_prefix(std::min(pair.size() + 1, query.size()));
    const std::size_t equals = std::min(pair.find('='), pair.size());
    parameters.emplace(Decoded(pair.substr(0, equals)),
                       Decoded(pair.substr(std::min(equals + 1, pair.size()))));
  }
  return parameters;
}

std::optional<std::int64_t> NumberIn(std::string_view text) {
  std::int64_t number = 0;
  const auto [rest, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  return error == std::errc() && rest == text.data() + text.size() ? std::optional(number) : std::nullopt;
}

// Takes a number out of the parameters.
std::optional<std::int64_t> Take(Parameters& parameters, std::string_view name) {
  const auto found = parameters.find(name);
  const auto number = found == parameters.end() ? std::nullopt : NumberIn(found->second);
  if (number) {
    parameters.erase(found);
  }
  return number;
}

bool Parse(Document& document, const std::string& text) {
  document.Parse<rapidjson::kParseIterativeFlag>(text.data(), text.size());
  return !document.HasParseError();
}

std::string Written(const Value& value) {
  rapidjson::StringBuffer buffer;
  rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
  value.Accept(writer);
  return {buffer.GetString(), buffer.GetSize()};
}

std::optional<std::vector<std::string>> SymbolsIn(const std::string& text) {
  Document list;
  if (!Parse(list, text) || !list.IsArray()) {
    return std::nullopt;
  }
  std::vector<std::string> symbols;
  for (const Value& symbol : list.GetArray()) {
    if (!symbol.IsString()) {
      return std::nullopt;
    }
    symbols.emplace_back(symbol.GetString(), symbol.GetStringLength());
  }
  return symbols;
}

// A history query without what only says how much of the series is wanted.
bool TakeHistory(Parameters& parameters, Question& question) {
  const auto text = parameters.find("q");
  Document query;
  if (text == parameters.end() || !Parse(query, text->second) || !query.IsObject() ||
      query.MemberCount() != 1) {
    return false;
  }
  Value& terms = query.MemberBegin()->value;
  if (!terms.IsArray() || terms.Size() != 2 || !terms[1].IsObject() || !terms[1].HasMember("limit") ||
      !terms[1]["limit"].IsInt64()) {
    return false;
  }
  question.part = Question::Part::kNewest;
  question.end = terms[1]["limit"].GetInt64();
  terms[1].RemoveMember("limit");
  terms[1].RemoveMember("mtime");
  text->second = Written(query);
  return true;
}

void TakePart(Parameters& parameters, Question& question) {
  using Part = Question::Part;
  if (const auto list = parameters.find("stock_arr"); list != parameters.end()) {
    if (auto symbols = SymbolsIn(list->second)) {
      question.part = Part::kSymbols;
      question.symbols = *std::move(symbols);
      parameters.erase(list);
    }
  } else if (parameters.contains("start") && parameters.contains("end")) {
    question.part = Part::kRows;
    question.first = std::max<std::int64_t>(Take(parameters, "start").value_or(0), 0);
    question.end = Take(parameters, "end").value_or(-1);
    question.end = question.end < 0 ? kToTheEnd : question.end;
  } else if (const auto num = Take(parameters, "num")) {
    question.part = Part::kRows;
    question.end = *num;
  } else if (const auto days = Take(parameters, "rn")) {
    question.part = Part::kNewest;
    question.end = *days;
  }
}

// The rows of an answer: its "data" or the list in it, or the only series in it.
Value* RowsOf(Question::Part part, Document& answer) {
  if (!answer.IsObject() || !answer.HasMember("data")) {
    return nullptr;
  }
  Value* rows = &answer["data"];
  if (part == Question::Part::kNewest && rows->IsObject() && rows->MemberCount() == 1) {
    rows = &rows->MemberBegin()->value;
  }
  if (rows->IsObject() && rows->HasMember("list")) {
    rows = &(*rows)["list"];
  }
  return rows->IsArray() ? rows : nullptr;
}

bool IsOf(const Value& row, const std::string& symbol) {
  return row.IsObject() &&
         (row.HasMember(symbol.c_str()) ||
          (row.HasMember("code") && row["code"].IsString() && row["code"].GetString() == symbol));
}

}  // namespace

Question QuestionOf(std::string_view request) {
  const std::size_t mark = std::min(request.find('?'), request.size());
  Question question{std::string(request.substr(0, mark))};
  Parameters parameters = ParametersOf(request.substr(std::min(mark + 1, request.size())));
  if (!TakeHistory(parameters, question)) {
    TakePart(parameters, question);
  }
  char before = '?';
  for (auto& [name, value] : parameters) {
    if (const auto moment = NumberIn(value); name == "date" && moment && *moment > kLargestDay) {
      value = std::to_string(common::TimeToDate(*moment));
    }
    question.subject.append(1, std::exchange(before, '&')).append(name).append("=").append(value);
  }
  return question;
}

std::optional<std::int64_t> CountRows(const Question& question, const std::string& answer) {
  Document document;
  const Value* const rows = Parse(document, answer) ? RowsOf(question.part, document) : nullptr;
  return rows == nullptr ? std::nullopt : std::optional(static_cast<std::int64_t>(rows->Size()));
}

std::optional<std::string> CutOut(const Question& recorded, const Question& asked,
                                  const std::string& answer) {
  Document document;
  Value* const rows = Parse(document, answer) ? RowsOf(recorded.part, document) : nullptr;
  if (rows == nullptr) {
    return std::nullopt;
  }
  const auto place = [size = static_cast<std::int64_t>(rows->Size())](std::int64_t row) {
    return static_cast<rapidjson::SizeType>(std::clamp<std::int64_t>(row, 0, size));
  };
  const bool newest = recorded.part == Question::Part::kNewest;
  const auto begin = place(newest ? rows->Size() - asked.end : asked.first - recorded.first);
  const auto end = newest ? rows->Size() : place(asked.end - recorded.first);
  rows->Erase(rows->Begin() + std::max(begin, end), rows->End());
  rows->Erase(rows->Begin(), rows->Begin() + begin);
  return Written(document);
}

std::optional<std::string> PutTogether(const std::vector<std::string>& symbols,
                                       const std::vector<const std::string*>& answers) {
  std::map<const std::string*, Document> read;
  for (const std::string* const answer : answers) {
    const auto [found, is_new] = read.try_emplace(answer);
    if (is_new && (!Parse(found->second, *answer) || !found->second.IsObject() ||
                   !found->second.HasMember("data") || !found->second["data"].IsObject())) {
      return std::nullopt;
    }
  }
  Document& whole = read.at(answers.front());
  auto& memory = whole.GetAllocator();
  const bool listed = whole["data"].HasMember("list");
  Value list(rapidjson::kArrayType);
  Value members(rapidjson::kObjectType);
  for (std::size_t i = 0; i < symbols.size(); ++i) {
    Value& data = read.at(answers[i])["data"];
    if (data.HasMember("list") && data["list"].IsArray()) {
      const auto rows = data["list"].GetArray();
      const auto* const row =
          std::find_if(rows.Begin(), rows.End(), [&](const Value& one) { return IsOf(one, symbols[i]); });
      if (row != rows.End()) {
        list.PushBack(Value(*row, memory), memory);
      }
    } else if (data.HasMember(symbols[i].c_str())) {
      members.AddMember(Value(symbols[i].c_str(), memory), Value(data[symbols[i].c_str()], memory), memory);
    }
  }
  if (listed) {
    whole["data"]["list"] = list;
  } else {
    whole["data"] = members;
  }
  return Written(whole);
}

}  // namespace stock_host
