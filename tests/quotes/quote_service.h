// What the tests of the quote services share: a service with its views on the scripted host.
#pragma once

#include <gtest/gtest.h>

#include <memory>

#include "recording_observer.h"
#include "scripted_host.h"
#include "sleeping_threads.h"

// A service with a polling thread, and views on it. The thread's own round comes after three seconds at the
// earliest.
template <class Service, class Data, class Key>
class ServiceTest : public ::testing::Test {
 protected:
  explicit ServiceTest(Service* made) : service(made) { AwaitSleepingThreads(); }

  void Show(RecordingObserver<Data>& observer, const Key& target) {
    service->Attach(&observer);
    service->SetTarget(&observer, target);
    service->Resume(&observer, false);
  }
  void TearDown() override { service->Detach(&view); }

  ScriptedHost host;
  RecordingObserver<Data> view;
  std::unique_ptr<Service> service;
};
