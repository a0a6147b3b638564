// SPDX-License-Identifier: GPL-3.0-or-later
// Runs a fuzz target without a fuzzing engine: every file of the corpus folders as it is, then seeded
// mutations of them, the same in each run. Under the sanitizers this is what the checks run; coverage-guided
// fuzzing of the same targets is the option ONDARIX_LIBFUZZER.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace {

using Input = std::vector<uint8_t>;
using Random = std::mt19937_64;

size_t Below(Random& random, size_t limit) { return limit == 0 ? 0 : static_cast<size_t>(random() % limit); }

// Values at which length checks go wrong.
constexpr uint64_t kInteresting[] = {0,
                                     1,
                                     2,
                                     7,
                                     8,
                                     0x7F,
                                     0x80,
                                     0xFF,
                                     0x7FFF,
                                     0xFFFF,
                                     0x7FFFFFFF,
                                     0x80000000,
                                     0xFFFFFF01,
                                     0xFFFFFFF8,
                                     0xFFFFFFFF,
                                     0x7FFFFFFFFFFFFFFF,
                                     0xFFFFFFFFFFFFFFFF};

void MutateOnce(Input& input, const std::vector<Input>& corpus, Random& random) {
    const size_t at = Below(random, input.size());
    switch (random() % 6) {
        case 0:
            if (!input.empty()) input[at] ^= static_cast<uint8_t>(1U << (random() % 8));
            break;
        case 1:
            if (!input.empty()) input[at] = static_cast<uint8_t>(random());
            break;
        case 2:
            input.resize(at);
            break;
        case 3: {
            const uint64_t value = kInteresting[Below(random, std::size(kInteresting))];
            const size_t width = size_t{1} << (random() % 4);
            if (input.size() >= width)
                std::memcpy(input.data() + Below(random, input.size() - width + 1), &value, width);
            break;
        }
        case 4: {
            const Input& other = corpus[Below(random, corpus.size())];
            const size_t from = Below(random, other.size());
            input.resize(at);
            input.insert(input.end(), other.begin() + static_cast<ptrdiff_t>(from), other.end());
            break;
        }
        default:
            if (!input.empty()) {
                const size_t count = 1 + Below(random, std::min<size_t>(input.size() - at, 64));
                const Input piece(input.begin() + static_cast<ptrdiff_t>(at),
                                  input.begin() + static_cast<ptrdiff_t>(at + count));
                input.insert(input.begin() + static_cast<ptrdiff_t>(Below(random, input.size())),
                             piece.begin(), piece.end());
            }
    }
}

}  // namespace

int main(int argc, char** argv) {
    long runs = 0;
    std::vector<Input> corpus;
    for (int i = 1; i < argc; ++i) {
        if (std::strncmp(argv[i], "-runs=", 6) == 0) {
            runs = std::strtol(argv[i] + 6, nullptr, 10);
            continue;
        }
        std::vector<std::filesystem::path> files;
        for (const auto& entry : std::filesystem::directory_iterator(argv[i])) files.push_back(entry.path());
        std::sort(files.begin(), files.end());
        for (const auto& path : files) {
            std::ifstream file(path, std::ios::binary);
            corpus.emplace_back(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
        }
    }
    if (corpus.empty()) {
        std::fprintf(stderr, "%s: no corpus\n", argv[0]);
        return 1;
    }
    for (const Input& input : corpus) LLVMFuzzerTestOneInput(input.data(), input.size());
    Random random(20240229);
    for (long run = 0; run < runs; ++run) {
        Input input = corpus[Below(random, corpus.size())];
        for (uint64_t times = 1 + random() % 4; times > 0; --times) MutateOnce(input, corpus, random);
        LLVMFuzzerTestOneInput(input.data(), input.size());
    }
    std::printf("%s: %zu inputs\n", std::filesystem::path(argv[0]).filename().c_str(),
                corpus.size() + static_cast<size_t>(runs));
    return 0;
}
