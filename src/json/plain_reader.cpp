// The one trick is to expect what came before. The rows of an answer are alike: an object most likely has the
// keys of the object before it on the same level, in the same order. So no key is looked for. The reader
// holds the bytes of the key that comes next, quotes and colon included, against those of the row before,
// sixteen at a time, and goes on to the value; a row that kept to it to its end shares the keys of the row
// before, and whoever fills records from such rows finds out once which member each key fills. A row that
// differs writes down keys of its own from there on.
//
// Values become cells on the way: the commas of some thousand characters are found ahead, numbers are made
// from sixteen characters at a time, strings are only passed. Blanks, long keys, long numbers and most
// characters beyond ASCII take the roads beside, and so does everything on a processor without AVX2.
#include "json/plain_reader.h"

#ifdef __x86_64__
#include <immintrin.h>
#endif

#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <vector>

#include "json/strings.h"

namespace request::json::detail {
namespace {

constexpr std::size_t kDeepest = 1024;

bool IsDigit(char character) {
  return character >= '0' && character <= '9';
}

bool IsBlank(char character) {
  return character == ' ' || character == '\n' || character == '\t' || character == '\r';
}

// Characters are looked at eight at a time where there are as many, the first in the lowest byte of a word:
// short texts of changing length are passed without a branch for each.
constexpr std::ptrdiff_t kWord = 8;

// So many bytes are there for whoever looks at several words: of a short key and of a number.
constexpr std::ptrdiff_t kSeveralWords = 6 * kWord;

bool HasBytes(std::ptrdiff_t bytes, const char* at, const char* end) {
  return std::endian::native == std::endian::little && end - at >= bytes;
}

std::uint64_t WordAt(const char* at) {
  std::uint64_t word = 0;
  std::memcpy(&word, at, sizeof(word));
  return word;
}

// The bits of so many bytes.
constexpr unsigned Bits(std::ptrdiff_t bytes) {
  return static_cast<unsigned>(8 * bytes);
}

constexpr std::uint64_t EightTimes(char character) {
  return 0x0101010101010101U * static_cast<unsigned char>(character);
}

constexpr std::uint64_t kTopBits = EightTimes('\x80');

// Sets the top bit of the first byte that a string cannot hold as it is, or that is not ASCII. Behind that
// one nothing is certain.
std::uint64_t MarkOthersThanPlain(std::uint64_t word) {
  const auto zeros = [](std::uint64_t bytes) { return bytes - EightTimes(1); };
  return ((word - EightTimes(' ')) | zeros(word ^ EightTimes('"')) | zeros(word ^ EightTimes('\\')) | word) &
         kTopBits;
}

// Two characters of three bytes, as nearly all Chinese ones are, whose first bytes set no limit to the
// others.
constexpr std::ptrdiff_t kTwoUsual = 6;

bool BeginsWithTwoUsual(std::uint64_t word) {
  constexpr auto twice = [](std::uint64_t three) { return three << Bits(3) | three; };
  const auto has_usual_lead = [word](std::ptrdiff_t place) {
    return (word >> Bits(place) & 0xFF) - 0xE1 < 0xED - 0xE1;
  };
  return (word & twice(0xC0C000)) == twice(0x808000) && has_usual_lead(0) && has_usual_lead(3);
}

std::ptrdiff_t BytesBeforeMark(std::uint64_t marks) {
  return std::countr_zero(marks) / 8;
}

// A number, and what is behind it: null for what is none.
struct Passed {
  const char* behind;
  double number;
};

#ifdef __x86_64__

// What the functions below are compiled for; `HasWide` says whether the processor has it.
#define CSM_WIDE gnu::target("avx2,bmi,bmi2")
#define CSM_WIDE_OF_LAMBDA target("avx2,bmi,bmi2")

// Characters of a number that are looked at together, and of several members.
constexpr unsigned kWide = 16;
constexpr std::ptrdiff_t kBlock = 64;

// Of a number of so many characters, with or without a sign, of which so many stand before the point: where
// its digits stand, to the right of sixteen places; by what they are divided, sign included; what they are at
// least, as no number begins with a zero but one that is below one; and the bit of its point. Up to fifteen
// digits a double holds exactly, as it does the powers of ten: the quotient of two such numbers is the double
// nearest to the decimal.
struct alignas(4 * kWide) Layout {
  std::array<std::uint8_t, kWide> places;
  double divisor;
  double least;
  unsigned point;
};
constexpr unsigned kNoLayout = ~0U;  // no bit of a point
constexpr auto kLayouts = [] {
  constexpr std::uint8_t kNowhere = 0x80;
  std::array<std::array<std::array<Layout, kWide>, kWide>, 2> layouts{};
  for (std::size_t sign = 0; sign < 2; ++sign) {
    for (std::size_t whole = 0; whole < kWide; ++whole) {
      for (std::size_t length = 0; length < kWide; ++length) {
        Layout& to = layouts[sign][whole][length];
        to.places.fill(kNowhere);
        if (whole <= sign || whole > length || whole + 1 == length) {
          to.point = kNoLayout;
          continue;
        }
        to.point = whole < length ? 1U << whole : 0;
        to.divisor = sign == 0 ? 1 : -1;
        to.least = whole > sign + 1 ? 0.1 : 0;
        for (std::size_t from = length, place = kWide; from-- > sign;) {
          if (from != whole) {
            to.places[--place] = static_cast<std::uint8_t>(from);
            to.divisor *= from > whole ? 10 : 1;
            to.least *= 10;
          }
        }
      }
    }
  }
  return layouts;
}();

[[CSM_WIDE, gnu::always_inline]] inline __m128i WideAt(const char* at) {
  return _mm_loadu_si128(reinterpret_cast<const __m128i*>(at));
}

// The bits of the characters that `bytes` marks.
[[CSM_WIDE, gnu::always_inline]] inline unsigned MarksOf(__m128i bytes) {
  return static_cast<unsigned>(_mm_movemask_epi8(bytes));
}

// Passes those of the next half a block that a string holds as they are, and that are ASCII.
[[CSM_WIDE, gnu::always_inline]] inline const char* PassPlain(const char* at) {
  const __m256i text = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(at));
  const __m256i others = _mm256_or_si256(_mm256_cmpgt_epi8(_mm256_set1_epi8(' '), text),  // as signed bytes
                                         _mm256_or_si256(_mm256_cmpeq_epi8(text, _mm256_set1_epi8('"')),
                                                         _mm256_cmpeq_epi8(text, _mm256_set1_epi8('\\'))));
  return at + std::countr_zero(static_cast<std::uint32_t>(_mm256_movemask_epi8(others)));
}

// The bits of those of the next characters that are one.
[[CSM_WIDE, gnu::always_inline]] inline std::uint32_t MarksInHalf(const char* at, char one) {
  const __m256i text = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(at));
  return static_cast<std::uint32_t>(_mm256_movemask_epi8(_mm256_cmpeq_epi8(text, _mm256_set1_epi8(one))));
}
[[CSM_WIDE, gnu::always_inline]] inline std::uint64_t MarksInBlock(const char* at, char one) {
  constexpr unsigned kHalf = kBlock / 2;
  return MarksInHalf(at, one) | static_cast<std::uint64_t>(MarksInHalf(at + kHalf, one)) << kHalf;
}

// What numbers are made with. Kept in registers: compilers would make them again for each number.
struct Weights {
  [[CSM_WIDE, gnu::always_inline]] Weights() {
    asm("" : "+x"(zero), "+x"(no_digit), "+x"(twos), "+x"(fours), "+x"(eights), "+x"(halves));
  }
  __m128i zero = _mm_set1_epi8('0');
  __m128i no_digit = _mm_set1_epi8(0x80 - 10);  // a byte from ten on reaches its top bit with it
  __m128i twos = _mm_set1_epi16(10 | 1 << 8);
  __m128i fours = _mm_set1_epi32(100 | 1 << 16);
  __m128i eights = _mm_set1_epi32(10000 | 1 << 16);
  __m128d halves = _mm_set_pd(1, 1e8);
};

// Reads a number without exponent, of up to fifteen characters, that ends at `behind`, where no digit stands;
// not for any other. Two words are there. No number is a negative zero.
[[CSM_WIDE, gnu::always_inline]] inline bool ReadWide(const Weights& weights, const char* at,
                                                      const char* behind, double& number) {
  const auto length = static_cast<std::size_t>(behind - at);
  if (length >= kWide) {
    return false;
  }
  const unsigned sign = *at == '-' ? 1 : 0;
  const __m128i digits = _mm_sub_epi8(WideAt(at), weights.zero);
  const unsigned others = MarksOf(_mm_adds_epu8(digits, weights.no_digit)) ^ sign;
  const unsigned whole = _tzcnt_u32(others);
  const Layout& layout = kLayouts[sign][whole][length];
  if (_bzhi_u32(others, static_cast<unsigned>(length)) != layout.point ||
      (whole != length && at[whole] != '.')) {
    return false;
  }
  const __m128i places = _mm_load_si128(reinterpret_cast<const __m128i*>(layout.places.data()));
  const __m128i twos = _mm_maddubs_epi16(_mm_shuffle_epi8(digits, places), weights.twos);
  const __m128i fours = _mm_madd_epi16(twos, weights.fours);
  const __m128i eights = _mm_madd_epi16(_mm_packus_epi32(fours, fours), weights.eights);
  const __m128d halves = _mm_mul_pd(_mm_cvtepi32_pd(eights), weights.halves);
  const double all = _mm_cvtsd_f64(_mm_add_sd(halves, _mm_unpackhi_pd(halves, halves)));
  if (all < layout.least) {
    return false;
  }
  number = all / layout.divisor + 0.0;
  return true;
}

// The same of a number that ends in what follows a value of a container, for whoever is made for any
// processor.
[[CSM_WIDE]] Passed PassShort(const char* at) {
  const __m128i text = WideAt(at);
  const __m128i brackets = _mm_or_si128(text, _mm_set1_epi8(']' ^ '}'));  // both are one then
  const unsigned ends = MarksOf(
      _mm_or_si128(_mm_cmpeq_epi8(text, _mm_set1_epi8(',')), _mm_cmpeq_epi8(brackets, _mm_set1_epi8('}'))));
  const char* const behind = at + std::countr_zero(ends);
  double number = 0;
  return ReadWide(Weights(), at, behind, number) ? Passed{behind, number} : Passed{nullptr, 0};
}

// Passes an array's numbers as long as they are short. How many.
[[CSM_WIDE]] std::size_t PassWideNumbers(const char*& at, const char* end, std::span<double> numbers) {
  const Weights weights;
  std::size_t count = 0;
  const char* next = at;
  const char* block = nullptr;
  std::uint64_t ends = 0;  // of the block, behind `next`
  for (; count != numbers.size() && HasBytes(kBlock + kSeveralWords, next, end); ++count) {
    if (*next != (count == 0 ? '[' : ',')) {
      break;
    }
    if (ends == 0) {
      block = next + 1;
      ends = MarksInBlock(block, ',') | MarksInBlock(block, ']');
    }
    const char* const behind = block + std::countr_zero(ends);
    ends &= ends - 1;
    if (!ReadWide(weights, next + 1, behind, numbers[count])) {
      break;
    }
    next = behind;
  }
  at = next;
  return count;
}

// The commas of a text, found many at a time: whoever goes from one to the next need not wait until what
// stands between them is read. Behind each of them there is a block.
class Commas {
 public:
  // Some of them, one after the other.
  using Places = std::span<const char* const>;

  Commas(const char* text, const char* end) : found_to_(text), end_(end) {}

  // Those from `at` on, which goes up, of the ones that were found last; if there is none, the next ones.
  // None near the end of the text.
  [[CSM_WIDE]] Places From(const char* at) {
    while (!found_.empty() && found_.front() < at) {
      found_ = found_.subspan(1);
    }
    if (found_.empty()) {
      Find(std::max(at, found_to_));
    }
    return found_;
  }

  // Those were passed that do not stand among these.
  void Keep(Places left) { found_ = left; }

 private:
  [[CSM_WIDE]] void Find(const char* block) {
    const char** last = places_.data();
    for (std::size_t blocks = 0; blocks < kBlocks && HasBytes(2 * kBlock, block, end_); ++blocks) {
      std::uint64_t commas = MarksInBlock(block, ',');
      const int count = std::popcount(commas);
      const auto put = [&](int comma) __attribute__((always_inline, CSM_WIDE_OF_LAMBDA)) {
        last[comma] = block + _tzcnt_u64(commas);
        commas &= commas - 1;
      };
      // Few blocks have more; those that are not there are written over.
      put(0);
      put(1);
      put(2);
      put(3);
      put(4);
      put(5);
      for (int comma = kUsual; comma < count; ++comma) {
        put(comma);
      }
      last += count;
      block += kBlock;
    }
    found_to_ = block;
    found_ = {places_.data(), last};
  }

  static constexpr std::size_t kBlocks = 64;
  static constexpr std::size_t kMostPlaces = kBlocks * static_cast<std::size_t>(kBlock);
  static constexpr int kUsual = 6;  // written down at once, whether there or not

  const char* found_to_;
  const char* const end_;
  std::array<const char*, kMostPlaces + kUsual> places_;
  Places found_;
};

// Passes what a string holds as it is, ASCII and usual characters, up to `limit` at least, behind which there
// is a block.
[[CSM_WIDE, gnu::always_inline]] inline const char* PassUsual(const char* at, const char* limit) {
  at = PassPlain(at);
  while (at <= limit && BeginsWithTwoUsual(WordAt(at))) {
    at = PassPlain(at + kTwoUsual);
  }
  return at;
}

// A key with its quotes and its colon, as it stood in the row before, and which of the bytes are its own.
struct alignas(kWide) Pattern {
  std::array<char, kWide> bytes;
  std::array<char, kWide> own;
  std::uint32_t length;

  // What is behind the key if it stands here, else null.
  [[CSM_WIDE, gnu::always_inline]] const char* Pass(const char* at) const {
    const __m128i differ = _mm_xor_si128(WideAt(at), WideAt(bytes.data()));
    return _mm_testz_si128(differ, WideAt(own.data())) != 0 ? at + length : nullptr;
  }
};

// Members of an object: where the next one stands, its key, where its value is written, and the commas from
// there on.
struct Members {
  const char* at;
  const Pattern* key;
  Cell* cell;
  Commas::Places commas;
};

// Passes members of a text up to `end`, each with the comma behind it, as long as there are commas, and their
// values are short numbers and plain strings. True behind the bracket of the last one, in front of a comma.
[[CSM_WIDE, gnu::noinline]] bool PassMembers(const char* text, Members& members, const Pattern* end) {
  const Weights weights;
  const Pattern* const last = end - 1;
  const char* at = members.at;
  const Pattern* key = members.key;
  Cell* cell = members.cell;
  const char* const* comma = members.commas.data();
  const char* const* const last_comma = comma + members.commas.size();
  // The last one stands in front of a bracket.
  const auto pass = [&](std::ptrdiff_t brackets) __attribute__((always_inline, CSM_WIDE_OF_LAMBDA)) {
    const char* const value = key->Pass(at);
    const char* const behind = *comma - brackets;
    if (value == nullptr || (brackets != 0 && *behind != '}')) {
      return false;
    }
    if (*value == '"') {
      const char* const quote = PassUsual(value + 1, behind);
      if (*quote != '"' || quote + 1 != behind) {
        return false;
      }
      *cell = StringCell(Kind::kString, static_cast<std::size_t>(value + 1 - text),
                         static_cast<std::size_t>(quote - value - 1));
    } else {
      double number = 0;
      if (!ReadWide(weights, value, behind, number)) {
        return false;
      }
      *cell = std::bit_cast<Cell>(number);
    }
    ++cell;
    ++key;
    ++comma;
    at = behind + 1;
    return true;
  };
  while (key != last && comma != last_comma && pass(0)) {
  }
  const bool passed = key == last && comma != last_comma && pass(1);
  members = {at, key, cell, {comma, last_comma}};
  return passed;
}

bool HasWide() {
  return __builtin_cpu_supports("avx2") != 0 && __builtin_cpu_supports("bmi") != 0 &&
         __builtin_cpu_supports("bmi2") != 0;
}

#else

bool HasWide() {
  return false;
}
Passed PassShort(const char* /*at*/) {
  return {nullptr, 0};
}

#endif

const char* SkipDigits(const char* at, const char* end) {
  return std::find_if_not(at, end, IsDigit);
}

// What is behind the number that begins at `at`; null for what is none, and for one that Qt's parser might
// read otherwise.
const char* PassNumber(const char* at, const char* end, double& number) {
  if (HasBytes(kSeveralWords, at, end) && HasWide()) {
    if (const Passed passed = PassShort(at); passed.behind != nullptr) {
      number = passed.number;
      return passed.behind;
    }
  }
  const char* const whole = at + (at != end && *at == '-' ? 1 : 0);
  const char* next = SkipDigits(whole, end);
  if (next == whole || (next - whole > 1 && *whole == '0')) {
    return nullptr;
  }
  if (next != end && *next == '.') {
    const char* const fraction = next + 1;
    next = SkipDigits(fraction, end);
    if (next == fraction) {
      return nullptr;
    }
  }
  const bool has_exponent = next != end && (*next | 0x20) == 'e';
  const auto [behind, error] = std::from_chars(at, end, number);
  if (error != std::errc() || (behind == next) == has_exponent ||
      (number != 0 && std::fabs(number) < std::numeric_limits<double>::min())) {
    return nullptr;
  }
  number += 0.0;
  return behind;
}

class Reader {
 public:
  Reader(std::string_view text, Content& content)
      : text_(text.data()),
        at_(text_),
        end_(text_ + text.size()),
        writer_(text.size() / sizeof(Cell)),
        keys_(content.keys)
#ifdef __x86_64__
        ,
        commas_(text_, end_)
#endif
  {
  }

  bool Read() {
    SkipBlanks();
    while (end_ != at_ && IsBlank(end_[-1])) {
      --end_;
    }
    // The last character closes a container: as long as none has been closed since, there is another one.
    return at_ != end_ && (end_[-1] == '}' || end_[-1] == ']') && (*at_ == '{' || *at_ == '[') &&
           AnyValue(0) && at_ == end_;
  }

  std::unique_ptr<Cell[]> TakeCells() {
    return writer_.Take();
  }

 private:
  bool AnyValue(std::size_t depth) {
    writer_.MakeRoom(keys_, 0);
    switch (*at_) {
      case '"':
        return String();
      case '{':
        return Object(depth);
      case '[':
        return Array(depth);
      case 'n':
        return Word("null", Kind::kNull);
      case 't':
        return Word("true", Kind::kBoolean);
      case 'f':
        return Word("false", Kind::kBoolean);
      default:
        return Number();
    }
  }

  bool Array(std::size_t depth) {
    if (depth == kDeepest) {
      return false;
    }
    const std::size_t head = writer_.Begin();
    Count count;
    ++at_;
    SkipBlanks();
    if (*at_ != ']') {
      do {
        SkipBlanks();
        ++count.entries;
        if (!AnyValue(depth + 1)) {
          return false;
        }
      } while (IsMore());
    }
    writer_.End(head, Kind::kArray, count);
    return Closes(']', depth);
  }

  bool Object(std::size_t depth) {
    if (depth == kDeepest) {
      return false;
    }
    if (depth >= expected_.size()) {
      expected_.resize(depth + 1);
    }
    const std::size_t head = writer_.Begin();
    const Count expected = expected_[depth].count;
    const std::size_t own_keys = new_keys_.size();
    bool is_as_expected = true;
    Count count = {expected.first_key, 0};
    ++at_;
    SkipBlanks();
    if (*at_ != '}') {
      do {
#ifdef __x86_64__
        if (is_as_expected && PassExpectedMembers(depth, count)) {
          writer_.End(head, Kind::kObject, count);
          return true;
        }
#endif
        SkipBlanks();
        const char* behind = nullptr;
        if (is_as_expected && count.entries < expected.entries && HasBytes(kSeveralWords, at_, end_)) {
          behind = PassExpected(at_, keys_[expected.first_key + count.entries]);
        }
        if (behind != nullptr) {
          at_ = behind;
        } else {
          if (is_as_expected) {
            is_as_expected = false;
            const auto first = keys_.begin() + expected.first_key;
            new_keys_.insert(new_keys_.end(), first, first + count.entries);
          }
          if (!PassKey()) {
            return false;
          }
        }
        ++count.entries;
        SkipBlanks();
        if (!AnyValue(depth + 1)) {
          return false;
        }
      } while (IsMore());
    }
    if (!is_as_expected) {
      count.first_key = static_cast<std::uint32_t>(keys_.size());
      writer_.MakeRoomForKeys(keys_, count.entries);
      keys_.insert(keys_.end(), new_keys_.begin() + static_cast<std::ptrdiff_t>(own_keys), new_keys_.end());
      new_keys_.resize(own_keys);
    }
    expected_[depth] = {count, is_wide_ && is_as_expected && count == expected && depth < kWideLevels &&
                                   count.entries >= kFewestWideMembers && count.entries <= kMostWideMembers};
    writer_.End(head, Kind::kObject, count);
    return Closes('}', depth);
  }

  // Passes a comma between two entries.
  bool IsMore() {
    SkipBlanks();
    if (*at_ != ',') {
      return false;
    }
    ++at_;
    return true;
  }

  // Passes the end of a container; of an inner one only if something follows.
  bool Closes(char bracket, std::size_t depth) {
    return *at_ == bracket && (++at_ != end_ || depth == 0);
  }

#ifdef __x86_64__
  // Passes members as they are expected, with the commas behind them. True behind the bracket of the last
  // one, in front of a comma.
  [[CSM_WIDE]] bool PassExpectedMembers(std::size_t depth, Count& count) {
    const Expected& expected = expected_[depth];
    if (!expected.is_kept || count.entries == expected.count.entries) {
      return false;
    }
    writer_.MakeRoom(keys_, expected.count.entries);
    const std::span<const Pattern> patterns = PatternsOf(depth);
    bool passed = false;
    Members members{at_, patterns.data() + count.entries, writer_.Next(), {}};
    while (!passed && members.commas.empty()) {
      members.commas = commas_.From(members.at);
      if (members.commas.empty()) {
        break;
      }
      passed = PassMembers(text_, members, patterns.data() + patterns.size());
      commas_.Keep(members.commas);
    }
    at_ = members.at;
    writer_.Next(members.cell);
    count.entries = static_cast<std::uint32_t>(members.key - patterns.data());
    return passed;
  }

  // Of the keys that are expected. Made when they were kept to for the first time.
  std::span<const Pattern> PatternsOf(std::size_t depth) {
    auto& [count, patterns] = patterned_.at(depth);
    if (count != expected_[depth].count) {
      count = expected_[depth].count;
      patterns.clear();
      for (std::size_t key = 0; key < count.entries; ++key) {
        const auto [begin, length] = keys_[count.first_key + key];
        Pattern pattern{{}, {}, length + 3};
        if (pattern.length > kWide || text_[begin + length + 1] != ':') {
          pattern.length = 1;  // no key begins with a zero
        } else {
          std::copy_n(text_ + begin - 1, pattern.length, pattern.bytes.begin());
        }
        std::fill_n(pattern.own.begin(), pattern.length, '\xFF');
        patterns.push_back(pattern);
      }
    }
    return patterns;
  }
#endif

  // What is behind the key, with quotes and colon, if it stands here as it did where it was read; else null.
  // Several words are there, and then for a number behind it.
  [[nodiscard]] const char* PassExpected(const char* at, const Key& key) const {
    const char* const before = text_ + key.begin - 1;
    const auto length = static_cast<std::ptrdiff_t>(key.length) + 3;
    const auto difference = [at, before](std::ptrdiff_t place) {
      return WordAt(at + place) ^ WordAt(before + place);
    };
    std::uint64_t differs = 0;
    if (length <= kWord) {
      differs = difference(0) << Bits(kWord - length);
    } else if (length <= 2 * kWord) {
      differs = difference(0) | difference(length - kWord);
    } else {
      const bool is_same = HasBytes(length + kSeveralWords, at, end_) &&
                           std::memcmp(at, before, static_cast<std::size_t>(length)) == 0;
      differs = is_same ? 0 : 1;
    }
    return differs == 0 && at[length - 1] == ':' ? at + length : nullptr;
  }

  // Passes a key without escapes, and its colon.
  bool PassKey() {
    if (*at_ != '"') {
      return false;
    }
    const char* const begin = ++at_;
    if (StartsWithMark() || !Characters() || *at_ != '"') {
      return false;
    }
    new_keys_.push_back({static_cast<std::uint32_t>(begin - text_), static_cast<std::uint32_t>(at_ - begin)});
    ++at_;
    SkipBlanks();
    return *at_++ == ':';
  }

  bool Number() {
    double number = 0;
    const char* const behind = PassNumber(at_, end_, number);
    if (behind == nullptr) {
      return false;
    }
    at_ = behind;
    writer_.Put(std::bit_cast<Cell>(number));
    return true;
  }

  bool Word(std::string_view word, Kind kind) {
    if (!std::string_view(at_, static_cast<std::size_t>(end_ - at_)).starts_with(word)) {
      return false;
    }
    at_ += word.size();
    writer_.Put(MakeCell(kind));
    return true;
  }

  bool String() {
    const auto begin = static_cast<std::size_t>(++at_ - text_);
    Kind kind = Kind::kString;
    if (StartsWithMark()) {
      return false;
    }
    while (Characters()) {
      if (*at_ == '"') {
        writer_.Put(StringCell(kind, begin, static_cast<std::size_t>(at_ - text_) - begin));
        ++at_;
        return true;
      }
      kind = Kind::kEscaped;
      if (!Escape()) {
        return false;
      }
    }
    return false;
  }

  [[nodiscard]] bool StartsWithMark() const {
    return *at_ == kByteOrderMark.front() &&
           std::string_view(at_, static_cast<std::size_t>(end_ - at_)).starts_with(kByteOrderMark);
  }

  // Passes characters of a string up to a quote or an escape. False for the end and for what no string holds.
  bool Characters() {
    for (;;) {
      if (HasBytes(kWord, at_, end_)) {
        const std::ptrdiff_t plain = BytesBeforeMark(MarkOthersThanPlain(WordAt(at_)));
        at_ += plain;
        if (plain == kWord) {
          continue;
        }
      }
      if (at_ == end_) {
        return false;
      }
      const auto byte = static_cast<unsigned char>(*at_);
      if (byte >= 0x80) {
        do {
          if (HasBytes(kWord, at_, end_) && BeginsWithTwoUsual(WordAt(at_))) {
            at_ += kTwoUsual;
          } else if (!Multibyte()) {
            return false;
          }
        } while (at_ != end_ && static_cast<unsigned char>(*at_) >= 0x80);
      } else if (byte < 0x20 || byte == '"' || byte == '\\') {
        return byte >= 0x20;
      } else {
        ++at_;
      }
    }
  }

  bool Escape() {
    if (end_ - at_ < 2) {
      return false;
    }
    if (at_[1] != 'u') {
      const bool known = std::string_view("\"\\/bfnrt").find(at_[1]) != std::string_view::npos;
      at_ += 2;
      return known;
    }
    return EscapedUnit(at_, end_) >= 0 && !IsSurrogate(PassEscape(at_, end_));
  }

  // Passes one well-formed UTF-8 sequence of two to four bytes.
  bool Multibyte() {
    const auto byte = [this](int place) { return static_cast<unsigned char>(at_[place]); };
    const unsigned char lead = byte(0);
    // Most are of three bytes, without a limit to the second.
    if ((lead & 0xF0) == 0xE0 && lead != 0xE0 && lead != 0xED && end_ - at_ >= 3 &&
        (byte(1) & 0xC0) == 0x80 && (byte(2) & 0xC0) == 0x80) {
      at_ += 3;
      return true;
    }
    const int length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
    if (lead < 0xC2 || lead > 0xF4 || end_ - at_ < length) {
      return false;
    }
    for (int place = 1; place < length; ++place) {
      if ((byte(place) & 0xC0) != 0x80) {
        return false;
      }
    }
    const unsigned char second = byte(1);
    if ((lead == 0xE0 && second < 0xA0) || (lead == 0xED && second > 0x9F) ||
        (lead == 0xF0 && second < 0x90) || (lead == 0xF4 && second > 0x8F)) {
      return false;
    }
    at_ += length;
    return true;
  }

  void SkipBlanks() {
    while (at_ != end_ && IsBlank(*at_)) {
      ++at_;
    }
  }

  const char* const text_;
  const char* at_;
  const char* end_;
  CellWriter writer_;
  std::vector<Key>& keys_;
  std::vector<Key> new_keys_;  // of the open objects that differ from what was expected

  // The last object on each level, and whether it kept to the one before.
  struct Expected {
    Count count;
    bool is_kept = false;
  };
  std::vector<Expected> expected_;

  const bool is_wide_ = HasWide();

  // What is expected there is kept as patterns.
  static constexpr std::size_t kWideLevels = 8;
  static constexpr std::size_t kFewestWideMembers = 6;  // fewer are read as fast one by one
  static constexpr std::size_t kMostWideMembers = 256;
#ifdef __x86_64__
  struct Patterned {
    Count count;
    std::vector<Pattern> patterns;
  };
  std::array<Patterned, kWideLevels> patterned_;
  Commas commas_;
#endif
};

}  // namespace

bool ReadPlain(std::string_view text, Content& content) {
  Reader reader(text, content);
  if (!reader.Read()) {
    return false;
  }
  content.text = text;
  content.cells = reader.TakeCells();
  return true;
}

std::size_t ReadPlainNumbers(std::string_view text, std::span<double> numbers) {
  const char* at = text.data();
  const char* const end = at + text.size();
  std::size_t passed = 0;
#ifdef __x86_64__
  passed = HasWide() ? PassWideNumbers(at, end, numbers) : 0;
#endif
  for (; passed != numbers.size(); ++passed) {
    if (at == end || *at != (passed == 0 ? '[' : ',')) {
      return 0;
    }
    at = PassNumber(at + 1, end, numbers[passed]);
    if (at == nullptr) {
      return 0;
    }
  }
  return at != end && *at == ']' ? static_cast<std::size_t>(at + 1 - text.data()) : 0;
}

}  // namespace request::json::detail
