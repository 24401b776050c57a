// The one door to the JSON parser: values, objects and arrays as the services and the record readers see
// them. Conversions never fail; each says what a value of another type reads as. Plain texts are read by a
// parser of our own, everything that it is not certain of by Qt's, error codes included; which one it was
// cannot be told from outside.
//
// A document is read-only after `Parse` and may be read from several threads. Values, objects and arrays are
// views: they live as long as their document.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace request::json {

class Array;
class Document;
class Object;

namespace detail {

enum class Kind : std::uint8_t { kUndefined, kNull, kFalse, kTrue, kNumber, kString, kArray, kObject };

// One value, or one key, of a document. A container is followed by its contents: values, or keys and values
// by turns.
struct Node {
  struct Range {
    std::uint32_t offset;
    std::uint32_t length;
  };

  Kind kind = Kind::kUndefined;
  bool escaped = false;      // a string that holds escape sequences
  std::uint32_t extent = 1;  // nodes from this one to the next of the same container
  union {
    double number = 0;
    Range text;           // in the document's text
    std::uint32_t count;  // elements of an array, members of an object
  };
};

}  // namespace detail

class Value {
 public:
  /// No value: what a missing member reads as.
  Value() = default;

  [[nodiscard]] bool IsUndefined() const { return node_ == nullptr; }
  [[nodiscard]] bool IsNull() const { return kind() == detail::Kind::kNull; }
  [[nodiscard]] bool IsArray() const { return kind() == detail::Kind::kArray; }
  [[nodiscard]] bool IsObject() const { return kind() == detail::Kind::kObject; }

  /// The text of a string; empty for anything else.
  [[nodiscard]] std::wstring Text() const;

  /// The number; 0.0 for anything else.
  [[nodiscard]] double Number() const { return kind() == detail::Kind::kNumber ? node_->number : 0.0; }

  /// The number if it is a whole one that fits; 0 for anything else, 5.5 and 3000000000 included.
  [[nodiscard]] int Integer() const;

  /// The object or array; an empty one for anything else.
  [[nodiscard]] Object AsObject() const;
  [[nodiscard]] Array AsArray() const;

 private:
  friend class Array;
  friend class Document;
  friend class Object;
  Value(const detail::Node* node, const char* text) : node_(node), text_(text) {}

  [[nodiscard]] detail::Kind kind() const {
    return node_ == nullptr ? detail::Kind::kUndefined : node_->kind;
  }

  const detail::Node* node_ = nullptr;
  const char* text_ = nullptr;
};

class Array {
 public:
  /// An empty array.
  Array() = default;

  [[nodiscard]] std::size_t Size() const { return node_ == nullptr ? 0 : node_->count; }

  /// Element `index`; undefined beyond the end. Walks there from the front: for a few elements of a short
  /// array.
  [[nodiscard]] Value At(std::size_t index) const;

  /// Calls `visit(value)` for every element, in order.
  template <class Visitor>
  void ForEach(Visitor&& visit) const {
    if (node_ == nullptr) {
      return;
    }
    const detail::Node* element = node_ + 1;
    for (std::size_t left = node_->count; left > 0; --left) {
      visit(Value(element, text_));
      element += element->extent;
    }
  }

 private:
  friend class Value;
  Array(const detail::Node* node, const char* text) : node_(node), text_(text) {}

  const detail::Node* node_ = nullptr;
  const char* text_ = nullptr;
};

class Object {
 public:
  /// An empty object.
  Object() = default;

  /// The member of that name (ASCII), the last one if the text held several; undefined when there is none.
  [[nodiscard]] Value Member(std::string_view key) const;
  [[nodiscard]] Object ObjectAt(std::string_view key) const { return Member(key).AsObject(); }
  [[nodiscard]] Array ArrayAt(std::string_view key) const { return Member(key).AsArray(); }

  /// This object as a value.
  [[nodiscard]] Value Self() const { return Value(node_, text_); }

  /// Calls `visit(key, value)` for every member, the key in UTF-8, in no certain order. A key that the text
  /// repeats comes again, its last value last: fit for a visitor whose later calls replace its earlier ones.
  template <class Visitor>
  void ForEachUnordered(Visitor&& visit) const {
    if (node_ == nullptr) {
      return;
    }
    const detail::Node* key = node_ + 1;
    for (std::size_t left = node_->count; left > 0; --left) {
      const detail::Node* const value = key + 1;
      visit(std::string_view(text_ + key->text.offset, key->text.length), Value(value, text_));
      key = value + value->extent;
    }
  }

  /// Calls `visit(key, value)` for every distinct key, ascending by its UTF-16 code units, with its last
  /// value.
  template <class Visitor>
  void ForEach(Visitor&& visit) const {
    for (const Entry& member : Sorted()) {
      visit(member.key, Value(member.value, text_));
    }
  }

 private:
  friend class Document;
  friend class Value;

  struct Entry {
    std::string_view key;
    const detail::Node* value;
  };

  Object(const detail::Node* node, const char* text) : node_(node), text_(text) {}
  [[nodiscard]] std::vector<Entry> Sorted() const;

  const detail::Node* node_ = nullptr;
  const char* text_ = nullptr;
};

/// A parsed text.
class Document {
 public:
  /// An empty document without error.
  Document() = default;
  Document(const Document&) = delete;
  Document& operator=(const Document&) = delete;
  Document(Document&&) noexcept = default;
  Document& operator=(Document&&) noexcept = default;

  /// Parses UTF-8. The bytes must outlive the document.
  [[nodiscard]] static Document Parse(const char* text, std::size_t length);

  /// As `Parse`, but by Qt's parser always: the reference that the parser of our own is held against.
  [[nodiscard]] static Document ParseByQt(const char* text, std::size_t length);

  /// The parser's error code (`QJsonParseError`); 0 when the text was JSON.
  [[nodiscard]] int Error() const { return error_; }

  /// The outermost object; an empty one when the text was no JSON or an array.
  [[nodiscard]] Object Root() const { return Outermost().AsObject(); }

  /// The outermost array; an empty one when the text was no JSON or an object.
  [[nodiscard]] Array RootArray() const { return Outermost().AsArray(); }

 private:
  [[nodiscard]] Value Outermost() const {
    return nodes_.empty() ? Value() : Value(nodes_.data(), owned_ ? texts_.data() : text_);
  }

  int error_ = 0;
  std::vector<detail::Node> nodes_;
  const char* text_ = nullptr;  // the caller's bytes
  bool owned_ = false;          // the strings stand in texts_ instead
  std::string texts_;
};

inline Object Value::AsObject() const {
  return IsObject() ? Object(node_, text_) : Object();
}

inline Array Value::AsArray() const {
  return IsArray() ? Array(node_, text_) : Array();
}

/// A key as wide text.
[[nodiscard]] std::wstring WideKey(std::string_view key);

}  // namespace request::json
