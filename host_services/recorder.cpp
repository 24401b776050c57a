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
#include "log.h"

namespace stock_host {
namespace {

std::int64_t Microseconds(std::chrono::nanoseconds span) {
  return std::chrono::duration_cast<std::chrono::microseconds>(span).count();
}

std::string SystemText(const std::string& what, const std::string& path) {
  const int number = errno;
  return what + " \"" + path + "\": " + std::generic_category().message(number);
}

// Empty when a record may be made there, or goes on there.
std::string RefusalOf(const std::string& directory) {
  std::error_code failure;
  std::filesystem::create_directories(directory, failure);
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
  std::string bytes(RecordTitle().size(), '\0');
  const ssize_t size = pread(fd, bytes.data(), bytes.size(), 0);
  return size >= 0 && static_cast<std::size_t>(size) < bytes.size() &&
         RecordTitle().starts_with(bytes.substr(0, static_cast<std::size_t>(size)));
}

bool WriteAll(int fd, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t written = write(fd, bytes.data(), bytes.size());
    if (written < 0 && errno != EINTR) {
      return false;
    }
    bytes.remove_prefix(written > 0 ? static_cast<std::size_t>(written) : 0);
  }
  return true;
}

}  // namespace

Recorder::Recorder(int fd, std::string path)
    : fd_(fd),
      path_(std::move(path)),
      start_(std::chrono::steady_clock::now()),
      start_time_(Microseconds(std::chrono::system_clock::now().time_since_epoch())) {}

Recorder::~Recorder() {
  (void)fsync(fd_);  // a file system that cannot flush does not undo what is written
  close(fd_);
}

std::shared_ptr<Recorder> Recorder::Open(const std::string& directory, std::string& error) {
  error = RefusalOf(directory);
  if (!error.empty()) {
    return nullptr;
  }
  const std::string path = RecordFile(directory);
  const int fd = open(path.c_str(), O_RDWR | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
  if (fd < 0) {
    error = SystemText("cannot write the record", path);
    return nullptr;
  }
  std::shared_ptr<Recorder> recorder(new Recorder(fd, path));
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
    error = SystemText("cannot write the record", path);
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
  if (WriteAll(fd_, bytes)) {
    size_ += static_cast<std::int64_t>(bytes.size());
    return;
  }
  broken_ = true;
  const std::string text = SystemText("cannot write the record", path_);
  CountRecordingFailure(text);
  Log(Severity::kError, "record: " + text + "; nothing more is recorded");
  if (ftruncate(fd_, size_) != 0) {
    Log(Severity::kWarning, "record: the last entry of \"" + path_ + "\" is cut short");
  }
}

}  // namespace stock_host
