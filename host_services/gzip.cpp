#include "gzip.h"

#include <libdeflate.h>

#include <algorithm>
#include <array>
#include <limits>
#include <memory>
#include <new>

#include "descriptor.h"
#include "host/files.h"
#include "host/text.h"

namespace stock_host {
namespace {

constexpr std::size_t kUnpackedLimit = 64U << 20;
constexpr std::size_t kChunk = 64U << 10;
constexpr int kGzipOnly = 15 + 16;

// How large the text of `packed` says it is: the last four bytes, of a text of one member. No more than
// packing can achieve.
std::size_t AnnouncedSize(std::string_view packed) {
  constexpr std::size_t kMostOfByte = 1032;
  std::size_t size = 0;
  for (std::size_t place = 1; place <= 4 && place <= packed.size(); ++place) {
    size = size << 8U | static_cast<unsigned char>(packed[packed.size() - place]);
  }
  return std::min({size, packed.size() * kMostOfByte, kUnpackedLimit});
}

// Unpacks a whole gzip text, much faster than piece by piece. False when it is none, or too large.
bool UnpackWhole(std::string_view packed, std::string& text) {
  const std::unique_ptr<libdeflate_decompressor, void (*)(libdeflate_decompressor*)> decompressor(
      libdeflate_alloc_decompressor(), &libdeflate_free_decompressor);
  if (decompressor == nullptr) {
    throw std::bad_alloc();
  }
  text.resize(AnnouncedSize(packed));
  std::size_t unpacked = 0;
  do {
    std::size_t taken = 0;
    std::size_t made = 0;
    const libdeflate_result result =
        libdeflate_gzip_decompress_ex(decompressor.get(), packed.data(), packed.size(),
                                      text.data() + unpacked, text.size() - unpacked, &taken, &made);
    if (result == LIBDEFLATE_INSUFFICIENT_SPACE && text.size() < kUnpackedLimit) {
      text.resize(std::min(2 * text.size() + kChunk, kUnpackedLimit));
      continue;
    }
    if (result != LIBDEFLATE_SUCCESS) {
      return false;
    }
    packed.remove_prefix(taken);
    unpacked += made;
  } while (!packed.empty());
  text.resize(unpacked);
  return true;
}

}  // namespace

Gunzip::Gunzip(std::size_t limit) : limit_(limit) {
  if (inflateInit2(&stream_, kGzipOnly) != Z_OK) {
    state_ = State::kCorrupt;
  }
}

Gunzip::~Gunzip() {
  inflateEnd(&stream_);
}

Gunzip::State Gunzip::Feed(std::string_view piece, std::string& out) {
  while (state_ == State::kGood && !piece.empty()) {
    if (between_members_) {
      between_members_ = false;
      inflateReset(&stream_);
    }
    const std::size_t offered = std::min<std::size_t>(piece.size(), std::numeric_limits<uInt>::max());
    stream_.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(piece.data()));
    stream_.avail_in = static_cast<uInt>(offered);
    bool room_left = false;
    while (!room_left && !between_members_ && state_ == State::kGood) {
      std::array<char, kChunk> chunk;
      stream_.next_out = reinterpret_cast<Bytef*>(chunk.data());
      stream_.avail_out = static_cast<uInt>(chunk.size());
      const int result = inflate(&stream_, Z_NO_FLUSH);
      const std::size_t got = chunk.size() - stream_.avail_out;
      if (got > limit_ - unpacked_) {
        state_ = State::kTooLarge;
        break;
      }
      out.append(chunk.data(), got);
      unpacked_ += got;
      if (result == Z_STREAM_END) {
        between_members_ = true;
      } else if (result != Z_OK && result != Z_BUF_ERROR) {
        state_ = State::kCorrupt;
      } else {
        // An output buffer that is not full: all of the input is used up.
        room_left = stream_.avail_out > 0;
      }
    }
    piece.remove_prefix(offered - stream_.avail_in);
  }
  return state_;
}

bool IsWholeGzip(std::string_view bytes) {
  Gunzip gunzip(kUnpackedLimit);
  std::string out;
  while (!bytes.empty()) {
    const std::string_view piece = bytes.substr(0, kChunk);
    bytes.remove_prefix(piece.size());
    if (gunzip.Feed(piece, out) != Gunzip::State::kGood) {
      return false;
    }
    out.clear();
  }
  return gunzip.Whole();
}

}  // namespace stock_host

bool GZipExtract(const wchar_t* path, std::string& text) {
  text.clear();
  if (path == nullptr) {
    return false;
  }
  const auto packed = stock_host::ReadWhole(common::ws2s(path, common::kUtf8), stock_host::kUnpackedLimit);
  std::string unpacked;
  if (!packed || !stock_host::UnpackWhole(*packed, unpacked)) {
    return false;
  }
  text = std::move(unpacked);
  return true;
}
