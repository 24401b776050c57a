// The one door to JSON: values, objects and arrays as the services and the record readers see them.
// Conversions never fail; each says what a value of another type reads as. Plain texts are read by a reader
// of our own, everything that it is not certain of by Qt's parser, error codes included; which one it was
// cannot be told from outside.
//
// A document is read-only after `Parse` and may be read from several threads. Values, objects and arrays are
// views: they live as long as their document.
#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "json/budget.h"
#include "json/cells.h"

namespace request::json {

class Array;
class Document;
class Object;
struct NamedValue;

class Value {
 public:
  /// No value: what a missing member reads as.
  Value() = default;

  [[nodiscard]] bool IsUndefined() const { return Is(detail::Kind::kUndefined); }
  [[nodiscard]] bool IsNumber() const { return detail::IsNumber(*cell_); }
  [[nodiscard]] bool IsString() const { return Is(detail::Kind::kString) || Is(detail::Kind::kEscaped); }
  [[nodiscard]] bool IsNull() const { return Is(detail::Kind::kNull); }
  [[nodiscard]] bool IsArray() const { return Is(detail::Kind::kArray); }
  [[nodiscard]] bool IsObject() const { return Is(detail::Kind::kObject); }

  /// The text of a string; empty for anything else. What it holds is required of the budget, if there is one,
  /// before it is taken.
  [[nodiscard]] std::wstring Text() const;
  [[nodiscard]] std::wstring Text(Budget& budget) const;

  /// The same into a text whose memory is used again.
  void TextInto(std::wstring& out, Budget& budget) const;

  /// The number; 0.0 for anything else.
  [[nodiscard]] double Number() const { return IsNumber() ? std::bit_cast<double>(*cell_) : 0.0; }

  /// The number if it is a whole one that fits; 0 for anything else, 5.5 and 3000000000 included.
  [[nodiscard]] int Integer() const;

  /// The object or array; an empty one for anything else.
  [[nodiscard]] Object AsObject() const;
  [[nodiscard]] Array AsArray() const;

 private:
  friend class Array;
  friend class Document;
  friend class Object;

  static constexpr detail::Cell kUndefined = MakeCell(detail::Kind::kUndefined);

  Value(const detail::Cell* cell, const detail::Content* content) : cell_(cell), content_(content) {}
  [[nodiscard]] bool Is(detail::Kind kind) const {
    return *cell_ >> detail::kPayloadBits == static_cast<detail::Cell>(kind);
  }

  const detail::Cell* cell_ = &kUndefined;
  const detail::Content* content_ = nullptr;
};

namespace detail {

inline constexpr std::array<Cell, kHead> kEmpty{MakeCell(Kind::kUndefined), 0};

// What arrays and objects have in common.
class Container {
 public:
  /// Of its elements or members, repeated ones included.
  [[nodiscard]] std::size_t Size() const { return GetCount().entries; }

 protected:
  Container() = default;
  Container(const Cell* head, const Content* content) : head_(head), content_(content) {}

  [[nodiscard]] Count GetCount() const { return std::bit_cast<Count>(head_[1]); }

  const Cell* head_ = kEmpty.data();
  const Content* content_ = nullptr;
};

}  // namespace detail

class Array : public detail::Container {
 public:
  /// An empty array.
  Array() = default;

  /// Element `index`; undefined beyond the end. Walks there from the front: for a few elements of a short
  /// array.
  [[nodiscard]] Value At(std::size_t index) const;

  /// Calls `visit(value)` for every element, in order.
  template <class Visitor>
  void ForEach(Visitor&& visit) const {
    const detail::Cell* element = head_ + detail::kHead;
    for (std::size_t left = Size(); left > 0; --left) {
      visit(Value(element, content_));
      element = detail::Behind(element);
    }
  }

 private:
  friend class Value;
  using Container::Container;
};

class Object : public detail::Container {
 public:
  /// An empty object.
  Object() = default;

  /// The member of that name, the last one if the text held several; undefined when there is none, or none
  /// but one that was written with a byte-order mark in front of it (the loops leave that out of the name).
  [[nodiscard]] Value Member(std::string_view key) const;
  [[nodiscard]] Object ObjectAt(std::string_view key) const { return Member(key).AsObject(); }
  [[nodiscard]] Array ArrayAt(std::string_view key) const { return Member(key).AsArray(); }

  /// The first of its members, by the order of `ForEach`; an empty key and an undefined value when it has
  /// none.
  [[nodiscard]] NamedValue First() const;

  /// This object as a value.
  [[nodiscard]] Value Self() const { return {head_, content_}; }

  /// Calls `visit(key, value)` for every distinct key, in UTF-8, ascending by its UTF-16 code units, with its
  /// last value.
  template <class Visitor>
  void ForEach(Visitor&& visit) const {
    for (const Entry& member : Sorted()) {
      visit(NameAt(member.key), Value(head_ + member.value, content_));
    }
  }

  /// The same for every member in the order of the text, repeated keys included, each key as `Member` finds
  /// it: fit for a visitor that looks for keys and whose later calls replace its earlier ones.
  template <class Visitor>
  void ForEachInText(Visitor&& visit) const {
    std::size_t key = GetCount().first_key;
    ForEachValue([&](const Value& value) { visit(KeyAt(key++), value); });
  }

  /// The same without the keys.
  template <class Visitor>
  void ForEachValue(Visitor&& visit) const {
    const detail::Cell* value = head_ + detail::kHead;
    for (std::size_t left = Size(); left > 0; --left) {
      visit(Value(value, content_));
      value = detail::Behind(value);
    }
  }

  /// No member is an object or an array.
  [[nodiscard]] bool HasPlainValues() const { return detail::PayloadOf(*head_) == detail::kHead + Size(); }

  /// Value `index` of the text, repeated keys included, of an object that `HasPlainValues`.
  [[nodiscard]] Value PlainValueAt(std::size_t index) const {
    return {head_ + detail::kHead + index, content_};
  }

  /// What is the same for two objects of one document only if they have the same keys in the same order.
  [[nodiscard]] detail::Count Shape() const { return GetCount(); }

 private:
  friend class Value;
  using Container::Container;

  [[nodiscard]] std::string_view KeyAt(std::size_t index) const {
    const detail::Key& key = content_->keys[index];
    return content_->text.substr(key.begin, key.length);
  }

  // The key as it is shown: without a byte-order mark in front of it that was written as it is.
  [[nodiscard]] std::string_view NameAt(std::size_t index) const;

  // A member by places: there may be very many.
  struct Entry {
    std::uint32_t key;    // of the document's
    std::uint32_t value;  // behind the head
  };
  [[nodiscard]] std::vector<Entry> Sorted() const;
};

/// A member of an object.
struct NamedValue {
  std::string_view key;  ///< in UTF-8
  Value value;
};

/// A parsed text.
class Document {
 public:
  /// An empty document without error.
  Document() = default;

  /// Parses UTF-8. The bytes must outlive the document. Throws `std::bad_alloc` only, when memory is missing;
  /// of a text that would take more than budget.h allows it makes a document that is `TooLarge`.
  [[nodiscard]] static Document Parse(const char* text, std::size_t length);

  /// As `Parse`, but by Qt's parser always, which takes more memory: the reference that the reader of our own
  /// is held against.
  [[nodiscard]] static Document ParseByQt(const char* text, std::size_t length);

  /// The parser's error code (`QJsonParseError`); 0 when the text was JSON; -1 for a text that is too large.
  [[nodiscard]] int Error() const { return error_; }

  /// The text was not parsed, because it would take too much memory. Whether it is JSON is not known.
  [[nodiscard]] bool TooLarge() const { return error_ == kTooLarge; }

  /// The outermost object; an empty one when the text was no JSON or an array.
  [[nodiscard]] Object Root() const { return Outermost().AsObject(); }

  /// The outermost array; an empty one when the text was no JSON or an object.
  [[nodiscard]] Array RootArray() const { return Outermost().AsArray(); }

 private:
  static constexpr int kTooLarge = -1;  // no code of the parser

  explicit Document(int error) : error_(error) {}
  explicit Document(std::unique_ptr<const detail::Content> content) : content_(std::move(content)) {}
  [[nodiscard]] Value Outermost() const {
    return content_ == nullptr ? Value() : Value(content_->cells.get(), content_.get());
  }

  int error_ = 0;
  std::unique_ptr<const detail::Content> content_;
};

inline Object Value::AsObject() const {
  return IsObject() ? Object(cell_, content_) : Object();
}

inline Array Value::AsArray() const {
  return IsArray() ? Array(cell_, content_) : Array();
}

/// A key as wide text; the same holds.
[[nodiscard]] std::wstring WideKey(std::string_view key);
[[nodiscard]] std::wstring WideKey(std::string_view key, Budget& budget);

}  // namespace request::json
