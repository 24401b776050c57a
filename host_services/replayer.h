// Answers requests from a record. Used by one thread at a time; the thread that waits for answers once it
// runs.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "clock.h"
#include "descriptor.h"
#include "http.h"
#include "question.h"

namespace stock_host {

class Replayer {
 public:
  /// Reads the record in `directory`; answers stay on the disk. `speed` is seconds of recorded time in a
  /// second, from 0.001 to 100,000. Null with `error` when there is no record or it holds no exchange. An
  /// entry that is damaged or cut short is left out with a line in the log.
  [[nodiscard]] static std::shared_ptr<Replayer> Open(const std::string& directory, double speed,
                                                      std::string& error);
  Replayer(const Replayer&) = delete;
  Replayer& operator=(const Replayer&) = delete;

  /// From `now` on the recorded time runs, beginning at the record's start.
  void Begin(Moment now);

  struct Answer {
    HttpAnswer answer;
    std::chrono::steady_clock::duration after{};  ///< how long it takes
  };
  /// What the request, asked at `now`, is answered: the latest recorded answer to the same question that was
  /// asked at or before this moment of the recorded time, else the first. The question counts, not its
  /// wording (question.h): fewer rows, or fewer symbols, than were recorded are taken out of what was. What
  /// was never recorded gets status 404 and, once, a line in the log.
  [[nodiscard]] Answer AnswerTo(const std::string& url, Moment now);

  /// Tells `clock` what the recorded Date headers say of this moment.
  void Teach(ServerClockModel& clock, Moment now) const;

  /// The machine's clock when the record was begun, Unix seconds.
  [[nodiscard]] double start() const;

 private:
  struct Entry {
    Question question;
    std::int64_t asked = 0;
    std::int64_t duration = 0;
    HttpAnswer answer;  // its body is in the file
    std::int64_t body_at = 0;
    std::size_t body_size = 0;
    std::optional<std::int64_t> rows{};  // of the answer; nothing until they were counted
  };
  using Entries = std::vector<Entry>;  // of one subject, in the order of their times
  struct Sample {
    std::int64_t at = 0;
    std::int64_t date = 0;
    std::string speed;
  };

  Replayer(Descriptor file, double speed) : file_(std::move(file)), speed_(speed) {}
  [[nodiscard]] bool Read(const std::string& directory, std::string& error);
  [[nodiscard]] std::int64_t RecordedTime(Moment now) const;
  [[nodiscard]] Answer Given(const Entry& entry) const;
  [[nodiscard]] Answer NeverRecorded(const std::string& what);
  [[nodiscard]] bool Covers(Entry& entry, const Question& asked) const;
  [[nodiscard]] Answer AnswerForSymbols(const Entries& entries, const Question& asked, std::int64_t time);

  const Descriptor file_;
  const double speed_;
  std::map<std::string, Entries> entries_;  // by subject
  std::vector<Sample> samples_;             // in the order of their times
  std::int64_t start_ = 0;
  Moment begun_;
  std::set<std::string> missed_;
};

}  // namespace stock_host
