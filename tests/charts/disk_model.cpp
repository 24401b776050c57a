#include "disk_model.h"

#include <algorithm>
#include <filesystem>
#include <iterator>

using watched_disk::Operation;
using Kind = Operation::Kind;

DiskModel::DiskModel(const Files& files) {
  for (const auto& [path, bytes] : files) {
    now_[path] = std::make_shared<Content>(Content{bytes, {}});
  }
  on_disk_ = now_;
}

void DiskModel::Apply(const Operation& operation) {
  const auto content = [&] { return now_.at(operation.path); };
  switch (operation.kind) {
    case Kind::kWrite:
      content()->pending.push_back({false, operation.offset, operation.bytes});
      return;
    case Kind::kTruncate:
      content()->pending.push_back({true, operation.offset, {}});
      return;
    case Kind::kSync:
      if (const auto file = now_.find(operation.path); file != now_.end()) {
        file->second->flushed = All(*file->second);
        file->second->pending.clear();
        return;
      }
      // A directory: the names in it.
      std::erase_if(pending_, [&](const NameChange& change) {
        const bool here = std::filesystem::path(change.operation.path).parent_path() ==
                          std::filesystem::path(operation.path + "/").parent_path();
        if (here) Change(on_disk_, change);
        return here;
      });
      return;
    case Kind::kMakeDirectory:
      return;  // directories are of no interest without files
    default: {
      const NameChange change{operation,
                              operation.kind == Kind::kCreate ? std::make_shared<Content>() : nullptr};
      Change(now_, change);
      pending_.push_back(change);
    }
  }
}

void DiskModel::Change(Names& names, const NameChange& change) {
  const Operation& operation = change.operation;
  switch (operation.kind) {
    case Kind::kCreate:
      names[operation.path] = change.created;
      break;
    case Kind::kRemove:
      names.erase(operation.path);
      break;
    case Kind::kRename:
      if (auto node = names.extract(operation.path)) {
        names[operation.target] = node.mapped();
      }
      break;
    default:
      break;
  }
}

void DiskModel::Change(std::string& content, const ContentChange& change) {
  if (change.truncates) {
    content.resize(change.offset);
    return;
  }
  content.resize(std::max(content.size(), change.offset + change.bytes.size()));
  content.replace(change.offset, change.bytes.size(), change.bytes);
}

std::string DiskModel::All(const Content& content) {
  std::string bytes = content.flushed;
  for (const ContentChange& change : content.pending) Change(bytes, change);
  return bytes;
}

DiskModel::Files DiskModel::Everything() const {
  Files files;
  for (const auto& [path, content] : now_) files[path] = All(*content);
  return files;
}

DiskModel::Files DiskModel::FlushedOnly() const {
  Files files;
  for (const auto& [path, content] : on_disk_) files[path] = content->flushed;
  return files;
}

DiskModel::Files DiskModel::NamesAndFlushedContents() const {
  Files files;
  for (const auto& [path, content] : now_) files[path] = content->flushed;
  return files;
}

DiskModel::Files DiskModel::Some(std::mt19937& random) const {
  const auto up_to = [&random](std::size_t most) {
    return std::uniform_int_distribution<std::size_t>(0, most)(random);
  };
  Names names = on_disk_;
  const std::size_t name_changes = up_to(pending_.size());
  for (std::size_t place = 0; place < name_changes; ++place) Change(names, pending_[place]);
  Files files;
  for (const auto& [path, content] : names) {
    std::string& bytes = files[path] = content->flushed;
    const std::size_t changes = up_to(content->pending.size());
    for (std::size_t place = 0; place < changes; ++place) {
      ContentChange change = content->pending[place];
      if (place + 1 == changes && !change.truncates) change.bytes.resize(up_to(change.bytes.size()));
      Change(bytes, change);
    }
  }
  return files;
}
