#include "recorder.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <string_view>
#include <system_error>
#include <utility>

#include "addresses.h"
#include "counters.h"
#include "descriptor.h"
#include "log.h"

namespace stock_host {
namespace {

std::int64_t Microseconds(std::chrono::nanoseconds span) {
  return std::chrono::duration_cast<std::chrono::microseconds>(span).count();
}

std::string CannotWrite(const std::string& path) {
  return "cannot write the record \"" + path + "\": " + SystemText(errno);
}

// Empty when a record may be made there, or goes on there.
std::string RefusalOf(const std::string& directory) {
  std::error_code failure;
  if (!MakeDirectories(directory)) {
    failure.assign(errno, std::generic_category());
  }
  std::filesystem::directory_iterator entry;
  if (!failure) {
    entry = std::filesystem::directory_iterator(directory, failure);
  }
  if (failure) {
    return "cannot record into \"" + directory + "\": " + failure.message();
  }
  for (; entry != std::filesystem::directory_iterator(); entry.increment(failure)) {
    if (entry->path() != RecordFile(directory)) {
      return "cannot record into \"" + directory + "\": it holds something else (\"" +
             entry->path().filename().string() + "\")";
    }
  }
  return failure ? "cannot record into \"" + directory + "\": " + failure.message() : std::string();
}

// Where the record in `directory` goes on; -1 with `error` when it cannot.
std::int64_t EndOf(const std::string& directory, std::string& error) {
  const auto reader = RecordReader::Open(directory, error);
  if (!reader) {
    return -1;
  }
  for (;;) {
    switch (reader->Next()) {
      case RecordReader::Found::kTorn:
        Log(Severity::kWarning,
            "record: the last entry of \"" + RecordFile(directory) + "\" was cut short; it is dropped");
        return reader->good_until();
      case RecordReader::Found::kEnd:
        return reader->good_until();
      case RecordReader::Found::kLost:
        error = "the record in \"" + directory + "\" is damaged and cannot be continued";
        return -1;
      case RecordReader::Found::kStart:
      case RecordReader::Found::kExchange:
      case RecordReader::Found::kDamaged:
        break;
    }
  }
}

// True for an empty file, and for one whose making a crash has cut short.
bool IsBeginningOfTitle(int fd) {
  std::string bytes;
  return ReadUpTo(fd, 0, RecordTitle().size(), bytes) && bytes.size() < RecordTitle().size() &&
         RecordTitle().starts_with(bytes);
}

}  // namespace

Recorder::Recorder(Descriptor file, std::string path)
    : file_(std::move(file)),
      path_(std::move(path)),
      start_(std::chrono::steady_clock::now()),
      start_time_(Microseconds(std::chrono::system_clock::now().time_since_epoch())) {}

Recorder::~Recorder() {
  (void)fsync(file_.get());  // a file system that cannot flush does not undo what is written
}

std::shared_ptr<Recorder> Recorder::Open(const std::string& directory, std::string& error) {
  error = RefusalOf(directory);
  if (!error.empty()) {
    return nullptr;
  }
  const std::string path = RecordFile(directory);
  Descriptor file = OpenFile(path, O_RDWR | O_CREAT | O_APPEND);
  const int fd = file.get();
  if (!file.good()) {
    error = CannotWrite(path);
    return nullptr;
  }
  std::shared_ptr<Recorder> recorder(new Recorder(std::move(file), path));
  if (flock(fd, LOCK_EX | LOCK_NB) != 0) {
    error = "another process records into \"" + directory + "\"";
    return nullptr;
  }
  const bool is_new = IsBeginningOfTitle(fd);
  recorder->size_ = is_new ? 0 : EndOf(directory, error);
  if (recorder->size_ < 0) {
    return nullptr;
  }
  if (ftruncate(fd, recorder->size_) != 0) {
    error = CannotWrite(path);
    return nullptr;
  }
  if (is_new) {
    recorder->Append(std::string(RecordTitle()));
  }
  recorder->Append(EncodeStart(recorder->start_time_));
  if (recorder->broken_) {
    error = "cannot write the record \"" + path + "\"";
    return nullptr;
  }
  return recorder;
}

std::int64_t Recorder::TimeOf(Steady at) const {
  return start_time_ + Microseconds(at - start_);
}

void Recorder::Record(const HttpRequest& request, const std::string& endpoint, Steady asked, Steady ended,
                      const HttpHeaderReport& report, const HttpAnswer& answer) {
  if (broken_ || answer.error == HttpError::kInvalid || answer.error == HttpError::kStopped) {
    return;
  }
  const auto addresses = CurrentAddresses();
  const std::string origin = addresses->Origin();
  RecordedExchange exchange;
  exchange.asked = TimeOf(asked);
  exchange.duration = Microseconds(ended - asked);
  exchange.endpoint = endpoint;
  exchange.request = RequestText(*addresses, request.url);
  exchange.limit = request.limit.count();
  exchange.answer = answer;
  const bool answered = answer.error == HttpError::kNone || answer.error == HttpError::kStatus;
  if (answered && !origin.empty() && request.url.starts_with(origin + "/")) {
    exchange.date = report.date;
    exchange.speed = report.speed.value_or("");
  }
  Append(Encode(exchange));
  if (!broken_) {
    CountRecorded();
  }
}

void Recorder::Append(const std::string& bytes) {
  if (WriteAll(file_.get(), bytes)) {
    size_ += static_cast<std::int64_t>(bytes.size());
    return;
  }
  broken_ = true;
  const std::string text = CannotWrite(path_);
  CountRecordingFailure(text);
  Log(Severity::kError, "record: " + text + "; nothing more is recorded");
  if (ftruncate(file_.get(), size_) != 0) {
    Log(Severity::kWarning, "record: the last entry of \"" + path_ + "\" is cut short");
  }
}

}  // namespace stock_host
