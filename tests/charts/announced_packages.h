// Reference data that announces K-line packages, in place of the service that loads them. Thread-safe.
#pragma once

#include <map>
#include <mutex>
#include <string>
#include <utility>

#include "reference/package_key.h"
#include "reference/reference_data.h"

class AnnouncedPackages final : public reference::CStockCommon {
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

 private:
  std::mutex mutex_;  // guards version_ and counts_
  std::wstring version_;
  std::map<std::pair<std::wstring, std::uint16_t>, int> counts_;
};
