/**
 * @file   prime_batch.cpp
 * @brief  Tests of many integers: the rounds that test one block, and the two exports, which hand blocks to threads.
 *
 * Each round tests the whole block before the next, more expensive round begins. The numbers that pass a round are
 * packed, so that every lane of the next round holds a number that needs the test.
 */
#include "Prime/prime_batch.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cassert>
#include <system_error>
#include <thread>
#include <vector>

#include "Prime/prime_testing.h"
#include "Prime/prime_word.h"
#include "Prime/wide_batch.h"
#include "Shared/kernel/word_lanes.h"

namespace kesh {
namespace {

using kernel::WordLanes;

/** A number below 2^64 and its place in the block. */
struct PlacedWord {
    umint n;
    mint place;
};

/**
 * Keeps those of the first count words that pass, and returns their number. passing(group, used) sets the bit of each
 * word that passes among the next `used` words, at most width.
 */
template <std::size_t width, class Passing>
std::size_t keep_passing(PlacedWord* words, std::size_t count, Passing passing) {
    std::size_t kept = 0;
    for (std::size_t first = 0; first < count; first += width) {
        const std::size_t used = std::min(width, count - first);
        const unsigned passed = passing(words + first, used);
        for (std::size_t c = 0; c < used; ++c) {
            words[kept] = words[first + c];
            kept += passed >> c & 1;
        }
    }
    return kept;
}

/** The same with a test of one word at a time. */
template <class Passes>
unsigned one_by_one(const PlacedWord* group, std::size_t used, Passes passes) {
    unsigned passed = 0;
    for (std::size_t c = 0; c < used; ++c) passed |= unsigned{passes(group[c].n)} << c;
    return passed;
}

/** f(n) for the words of a group; the free places get f of the last word. */
template <class Row, class F>
Row row_of(const PlacedWord* group, std::size_t used, F f) {
    Row row;
    for (std::size_t c = 0; c < row.size(); ++c) row[c] = f(group[std::min(c, used - 1)].n);
    return row;
}

umint itself(umint n) {
    return n;
}
umint second_base(umint n) {
    return HashedBases(n).second;
}
umint third_base(umint n) {
    return HashedBases(n).third;
}

bool passes_hashed_bases(umint n) {
    const HashedBases bases(n);
    return kernel::strong_tests<2>(n, {bases.second, bases.third});
}

/** Trial division. */
std::size_t divide_in_registers(PlacedWord* words, std::size_t count) {
    return keep_passing<1>(
        words, count, [](const PlacedWord* word, std::size_t) { return word_has_small_factor(word->n) ? 0U : 1U; });
}
std::size_t divide_in_vectors(PlacedWord* words, std::size_t count) {
    return keep_passing<kernel::vector_words>(words, count, [](const PlacedWord* group, std::size_t used) {
        const unsigned odd = one_by_one(group, used, [](umint n) { return n % 2 == 1; });
        const auto row = row_of<std::array<umint, kernel::vector_words>>(group, used, itself);
        return odd & ~kernel::divisors_in_lanes(row, word_divisors());
    });
}

/** The rounds after trial division, for numbers of 2^32 or more, in general registers; words is overwritten. */
void test_words_in_registers(PlacedWord* words, std::size_t count, std::uint8_t* verdicts) {
    using Row = WordLanes::Row;
    // For this many numbers or fewer, single tests take less time than the lanes.
    constexpr std::size_t alone_at_most = WordLanes::W / 3;
    std::size_t kept = keep_passing<WordLanes::W>(words, count, [](const PlacedWord* group, std::size_t used) {
        if (used <= alone_at_most) return one_by_one(group, used, [](umint n) { return PrimeQ(n); });
        return WordLanes(row_of<Row>(group, used, itself)).strong_base_2();
    });
    kept = keep_passing<WordLanes::W>(words, kept, [](const PlacedWord* group, std::size_t used) {
        if (used <= alone_at_most) return one_by_one(group, used, passes_hashed_bases);
        return WordLanes(row_of<Row>(group, used, itself)).strong_to(row_of<Row>(group, used, second_base));
    });
    // Numbers below the bound are decided now.
    std::size_t open = 0;
    for (std::size_t i = 0; i < kept; ++i) {
        if (words[i].n < third_base_from)
            verdicts[words[i].place] = 1;
        else
            words[open++] = words[i];
    }
    kept = keep_passing<WordLanes::W>(words, open, [](const PlacedWord* group, std::size_t used) {
        if (used <= alone_at_most)
            return one_by_one(group, used, [](umint n) { return kernel::strong_test(n, third_base(n)); });
        return WordLanes(row_of<Row>(group, used, itself)).strong_to(row_of<Row>(group, used, third_base));
    });
    for (std::size_t i = 0; i < kept; ++i) verdicts[words[i].place] = 1;
}

/**
 * The same in vector lanes. The second and the third base run side by side, also if the second one decides: a number
 * that passes both is prime, and a prime passes both.
 */
void test_words_in_vectors(PlacedWord* words, std::size_t count, std::uint8_t* verdicts) {
    using Row = kernel::WordVector;
    constexpr std::size_t width = kernel::word_vector_lanes;
    std::size_t kept = keep_passing<width>(words, count, [](const PlacedWord* group, std::size_t used) {
        if (used <= 2) return one_by_one(group, used, [](umint n) { return PrimeQ(n); });
        return kernel::strong_base2_in_lanes(row_of<Row>(group, used, itself), used);
    });
    kept = keep_passing<width>(words, kept, [](const PlacedWord* group, std::size_t used) {
        if (used <= 2) return one_by_one(group, used, passes_hashed_bases);
        return kernel::strong_tests_in_lanes(row_of<Row>(group, used, itself), row_of<Row>(group, used, second_base),
                                             row_of<Row>(group, used, third_base), used);
    });
    for (std::size_t i = 0; i < kept; ++i) verdicts[words[i].place] = 1;
}

void test_words(PlacedWord* words, std::size_t count, std::uint8_t* verdicts, bool divided) {
    const bool vectors = kernel::has_word_vectors();
    if (!divided) count = (vectors ? divide_in_vectors : divide_in_registers)(words, count);
    (vectors ? test_words_in_vectors : test_words_in_registers)(words, count, verdicts);
}

/** The blocks of a call; each thread takes one after another. */
class SharedBlocks {
  public:
    SharedBlocks(const umint* n, mint len, mint count, std::uint8_t* verdicts)
        : n_(n), len_(len), count_(count), verdicts_(verdicts) {}

    /** Tests the next block; false if there is none or the work is stopped. Wide numbers may be put into the batch. */
    bool work(WideBatch& wide) {
        if (stopped_.load(std::memory_order_relaxed)) return false;
        const mint size = block_size(len_);
        const mint first = next_.fetch_add(size, std::memory_order_relaxed);
        if (first >= count_) return false;
        const mint count = std::min(size, count_ - first);
        test_block(n_ + first * len_, len_, count, verdicts_ + first, wide);
        done_.fetch_add(count, std::memory_order_relaxed);
        return true;
    }
    /** Tests blocks as long as there are any. after_each() is called after each. */
    template <class AfterEach>
    void work_to_the_end(AfterEach after_each) {
        WideBatch wide;
        while (work(wide)) after_each();
        if (!stopped()) wide.finish();
    }
    void stop() {
        stopped_.store(true, std::memory_order_relaxed);
    }
    [[nodiscard]] bool stopped() const {
        return stopped_.load(std::memory_order_relaxed);
    }
    [[nodiscard]] mint done() const {
        return done_.load(std::memory_order_relaxed);
    }

  private:
    const umint* n_;
    mint len_, count_;
    std::uint8_t* verdicts_;
    std::atomic<mint> next_{0}, done_{0};
    std::atomic<bool> stopped_{false};
};

bool bad_arguments(const umint* n, mint len, mint count, const std::uint8_t* verdicts) {
    if (len < 1 || len > 16 || count < 0) return true;
    return count > 0 && (n == nullptr || verdicts == nullptr || count > longest_array / len);
}

}  // namespace

void test_block(const umint* n, mint len, mint count, std::uint8_t* verdicts, WideBatch& wide, bool divided) {
    assert(1 <= len && len <= 16 && 0 <= count && count <= largest_block);
    std::array<PlacedWord, largest_block> words;
    std::size_t word_count = 0;
    for (mint i = 0; i < count; ++i) {
        const umint* limbs = n + i * len;
        const mint size = significant_limbs(limbs, len);
        verdicts[i] = 0;
        if (size > 1) {
            wide.add(limbs, size, verdicts + i, divided);
        } else if (limbs[0] >> 32 == 0) {
            verdicts[i] = PrimeQ(limbs[0]) ? 1 : 0;
        } else {
            words[word_count++] = {limbs[0], i};
        }
    }
    test_words(words.data(), word_count, verdicts, divided);
}

}  // namespace kesh

int KESH_ArePrime(const std::uint64_t* n, std::int64_t len, std::int64_t count, std::uint8_t* verdicts) {
    if (kesh::bad_arguments(n, len, count, verdicts)) return KESH_BAD_ARGUMENT;
    kesh::SharedBlocks blocks(n, len, count, verdicts);
    blocks.work_to_the_end([] {});
    return KESH_DONE;
}

int KESH_ArePrimeOnThreads(const std::uint64_t* n, std::int64_t len, std::int64_t count, std::uint8_t* verdicts,
                           int threads, KESH_Progress progress, void* data) {
    if (threads < 0 || kesh::bad_arguments(n, len, count, verdicts)) return KESH_BAD_ARGUMENT;
    if (progress != nullptr && progress(data, 0, count) != 0) return KESH_STOPPED;
    kesh::SharedBlocks blocks(n, len, count, verdicts);
    const std::int64_t most = (count + kesh::block_size(len) - 1) / kesh::block_size(len);
    const std::int64_t wanted = threads > 0 ? threads : std::int64_t{std::max(std::thread::hardware_concurrency(), 1U)};
    std::vector<std::thread> others;
    try {
        for (std::int64_t i = 1; i < std::min(wanted, most); ++i) {
            others.emplace_back([&blocks] { blocks.work_to_the_end([] {}); });
        }
    } catch (const std::system_error&) {  // no more threads: the existing ones do the work
    } catch (const std::bad_alloc&) {
    }
    blocks.work_to_the_end([&] {
        if (progress != nullptr && progress(data, blocks.done(), count) != 0) blocks.stop();
    });
    for (std::thread& other : others) other.join();
    return blocks.stopped() ? KESH_STOPPED : KESH_DONE;
}
