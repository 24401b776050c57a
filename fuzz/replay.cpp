// Runs a fuzz target over the files of a folder, where there is no libFuzzer: `fuzz_<name> FOLDER [COPIES]`.
// With a number of copies each file comes that often again, damaged in one to three places; the same in every
// run.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

std::string Damaged(std::string text, std::mt19937& random) {
  static const std::string kBytes = "{}[]\",:0123456789.eE+-ntfalsu\\/ \t\r\n\x01\xE4\xB8\xFF";
  const auto below = [&random](std::size_t limit) { return static_cast<std::size_t>(random() % limit); };
  for (std::size_t blow = 0, blows = 1 + below(3); blow < blows && !text.empty(); ++blow) {
    const std::size_t place = below(text.size());
    const std::size_t behind = below(text.size() + 1);
    const char byte = below(8) == 0 ? static_cast<char>(below(256)) : kBytes[below(kBytes.size())];
    switch (below(8)) {
      case 0:
      case 1:
        text.erase(place, 1);
        break;
      case 2:
        text.erase(place, 1 + below(8));
        break;
      case 3:
      case 4:
        text.insert(behind, 1, byte);
        break;
      case 5:
        text[place] = byte;
        break;
      case 6:
        text.insert(behind, text.substr(place, 1 + below(8)));
        break;
      default:
        if (below(4) == 0) text.resize(place);
    }
  }
  return text;
}

void Run(const std::string& bytes) {
  // In a block of its own size: whoever reads behind it is seen by the address sanitizer.
  const std::vector<std::uint8_t> data(bytes.begin(), bytes.end());
  LLVMFuzzerTestOneInput(data.data(), data.size());
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2 || argc > 3 || !std::filesystem::is_directory(argv[1])) {
    std::fprintf(stderr, "usage: %s FOLDER [COPIES]\n", argv[0]);
    return 2;
  }
  const int copies = argc == 3 ? std::atoi(argv[2]) : 0;
  int count = 0;
  for (const auto& entry : std::filesystem::directory_iterator(argv[1])) {
    std::ifstream file(entry.path(), std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    std::mt19937 random(20240315);  // NOLINT(cert-msc51-cpp): the same in every run
    Run(bytes);
    for (int copy = 0; copy < copies; ++copy) Run(Damaged(bytes, random));
    ++count;
  }
  std::printf("%d inputs\n", count);
  return count > 0 ? 0 : 1;
}
