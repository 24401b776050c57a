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
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "json/budget.h"

namespace request::json {

class Array;
class Document;
class Object;
struct NamedValue;

namespace detail {

// A document is its text and a row of tokens in the order of the text. A token is the place in the text where
// a value or a key begins; what stands there says what it is. A container has two tokens more, its extent and
// its count, and is followed by its contents: values, or keys and values by turns.
using Token = std::uint32_t;

inline constexpr std::size_t kExtent = 1;    // tokens from the container to the next of the same outer one
inline constexpr std::size_t kCount = 2;     // elements of an array, members of an object
inline constexpr std::size_t kContents = 3;  // where they begin

// What strings, keys and numbers begin with in a text of our own: there follow the length (a Token) and the
// bytes, or the bytes of a double. No JSON begins so.
inline constexpr char kOwnText = '\x01';
inline constexpr char kOwnNumber = '\x02';

[[nodiscard]] inline bool BeginsContainer(char lead) {
  return lead == '{' || lead == '[';
}

[[nodiscard]] inline const Token* Behind(const Token* value, std::string_view text) {
  return value + (BeginsContainer(text[*value]) ? value[kExtent] : 1);
}

/// The text that `kOwnText` begins at `at`.
[[nodiscard]] inline std::string_view OwnTextAt(const char* at) {
  Token length = 0;
  std::memcpy(&length, at + 1, sizeof(length));
  return {at + 1 + sizeof(length), length};
}

}  // namespace detail

class Value {
 public:
  /// No value: what a missing member reads as.
  Value() = default;

  [[nodiscard]] bool IsUndefined() const { return token_ == nullptr; }
  [[nodiscard]] bool IsNull() const { return Lead() == 'n'; }
  [[nodiscard]] bool IsArray() const { return Lead() == '['; }
  [[nodiscard]] bool IsObject() const { return Lead() == '{'; }

  /// The text of a string; empty for anything else.
  [[nodiscard]] std::wstring Text() const;

  /// The same into a text whose memory is used again.
  void TextInto(std::wstring& out) const;

  /// The number; 0.0 for anything else.
  [[nodiscard]] double Number() const;

  /// The number if it is a whole one that fits; 0 for anything else, 5.5 and 3000000000 included.
  [[nodiscard]] int Integer() const;

  /// The object or array; an empty one for anything else.
  [[nodiscard]] Object AsObject() const;
  [[nodiscard]] Array AsArray() const;

 private:
  friend class Array;
  friend class Document;
  friend class Object;
  Value(const detail::Token* token, std::string_view text) : token_(token), text_(text) {}

  // The first character of what it is in the text.
  [[nodiscard]] char Lead() const { return token_ == nullptr ? '\0' : text_[*token_]; }

  const detail::Token* token_ = nullptr;
  std::string_view text_;
};

/// The key of a member.
class Key {
 public:
  [[nodiscard]] bool Is(std::string_view name) const {
    if (rest_.front() == detail::kOwnText) {
      return Text() == name;
    }
    return rest_.size() > name.size() + 1 && rest_[name.size() + 1] == '"' &&
           rest_.substr(1, name.size()) == name;
  }

  /// In UTF-8.
  [[nodiscard]] std::string_view Text() const {
    if (rest_.front() == detail::kOwnText) {
      return detail::OwnTextAt(rest_.data());
    }
    return rest_.substr(1, rest_.find('"', 1) - 1);  // a key holds no escapes
  }

 private:
  friend class Object;
  explicit Key(std::string_view rest) : rest_(rest) {}

  std::string_view rest_;  // of the text, from the key on
};

class Array {
 public:
  /// An empty array.
  Array() = default;

  [[nodiscard]] std::size_t Size() const { return token_ == nullptr ? 0 : token_[detail::kCount]; }

  /// Element `index`; undefined beyond the end. Walks there from the front: for a few elements of a short
  /// array.
  [[nodiscard]] Value At(std::size_t index) const;

  /// Calls `visit(value)` for every element, in order.
  template <class Visitor>
  void ForEach(Visitor&& visit) const {
    if (token_ == nullptr) {
      return;
    }
    const detail::Token* element = token_ + detail::kContents;
    for (std::size_t left = Size(); left > 0; --left) {
      visit(Value(element, text_));
      element = detail::Behind(element, text_);
    }
  }

 private:
  friend class Value;
  Array(const detail::Token* token, std::string_view text) : token_(token), text_(text) {}

  const detail::Token* token_ = nullptr;
  std::string_view text_;
};

class Object {
 public:
  /// An empty object.
  Object() = default;

  /// The member of that name (ASCII), the last one if the text held several; undefined when there is none.
  [[nodiscard]] Value Member(std::string_view key) const;
  [[nodiscard]] Object ObjectAt(std::string_view key) const { return Member(key).AsObject(); }
  [[nodiscard]] Array ArrayAt(std::string_view key) const { return Member(key).AsArray(); }

  /// The first of its members, by the order of `ForEach`; an empty key and an undefined value when it has
  /// none.
  [[nodiscard]] NamedValue First() const;

  /// This object as a value.
  [[nodiscard]] Value Self() const { return Value(token_, text_); }

  /// Calls `visit(key, value)` for every member, the key as a `Key`, in no certain order. A key that the text
  /// repeats comes again, its last value last: fit for a visitor whose later calls replace its earlier ones.
  template <class Visitor>
  void ForEachUnordered(Visitor&& visit) const {
    if (token_ == nullptr) {
      return;
    }
    const detail::Token* key = token_ + detail::kContents;
    for (std::size_t left = token_[detail::kCount]; left > 0; --left) {
      const detail::Token* const value = key + 1;
      visit(Key(text_.substr(*key)), Value(value, text_));
      key = detail::Behind(value, text_);
    }
  }

  /// Calls `visit(key, value)` for every distinct key, in UTF-8, ascending by its UTF-16 code units, with its
  /// last value.
  template <class Visitor>
  void ForEach(Visitor&& visit) const {
    for (const Entry& member : Sorted()) {
      visit(KeyOf(member), Value(token_ + member.value, text_));
    }
  }

 private:
  friend class Document;
  friend class Value;

  // A member of the text, by places: there may be very many.
  struct Entry {
    detail::Token key_begin;
    detail::Token key_length;
    detail::Token value;  // behind this object's token
  };

  Object(const detail::Token* token, std::string_view text) : token_(token), text_(text) {}
  [[nodiscard]] std::vector<Entry> Sorted() const;
  [[nodiscard]] std::string_view KeyOf(const Entry& member) const {
    return text_.substr(member.key_begin, member.key_length);
  }

  const detail::Token* token_ = nullptr;
  std::string_view text_;
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
  Document(const Document&) = delete;
  Document& operator=(const Document&) = delete;
  Document(Document&&) noexcept = default;
  Document& operator=(Document&&) noexcept = default;

  /// Parses UTF-8. The bytes must outlive the document. Throws `std::bad_alloc` only, when memory is missing;
  /// of a text that would take more than budget.h allows it makes a document that is `TooLarge`.
  [[nodiscard]] static Document Parse(const char* text, std::size_t length);

  /// As `Parse`, but by Qt's parser always, which takes more memory: the reference that the parser of our own
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

  [[nodiscard]] static Document MakeTooLarge();
  [[nodiscard]] Value Outermost() const {
    return tokens_.empty() ? Value() : Value(tokens_.data(), owned_ ? own_text_ : text_);
  }

  int error_ = 0;
  std::vector<detail::Token> tokens_;
  std::string_view text_;  // the caller's bytes
  bool owned_ = false;     // the tokens are of own_text_ instead
  std::string own_text_;
};

inline Object Value::AsObject() const {
  return IsObject() ? Object(token_, text_) : Object();
}

inline Array Value::AsArray() const {
  return IsArray() ? Array(token_, text_) : Array();
}

/// A key as wide text.
[[nodiscard]] std::wstring WideKey(std::string_view key);

}  // namespace request::json
