#include "market_server/gzip.h"

#include <zlib.h>

#include <new>

namespace market_server {
namespace {

constexpr int kRaw = -15;  // deflate without a wrapping of its own

/// The fixed head: no name, no time, so that equal texts give equal files.
constexpr std::string_view kHead("\x1f\x8b\x08\0\0\0\0\0\0\x03", 10);

std::string Deflate(std::string_view text, int flush) {
  z_stream stream{};
  if (deflateInit2(&stream, Z_DEFAULT_COMPRESSION, Z_DEFLATED, kRaw, 8, Z_DEFAULT_STRATEGY) != Z_OK) {
    throw std::bad_alloc();
  }
  std::string packed(deflateBound(&stream, static_cast<uLong>(text.size())) + 16, '\0');
  stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(text.data()));
  stream.avail_in = static_cast<uInt>(text.size());
  stream.next_out = reinterpret_cast<Bytef*>(packed.data());
  stream.avail_out = static_cast<uInt>(packed.size());
  deflate(&stream, flush);
  packed.resize(stream.total_out);
  deflateEnd(&stream);
  return packed;
}

void AppendLittleEndian(std::string& out, std::uint32_t number) {
  for (int i = 0; i < 4; ++i) {
    out.push_back(static_cast<char>(number & 0xFF));
    number >>= 8;
  }
}

std::uint32_t Sum(std::string_view text) {
  return static_cast<std::uint32_t>(crc32(crc32(0, nullptr, 0), reinterpret_cast<const Bytef*>(text.data()),
                                          static_cast<uInt>(text.size())));
}

}  // namespace

std::string Gzip(std::string_view text) {
  std::string file(kHead);
  file += Deflate(text, Z_FINISH);
  AppendLittleEndian(file, Sum(text));
  AppendLittleEndian(file, static_cast<std::uint32_t>(text.size()));
  return file;
}

std::string Gunzip(std::string_view file) {
  if (file.size() < kHead.size() + 8 || file.substr(0, kHead.size()) != kHead) return {};
  const std::string_view tail = file.substr(file.size() - 4);
  std::uint32_t size = 0;
  for (int i = 3; i >= 0; --i)
    size = size * 256 + static_cast<unsigned char>(tail[static_cast<std::size_t>(i)]);
  z_stream stream{};
  if (inflateInit2(&stream, kRaw) != Z_OK) throw std::bad_alloc();
  std::string text(size, '\0');
  stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(file.data() + kHead.size()));
  stream.avail_in = static_cast<uInt>(file.size() - kHead.size() - 8);
  stream.next_out = reinterpret_cast<Bytef*>(text.data());
  stream.avail_out = size;
  const int result = inflate(&stream, Z_FINISH);
  inflateEnd(&stream);
  if (result != Z_STREAM_END) text.clear();
  return text;
}

std::string GzipBomb(std::uint64_t mebibytes) {
  // One flushed block can be repeated: each stands for a mebibyte of blanks and refers to nothing before it.
  const std::string blanks(std::size_t{1} << 20, ' ');
  const std::string block = Deflate(blanks, Z_FULL_FLUSH);
  const std::uint32_t one = Sum(blanks);
  std::string file(kHead);
  uLong sum = crc32(0, nullptr, 0);
  for (std::uint64_t i = 0; i < mebibytes; ++i) {
    file += block;
    sum = crc32_combine(sum, one, static_cast<z_off_t>(blanks.size()));
  }
  file += Deflate({}, Z_FINISH);
  AppendLittleEndian(file, static_cast<std::uint32_t>(sum));
  AppendLittleEndian(file, static_cast<std::uint32_t>(mebibytes << 20));
  return file;
}

}  // namespace market_server
