#include "replayer.h"

#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <limits>
#include <optional>
#include <utility>

#include "addresses.h"
#include "clock.h"
#include "descriptor.h"
#include "log.h"
#include "recorded_exchange.h"

namespace stock_host {
namespace {

constexpr std::size_t kNamedMisses = 1000;

// The latest element that is not after `time`, else the first.
template <class Elements, class TimeOf>
auto ElementAt(const Elements& elements, std::int64_t time, TimeOf time_of) {
  const auto after =
      std::upper_bound(elements.begin(), elements.end(), time,
                       [&](std::int64_t moment, const auto& element) { return moment < time_of(element); });
  return after == elements.begin() ? after : std::prev(after);
}

bool IsGood(const HttpAnswer& answer) {
  return answer.error == HttpError::kNone;
}

}  // namespace

std::shared_ptr<Replayer> Replayer::Open(const std::string& directory, double speed, std::string& error) {
  if (!(speed >= 0.001 && speed <= 100000)) {
    error = "the speed of a replay is a number from 0.001 to 100000";
    return nullptr;
  }
  Descriptor file = OpenFile(RecordFile(directory), O_RDONLY);
  if (!file.good()) {
    error = "there is no record in \"" + directory + "\": " + SystemText(errno);
    return nullptr;
  }
  std::shared_ptr<Replayer> replayer(new Replayer(std::move(file), speed));
  return replayer->Read(directory, error) ? replayer : nullptr;
}

bool Replayer::Read(const std::string& directory, std::string& error) {
  using Found = RecordReader::Found;
  const auto reader = RecordReader::Open(directory, error);
  if (!reader) {
    return false;
  }
  const std::string file = "\"" + RecordFile(directory) + "\"";
  std::optional<std::int64_t> start;
  std::size_t damaged = 0;
  Found found = Found::kEnd;
  while ((found = reader->Next()) != Found::kEnd && found != Found::kTorn && found != Found::kLost) {
    if (found == Found::kDamaged) {
      ++damaged;
      continue;
    }
    if (found == Found::kStart) {
      start = std::min(start.value_or(reader->start()), reader->start());
      continue;
    }
    RecordedExchange& exchange = reader->exchange();
    start = std::min(start.value_or(exchange.asked), exchange.asked);
    if (exchange.date >= 0) {
      samples_.push_back({exchange.ended(), exchange.date, exchange.speed});
    }
    Question question = QuestionOf(exchange.request);
    Entries& entries = entries_[question.subject];
    entries.push_back({std::move(question), exchange.asked, exchange.duration, std::move(exchange.answer),
                       reader->body_at(), reader->body_size()});
  }
  if (damaged > 0) {
    Log(Severity::kWarning,
        "replay: " + std::to_string(damaged) + " damaged entries of " + file + " are left out");
  }
  if (found == Found::kTorn) {
    Log(Severity::kWarning, "replay: the last entry of " + file + " was cut short; it is dropped");
  }
  if (found == Found::kLost) {
    Log(Severity::kError, "replay: " + file + " is damaged; what stands behind the damage is left out");
  }
  if (entries_.empty()) {
    error = "the record in \"" + directory + "\" holds no exchange";
    return false;
  }
  start_ = *start;
  for (auto& [request, entries] : entries_) {
    std::stable_sort(entries.begin(), entries.end(),
                     [](const Entry& a, const Entry& b) { return a.asked < b.asked; });
  }
  std::stable_sort(samples_.begin(), samples_.end(),
                   [](const Sample& a, const Sample& b) { return a.at < b.at; });
  return true;
}

void Replayer::Begin(Moment now) {
  begun_ = now;
}

std::int64_t Replayer::RecordedTime(Moment now) const {
  const double passed =
      std::chrono::duration<double, std::micro>(now.elapsed - begun_.elapsed).count() * speed_;
  return start_ + std::llround(passed);
}

Replayer::Answer Replayer::Given(const Entry& entry) const {
  Answer given{entry.answer,
               std::chrono::duration_cast<std::chrono::steady_clock::duration>(
                   std::chrono::duration<double, std::micro>(static_cast<double>(entry.duration) / speed_))};
  if (!ReadAt(file_.get(), entry.body_at, entry.body_size, given.answer.body)) {
    given.answer = {HttpError::kIncomplete, "the record cannot be read", 0, {}};
  }
  return given;
}

Replayer::Answer Replayer::NeverRecorded(const std::string& what) {
  if (missed_.size() < kNamedMisses && missed_.insert(what).second) {
    Log(Severity::kWarning, "replay: never recorded: " + what);
  }
  return {{HttpError::kStatus, "never recorded", 404, {}}, {}};
}

// A list or series that ended within what was recorded of it has nothing more to give.
bool Replayer::Covers(Entry& entry, const Question& asked) const {
  const Question& recorded = entry.question;
  if (recorded == asked) {
    return true;
  }
  if (recorded.part != asked.part || recorded.part == Question::Part::kAll || !IsGood(entry.answer) ||
      recorded.first > asked.first) {
    return false;
  }
  if (recorded.end >= asked.end) {
    return true;
  }
  if (!entry.rows) {
    entry.rows = CountRows(recorded, Given(entry).answer.body).value_or(recorded.end);
  }
  return *entry.rows < recorded.end - recorded.first;
}

// Each symbol from the newest answer that was asked for it.
Replayer::Answer Replayer::AnswerForSymbols(const Entries& entries, const Question& asked,
                                            std::int64_t time) {
  std::vector<std::string> symbols;
  std::vector<const Entry*> chosen;
  std::string missing;
  for (const std::string& symbol : asked.symbols) {
    std::vector<const Entry*> having;
    for (const Entry& entry : entries) {
      const std::vector<std::string>& recorded = entry.question.symbols;
      if (std::find(recorded.begin(), recorded.end(), symbol) != recorded.end()) {
        having.push_back(&entry);
      }
    }
    if (having.empty()) {
      missing += " " + symbol;
      continue;
    }
    symbols.push_back(symbol);
    chosen.push_back(*ElementAt(having, time, [](const Entry* candidate) { return candidate->asked; }));
  }
  if (chosen.empty()) {
    return NeverRecorded(asked.subject + missing);
  }
  if (!missing.empty()) {
    static_cast<void>(NeverRecorded(asked.subject + missing));
  }
  const auto failed =
      std::find_if(chosen.begin(), chosen.end(), [](const Entry* entry) { return !IsGood(entry->answer); });
  if (failed != chosen.end() || chosen.front()->question == asked) {
    return Given(failed != chosen.end() ? **failed : *chosen.front());
  }
  std::map<const Entry*, Answer> given;
  std::vector<const std::string*> bodies;
  for (const Entry* const entry : chosen) {
    const auto [found, is_new] = given.try_emplace(entry);
    if (is_new) {
      found->second = Given(*entry);
    }
    bodies.push_back(&found->second.answer.body);
  }
  Answer answer = given.at(chosen.front());
  if (auto body = PutTogether(symbols, bodies)) {
    answer.answer.body = *std::move(body);
  }
  return answer;
}

Replayer::Answer Replayer::AnswerTo(const std::string& url, Moment now) {
  const std::string request = RequestText(*CurrentAddresses(), url);
  const Question asked = QuestionOf(request);
  const std::int64_t time = RecordedTime(now);
  const auto found = entries_.find(asked.subject);
  if (found == entries_.end()) {
    return NeverRecorded(request);
  }
  if (asked.part == Question::Part::kSymbols) {
    return AnswerForSymbols(found->second, asked, time);
  }
  std::vector<const Entry*> covering;
  for (Entry& entry : found->second) {
    if (Covers(entry, asked)) {
      covering.push_back(&entry);
    }
  }
  if (covering.empty()) {
    return NeverRecorded(request);
  }
  const Entry& entry = **ElementAt(covering, time, [](const Entry* candidate) { return candidate->asked; });
  Answer answer = Given(entry);
  if (entry.question != asked && IsGood(answer.answer)) {
    if (auto body = CutOut(entry.question, asked, answer.answer.body)) {
      answer.answer.body = *std::move(body);
    }
  }
  return answer;
}

void Replayer::Teach(ServerClockModel& clock, Moment now) const {
  if (samples_.empty()) {
    return;
  }
  const std::int64_t time = RecordedTime(now);
  const auto sample = ElementAt(samples_, time, [](const Sample& candidate) { return candidate.at; });
  const double passed = std::max(0.0, static_cast<double>(time - sample->at) / 1e6);
  const double ran = ParseSpeed(sample->speed.c_str()).value_or(1);
  (void)clock.Learn(sample->date + static_cast<std::int64_t>(std::floor(passed * ran)), ran * speed_, now);
}

double Replayer::start() const {
  return static_cast<double>(start_) / 1e6;
}

}  // namespace stock_host
