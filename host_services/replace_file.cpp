#include "replace_file.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>

#include "descriptor.h"

namespace stock_host {
namespace {

constexpr std::string_view kSuffix = ".csm-part";

}  // namespace

bool ReplaceFile(const std::string& path, std::string_view bytes, std::string& error,
                 const std::function<void(ReplaceStep)>& told) {
  const auto tell = [&](ReplaceStep step) {
    if (told) {
      told(step);
    }
  };
  std::string temporary = path + ".XXXXXX" + std::string(kSuffix);
  const Descriptor file(mkostemps(temporary.data(), static_cast<int>(kSuffix.size()), O_CLOEXEC));
  const auto failed = [&](const std::string& what) {
    const int number = errno;
    if (file.good()) {
      unlink(temporary.c_str());
    }
    error = what + " \"" + path + "\": " + SystemText(number);
    return false;
  };
  if (!file.good()) {
    return failed("cannot make a file beside");
  }
  // Held as long as the file is open: tells a sweep that somebody is at it.
  if (flock(file.get(), LOCK_EX | LOCK_NB) != 0) {
    return failed("cannot lock the new file for");
  }
  tell(ReplaceStep::kCreated);
  if (!WriteAll(file.get(), bytes)) {
    return failed("cannot write the new file for");
  }
  tell(ReplaceStep::kWritten);
  if (fsync(file.get()) != 0) {
    return failed("cannot flush the new file for");
  }
  tell(ReplaceStep::kSynced);
  if (rename(temporary.c_str(), path.c_str()) != 0) {
    return failed("cannot replace");
  }
  tell(ReplaceStep::kRenamed);
  const std::size_t slash = path.rfind('/');
  const std::string directory = slash == std::string::npos ? "." : path.substr(0, slash + 1);
  const Descriptor parent = OpenFile(directory, O_RDONLY | O_DIRECTORY);
  if (parent.good()) {
    // The rename stands already; a file system that cannot flush a directory does not undo it.
    (void)fsync(parent.get());
  }
  return true;
}

bool IsLeftoverName(std::string_view name) {
  return name.size() > kSuffix.size() + 7 && name.ends_with(kSuffix);
}

bool RemoveLeftover(const std::string& path) {
  const Descriptor file = OpenFile(path, O_RDONLY | O_NOFOLLOW);
  return file.good() && flock(file.get(), LOCK_EX | LOCK_NB) == 0 && unlink(path.c_str()) == 0;
}

}  // namespace stock_host
