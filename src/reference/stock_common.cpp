// Reference data: loaded by a start on the host's task pool, refreshed by a thread of its own, looked up in
// memory. The network half of every load runs outside the gate and without the object, so that its end does
// not wait for the wire; parsing and swapping run inside.
#include "reference/stock_common.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <exception>

#include "frame/running.h"
#include "host/clock.h"
#include "host/tasks.h"
#include "host/text.h"
#include "reference/legal_holidays.h"
#include "reference/package_key.h"
#include "reference/stock_common_service.h"
#include "request/answer.h"
#include "request/ask.h"
#include "request/urls.h"

namespace reference {
namespace {

constexpr int kStartLoads = 5;
constexpr int kLongestStart = 10000;  // milliseconds
constexpr int kIndustryPlates = 1;

constexpr std::int32_t kGemBoard = 4;
constexpr std::int32_t kSmeBoard = 5;

using Lock = std::unique_lock<std::mutex>;

request::Answer Check(request::Fetch fetch, const request::SyncAnswer& answer) {
  return request::CheckAnswer(fetch, answer.Raw());
}

HeldList::Pointer Held(BaseInfoList list) {
  return std::make_unique<const BaseInfoList>(std::move(list));
}

BaseInfoList OfBoard(const BaseInfoList& stocks, std::int32_t board) {
  BaseInfoList found;
  std::copy_if(stocks.begin(), stocks.end(), std::back_inserter(found),
               [board](const BaseInfoItem& stock) { return stock.type == board; });
  return found;
}

// A load that runs out of memory is a failed load, not the end of the program.
template <class Load>
bool Succeeds(Load&& load) {
  try {
    return load();
  } catch (const std::exception&) {
    return false;
  }
}

}  // namespace

const CStockCommon::ListLoad CStockCommon::kBaseInfo = {&request::BasicInfoUrl, &CStockCommon::TakeBaseInfo};
const CStockCommon::ListLoad CStockCommon::kPlates = {&request::PlateListUrl, &CStockCommon::TakePlates};
const CStockCommon::ListLoad CStockCommon::kIndices = {&request::IndexListUrl, &CStockCommon::TakeIndices};
const CStockCommon::ListLoad CStockCommon::kMembership = {
    [] { return request::StockInPlatesUrl(kIndustryPlates); }, &CStockCommon::TakeMembership};

CStockCommon::~CStockCommon() {
  const boost::this_thread::disable_interruption uninterrupted;
  {
    const Lock lock(mutex_);
    stopping_ = true;
    refresh_thread_.interrupt();
  }
  stopped_.notify_all();
  gate_.Close();
  if (refresh_thread_.joinable()) {
    refresh_thread_.join();
  }
}

// --- Start ---

void CStockCommon::Init(const boost::function<void(bool)>& done) {
  RequestLegalHolidays(gate_);
  StartNumber start = 0;
  {
    const Lock lock(mutex_);
    if (initialising_) {
      return;
    }
    initialising_ = true;
    waited_ms_ = 0;
    done_count_ = 0;
    start = ++start_;
  }
  AddLoad(kBaseInfo, start);
  AddLoad(kPlates, start);
  AddLoad(kIndices, start);
  AddMetadataCheck(start);
  AddLoad(kMembership, start);
  base::TaskManagerInstance()->AddTask(gate_.Guard([this, start, done] { Monitor(start, done); }));
}

void CStockCommon::AddLoad(const ListLoad& load, StartNumber start) {
  auto finish = gate_.Guard([this, &load, start](const request::SyncAnswer& answer, std::int64_t asked) {
    CountLoad(start, Succeeds([&] { return (this->*load.take)(answer, asked); }));
  });
  base::TaskManagerInstance()->AddTask([url = load.url, finish]() mutable {
    const std::int64_t now = common::GetCurrentServerTime();
    request::SyncAnswer answer;
    Succeeds([&] {
      answer = request::AskNow(url());
      return answer.ok;
    });
    finish(answer, now);
  });
}

void CStockCommon::AddMetadataCheck(StartNumber start) {
  // The version is read inside the gate; it stays empty, and the check ends, when the gate is closed.
  auto read_held = gate_.Guard([this](std::optional<std::string>& held) { held = HeldMetadataVersion(); });
  auto finish =
      gate_.Guard([this, start](MetadataCheck check) { CountLoad(start, TakeMetadata(std::move(check))); });
  base::TaskManagerInstance()->AddTask([read_held, finish]() mutable {
    MetadataCheck check;
    Succeeds([&] {
      check = CheckMetadata([&read_held] {
        std::optional<std::string> held;
        read_held(held);
        return held;
      });
      return check.ok;
    });
    finish(std::move(check));
  });
}

void CStockCommon::CountLoad(StartNumber start, bool ok) {
  const Lock lock(mutex_);
  if (start != start_ || !initialising_) {
    return;
  }
  if (ok) {
    ++done_count_;
  } else {
    initialising_ = false;
  }
}

CStockCommon::MonitorStep CStockCommon::StepMonitor(StartNumber start) {
  const Lock lock(mutex_);
  if (start != start_ || !initialising_ || waited_ms_ > kLongestStart) {
    return MonitorStep::kFailed;
  }
  if (done_count_ >= kStartLoads) {
    return MonitorStep::kSucceeded;
  }
  waited_ms_ += kMonitorWait;
  return MonitorStep::kWait;
}

void CStockCommon::Monitor(StartNumber start, const boost::function<void(bool)>& done) {
  MonitorStep step = StepMonitor(start);
  while (step == MonitorStep::kWait) {
    if (!Sleep()) {
      return;
    }
    step = StepMonitor(start);
  }
  const bool ok = step == MonitorStep::kSucceeded;
  struct AtTheEnd {
    CStockCommon& service;
    StartNumber start;
    bool ok;
    ~AtTheEnd() { service.Conclude(start, ok); }
  };
  const AtTheEnd conclude{*this, start, ok};
  if (done) {
    done(ok);
  }
}

void CStockCommon::Conclude(StartNumber start, bool ok) {
  const Lock lock(mutex_);
  if (ok && !stopping_ && !refresh_thread_.joinable()) {
    try {
      refresh_thread_ = boost::thread([this] { RefreshThread(); });
    } catch (const boost::thread_resource_error&) {
      // Without the thread the lists stay as they are; the next start tries again.
    }
  }
  if (start != start_) {
    return;
  }
  if (!ok) {
    base_info_date_ = 0;
  }
  initialising_ = false;
  waited_ms_ = 0;
  done_count_ = 0;
}

// False when the object is being ended.
bool CStockCommon::Sleep() {
  Lock lock(mutex_);
  return !stopped_.wait_for(lock, std::chrono::milliseconds(kMonitorWait), [this] { return stopping_; });
}

CStockCommon::StartNumber CStockCommon::LatestStart() {
  const Lock lock(mutex_);
  return start_;
}

// --- Refresh ---

void CStockCommon::RefreshThread() {
  for (;;) {
    const RefreshRound round = PlanRefresh(common::GetCurrentServerTime());
    boost::this_thread::sleep(boost::posix_time::seconds(round.seconds));
    // Interruption is seen between two loads and in the wait only.
    const boost::this_thread::disable_interruption uninterrupted;
    FinishRound(round);
  }
}

void CStockCommon::FinishRound(const RefreshRound& round) {
  const auto ended = [] { return boost::this_thread::interruption_requested(); };
  if (round.reload_lists) {
    for (const ListLoad* const load : {&kBaseInfo, &kPlates, &kIndices}) {
      if (ended()) {
        return;
      }
      LoadNow(*load);
    }
    Succeeds([this] {
      RequestLegalHolidays(gate_);
      return true;
    });
    if (ended()) {
      return;
    }
    LoadNow(kMembership);
  }
  if (ended()) {
    return;
  }
  Succeeds([&] {
    return TakeMetadata(CheckMetadata([&]() -> std::optional<std::string> {
      return ended() ? std::nullopt : std::optional(HeldMetadataVersion());
    }));
  });
}

bool CStockCommon::HasRefreshThread() {
  const Lock lock(mutex_);
  return refresh_thread_.joinable();
}

// --- Loads ---

bool CStockCommon::LoadNow(const ListLoad& load) {
  return Succeeds([&] {
    const std::int64_t now = common::GetCurrentServerTime();
    return (this->*load.take)(request::AskNow(load.url()), now);
  });
}

bool CStockCommon::TakeBaseInfo(const request::SyncAnswer& came, std::int64_t asked) {
  const request::Answer answer = Check(request::Fetch::kBaseInfo, came);
  if (!answer) {
    return false;
  }
  StockLists lists = ReadStockLists(answer.Root());
  const std::size_t sh_count = lists.shanghai.size();
  const std::size_t sz_count = lists.shenzhen.size();
  BaseInfoList all;
  all.reserve(sh_count + sz_count);
  all.insert(all.end(), lists.shanghai.begin(), lists.shanghai.end());
  all.insert(all.end(), lists.shenzhen.begin(), lists.shenzhen.end());
  auto gem = Held(OfBoard(all, kGemBoard));
  auto sme = Held(OfBoard(all, kSmeBoard));
  auto whole = Held(std::move(all));
  auto sh = Held(std::move(lists.shanghai));
  auto sz = Held(std::move(lists.shenzhen));
  const bool final_for_today = ListsFinalTime(asked) <= asked;
  const std::uint32_t date = common::TimeToDate(asked);

  const Lock lock(mutex_);
  // Kept: equal counts are taken to mean an unchanged list.
  if (sh_count != sh_stocks_.Get().size() || sz_count != sz_stocks_.Get().size()) {
    sh = sh_stocks_.Replace(std::move(sh));
    sz = sz_stocks_.Replace(std::move(sz));
    whole = all_stocks_.Replace(std::move(whole));
    gem = gem_stocks_.Replace(std::move(gem));
    sme = sme_stocks_.Replace(std::move(sme));
  }
  if (final_for_today) {
    base_info_date_ = date;
  }
  return true;
}

bool CStockCommon::TakePlates(const request::SyncAnswer& came, std::int64_t /*asked*/) {
  const request::Answer answer = Check(request::Fetch::kPlateList, came);
  if (!answer) {
    return false;
  }
  PlateLists lists = ReadPlateLists(answer.Root());
  auto kind1 = Held(std::move(lists.kind1));
  auto kind2 = Held(std::move(lists.kind2));
  const Lock lock(mutex_);
  kind1 = plates1_.Replace(std::move(kind1));
  kind2 = plates2_.Replace(std::move(kind2));
  return true;
}

bool CStockCommon::TakeIndices(const request::SyncAnswer& came, std::int64_t /*asked*/) {
  const request::Answer answer = Check(request::Fetch::kIndexList, came);
  if (!answer) {
    return false;
  }
  IndexLists lists = ReadIndexLists(answer.DataObject());
  for (auto& [list, held] :
       {std::pair(&lists.shanghai, &sh_indices_), std::pair(&lists.shenzhen, &sz_indices_)}) {
    if (!*list) {
      continue;
    }
    auto fresh = Held(std::move(**list));
    const Lock lock(mutex_);
    // Kept: equal counts are taken to mean an unchanged list.
    if (fresh->size() != held->Get().size()) {
      fresh = held->Replace(std::move(fresh));
    }
  }
  return true;
}

bool CStockCommon::TakeMembership(const request::SyncAnswer& came, std::int64_t /*asked*/) {
  const request::Answer answer = Check(request::Fetch::kStockInPlates, came);
  if (!answer) {
    return false;
  }
  PlateMembership membership = ReadPlateMembership(answer.DataObject());
  const Lock lock(mutex_);
  stock_plates_.swap(membership);
  return true;
}

bool CStockCommon::TakeMetadata(MetadataCheck check) {
  if (check.loaded != nullptr) {
    const Lock lock(mutex_);
    kline_metadata_.swap(check.loaded);
  }
  return check.ok;
}

std::string CStockCommon::HeldMetadataVersion() {
  const Lock lock(mutex_);
  return kline_metadata_ != nullptr ? kline_metadata_->Version() : std::string();
}

// --- Look-ups ---

const std::vector<BaseInfoItem>& CStockCommon::GetStockList(int kind) {
  bool empty = false;
  std::uint32_t loaded = 0;
  {
    const Lock lock(mutex_);
    empty = all_stocks_.Get().empty();
    loaded = base_info_date_;
  }
  if (empty || StockListIsStale(loaded)) {
    LoadNow(kBaseInfo);
  }
  const Lock lock(mutex_);
  switch (kind) {
    case 2:
      return sh_stocks_.Get();
    case 3:
      return sz_stocks_.Get();
    case 4:
      return gem_stocks_.Get();
    case 5:
      return sme_stocks_.Get();
    default:
      return all_stocks_.Get();
  }
}

const std::vector<BaseInfoItem>& CStockCommon::GetPlateList(int kind) {
  const auto list = [&]() -> const BaseInfoList* {
    const Lock lock(mutex_);
    return plates1_.Get().empty() ? nullptr : kind == 2 ? &plates2_.Get() : &plates1_.Get();
  };
  if (const BaseInfoList* const held = list()) {
    return *held;
  }
  LoadNow(kPlates);
  const Lock lock(mutex_);
  return kind == 2 ? plates2_.Get() : plates1_.Get();
}

const std::vector<BaseInfoItem>& CStockCommon::GetIndexList(int kind) {
  const auto list = [&]() -> const BaseInfoList* {
    const Lock lock(mutex_);
    return sh_indices_.Get().empty() ? nullptr : kind == 2 ? &sz_indices_.Get() : &sh_indices_.Get();
  };
  if (const BaseInfoList* const held = list()) {
    return *held;
  }
  LoadNow(kIndices);
  const Lock lock(mutex_);
  return kind == 2 ? sz_indices_.Get() : sh_indices_.Get();
}

bool CStockCommon::GetPlatesOfStock(const std::wstring& symbol,
                                    std::vector<std::pair<std::wstring, std::wstring>>& out) {
  const auto nothing_held = [this] {
    const Lock lock(mutex_);
    return stock_plates_.empty();
  };
  if (nothing_held()) {
    LoadNow(kMembership);
  }
  out.clear();
  const Lock lock(mutex_);
  if (const PlateNames* const plates = FindPlates(stock_plates_, symbol)) {
    out = *plates;
  }
  return !out.empty();
}

KLineMetaInfo CStockCommon::GetKLineMetaInfo(const std::wstring& symbol, int period, int adjust) {
  const std::string narrow = common::ws2s(symbol, common::kUtf8);
  const std::uint16_t key = PackageKey(period, adjust);
  std::shared_ptr<KLineMetadata> metadata;
  KLineMetadata::Symbol* entry = nullptr;
  std::int32_t count = 0;
  bool parsed = true;
  {
    const Lock lock(mutex_);
    metadata = kline_metadata_;
    if (metadata == nullptr) {
      return {};
    }
    entry = metadata->Find(narrow);
    if (entry != nullptr) {
      parsed = entry->parsed;
      count = parsed ? entry->counts.Get(key) : 0;
    }
  }
  if (!parsed) {
    PackageCounts counts;
    const int error = counts.Read(entry->json);
    bool first = false;
    {
      const Lock lock(mutex_);
      first = !std::exchange(entry->parsed, true);
      if (first) {
        entry->counts = counts;
      }
    }
    if (first && error != 0) {
      request::LogParseError(request::Fetch::kPackageCounts, error);
    }
    count = counts.Get(key);
  }
  return {common::s2ws(metadata->Version(), common::kUtf8), count};
}

IStockCommon* MakeStockCommon() {
  return frame::MakeOrNull<CStockCommon>();
}

}  // namespace reference
