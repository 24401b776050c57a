// What the tests of the quote services share: a service with its views on the scripted host.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>

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

// Every failure writes its one line; an empty body writes none.
inline void ExpectThreeLines(ScriptedHost& host, const char* path, const std::wstring& name,
                             const std::function<void()>& refresh) {
  host.ExpectFailureLine(name + L" Failed.");
  host.ExpectCodeLine(name + L" Response Error Code: %d", 1);
  host.ExpectCodeLine(name + L" Json Parse Error Code: %d", 5);
  for (const Answer& answer :
       {Answer::Failed(), Answer::Body(R"({"errno":1})"), Answer::Body("?"), Answer::Body("")}) {
    host.Expect(Script(path).Inline(answer));
    refresh();
  }
}
