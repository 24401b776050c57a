#include "driven_client.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "answers.h"
#include "host/clock.h"
#include "reference/stock_common_service.h"

namespace client_test {
namespace {

constexpr const char* kSymbols[] = {"sh600000", "sz000001"};

}  // namespace

std::int64_t DrivenClient::Instant(std::uint32_t date, int hour, int minute, int second) {
  return common::DateToTime(date, hour, minute, second);
}

DrivenClient::DrivenClient(World world, std::uint32_t date, int hour, int minute, int second)
    : world_(std::move(world)) {
  host_.SetWatchList({L"sh600000", L"sz000001", L"sz300001"});
  MoveTo(Instant(date, hour, minute, second));
  AnswerEverything();
  AddReferenceData();
  counts_.clear();
}

DrivenClient::~DrivenClient() {
  for (const auto& feed : feeds_) {
    feed->Detach();
  }
  DestroyStockMarket();
}

void DrivenClient::MoveTo(std::int64_t instant) {
  now_ = instant;
  host_.SetTime(instant);
}

void DrivenClient::Answer(const std::string& path, std::function<std::string()> body) {
  host_.Allow(Script(path).Inline([this, path, body = std::move(body)](const Request&) {
    ++counts_[counted_][path];
    return ::Answer::Body(body());
  }));
}

void DrivenClient::AnswerEverything() {
  for (const char* const path :
       {"/pc/rt/stock_detail_list", "/pc/rt/get", "/pc/rt/get_bk_detail", "/pc/rt/get_bk_zone_list",
        "/pc/rt/get_stock_rank", "/pc/rt/stock_five_change", "/pc/rt/get_bk_rank", "/pc/rt/get_day_time",
        "/pc/rt/get_day_kline", "/pc/monitor/get_monitor", "/pc/rt/stock_in_out", "/pc/rt/stock_min_num",
        "/pc/rt/stock_distribute_num", "/pc/rt/stock_min_average", "/pc/rt/stock_trade", "/pc/rt/stock_buy",
        "/kql"}) {
    Answer(path, [] { return R"({"errno":0,"data":{}})"; });
  }
  Answer(answers::kBasicInfoPath, [] { return answers::kBasicInfo; });
  Answer(answers::kPlateListPath, [] { return answers::kPlateList; });
  Answer(answers::kIndexListPath, [] { return answers::kIndexList; });
  Answer(answers::kInPlatesPath, [] { return answers::kInPlates; });
  Answer(answers::kHolidayPath, [this] {
    std::string days;
    for (const std::string& day : world_.holidays) {
      days += (days.empty() ? "\"" : ",\"") + day + "\"";
    }
    return R"({"errno":0,"data":{"list":[)" + days + "]}}";
  });
  const auto version = [this] { return world_.version(now_); };
  Answer(answers::kVersionPath, [version] { return R"({"errno":0,"version":")" + version() + "\"}"; });
  Answer(answers::kMetadataPath, [version] {
    std::string text = "version:" + version() + "\n";
    for (const std::string symbol : kSymbols) {
      text += symbol + ":{\"d\":{\"b\":1}}\n";
    }
    return Gzip(text);
  });
  // Packages of every version that may be announced, each up to its own day.
  for (const std::string symbol : kSymbols) {
    for (const std::string date : {"20240313", "20240314", "20240402"}) {
      Answer("/kline." + symbol + ".day.bfq." + date + ".gzip",
             [date] { return Gzip("[" + date + ",1,1,1,1,1,1,1,1]\n"); });
    }
  }
}

void DrivenClient::AddReferenceData() {
  auto* const service = static_cast<reference::CStockCommon*>(GetStockCommon());
  service->FinishRound({1, true});
  const auto plan = std::make_shared<reference::RefreshRound>(reference::PlanRefresh(now_));
  driven_.push_back({"reference data", now_ + plan->seconds, [service, plan] { service->FinishRound(*plan); },
                     [this, plan] {
                       *plan = reference::PlanRefresh(now_);
                       return plan->seconds;
                     }});
}

void DrivenClient::HideAll() {
  for (const auto& feed : feeds_) {
    feed->Hide();
  }
}

void DrivenClient::Count(const std::string& name, const std::function<void()>& act) {
  counted_ = name;
  act();
  host_.RunTasks();
  host_.ForgetRequests();
}

void DrivenClient::RunUntil(std::int64_t end) {
  for (;;) {
    const auto next =
        std::min_element(driven_.begin(), driven_.end(),
                         [](const Driven& one, const Driven& other) { return one.wakes < other.wakes; });
    if (next == driven_.end() || next->wakes >= end) {
      break;
    }
    MoveTo(next->wakes);
    Count(next->name, next->round);
    const int seconds = next->interval();
    if (seconds < 1) {
      ADD_FAILURE() << next->name << " sleeps " << seconds << " seconds";
      break;
    }
    next->wakes += seconds;
  }
  MoveTo(end);
}

}  // namespace client_test
