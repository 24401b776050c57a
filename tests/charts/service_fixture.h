// A chart service with its polling thread asleep, and one view on it.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "recording_observer.h"
#include "scripted_host.h"
#include "sleeping_threads.h"

template <class Service, class Data>
class ChartServiceTest : public ::testing::Test {
 protected:
  /// `make` is called when the host lives.
  explicit ChartServiceTest(Service* (*make)()) : service(make()) { AwaitSleepingThreads(); }

  /// Attaches an observer and makes it active without a request.
  void Show(RecordingObserver<Data>& observer, const std::wstring& symbol) {
    service->Attach(&observer);
    service->SetTarget(&observer, symbol);
    service->Resume(&observer, false);
  }
  void TearDown() override { service->Detach(&view); }

  ScriptedHost host;
  RecordingObserver<Data> view;
  std::unique_ptr<Service> service;
};
