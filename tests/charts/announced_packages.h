// Reference data that announces K-line packages, in place of the service that loads them. Thread-safe.
#pragma once

#include <map>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "reference/package_key.h"
#include "reference/reference_data.h"
#include "reference/stock_common.h"

class AnnouncedPackages final : public IStockCommon {
 public:
  AnnouncedPackages() { reference::ReferenceData().Set(this); }
  ~AnnouncedPackages() override { reference::ReferenceData().Clear(); }
  AnnouncedPackages(const AnnouncedPackages&) = delete;
  AnnouncedPackages& operator=(const AnnouncedPackages&) = delete;

  void Announce(const std::wstring& version) {
    const std::lock_guard<std::mutex> lock(mutex_);
    version_ = version;
  }
  void Count(const std::wstring& symbol, int period, int adjustment, int count) {
    const std::lock_guard<std::mutex> lock(mutex_);
    counts_[{symbol, reference::PackageKey(period, adjustment)}] = count;
  }

  KLineMetaInfo GetKLineMetaInfo(const std::wstring& symbol, int period, int adjust) override {
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto found = counts_.find({symbol, reference::PackageKey(period, adjust)});
    return {version_, found == counts_.end() ? 0 : found->second};
  }

  void Init(const boost::function<void(bool)>& /*done*/) override {}
  const std::vector<BaseInfoItem>& GetStockList(int /*kind*/) override { return none_; }
  const std::vector<BaseInfoItem>& GetPlateList(int /*kind*/) override { return none_; }
  const std::vector<BaseInfoItem>& GetIndexList(int /*kind*/) override { return none_; }
  void Placeholder(int /*unused*/, int /*unused*/) override {}
  bool GetPlatesOfStock(const std::wstring& /*symbol*/,
                        std::vector<std::pair<std::wstring, std::wstring>>& /*out*/) override {
    return false;
  }

 private:
  std::mutex mutex_;  // guards version_ and counts_
  std::wstring version_;
  std::map<std::pair<std::wstring, std::uint16_t>, int> counts_;
  const std::vector<BaseInfoItem> none_;
};
