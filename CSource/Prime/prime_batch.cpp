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
#include "Shared/kernel/word_lanes.h"

namespace kesh {
namespace {

using kernel::WordLanes;

/** A number below 2^64 and its place in the block. */
struct placed_word {
    umint n;
    mint place;
};

/**
 * Keeps those of the first count words that pass, and returns their number. lanes(group, row) sets the bit of each
 * number of a group that passes. alone(n) tests one number; it is used when a group has at most a third of its lanes in
 * use.
 */
template <class Lanes, class Alone>
std::size_t keep_passing(placed_word* words, std::size_t count, Lanes lanes, Alone alone) {
    std::size_t kept = 0;
    for (std::size_t first = 0; first < count; first += WordLanes::W) {
        const std::size_t used = std::min(WordLanes::W, count - first);
        unsigned passed = 0;
        if (used <= WordLanes::W / 3) {
            for (std::size_t c = 0; c < used; ++c) passed |= unsigned{alone(words[first + c].n)} << c;
        } else {
            WordLanes::Row row;
            for (std::size_t c = 0; c < row.size(); ++c) row[c] = words[std::min(first + c, count - 1)].n;
            passed = lanes(WordLanes(row), row);
        }
        for (std::size_t c = 0; c < used; ++c) {
            words[kept] = words[first + c];
            kept += passed >> c & 1;
        }
    }
    return kept;
}

/** The rounds for numbers of 2^32 or more; words is overwritten. */
void test_words(placed_word* words, std::size_t count, std::uint8_t* verdicts) {
    std::size_t kept = 0;
    for (std::size_t i = 0; i < count; ++i) {
        words[kept] = words[i];
        kept += word_has_small_factor(words[i].n) ? 0 : 1;
    }
    kept = keep_passing(
        words, kept, [](const WordLanes& lanes, const auto&) { return lanes.strong_base_2(); },
        [](umint n) { return PrimeQ(n); });
    kept = keep_passing(
        words, kept,
        [](const WordLanes& lanes, WordLanes::Row row) {
            for (umint& n : row) n = hashed_bases(n).second;
            return lanes.strong_to(row);
        },
        [](umint n) {
            const hashed_bases bases(n);
            return kernel::strong_tests<2>(n, {bases.second, bases.third});
        });
    // Numbers below the bound are decided now.
    std::size_t open = 0;
    for (std::size_t i = 0; i < kept; ++i) {
        if (words[i].n < third_base_from)
            verdicts[words[i].place] = 1;
        else
            words[open++] = words[i];
    }
    kept = keep_passing(
        words, open,
        [](const WordLanes& lanes, WordLanes::Row row) {
            for (umint& n : row) n = hashed_bases(n).third;
            return lanes.strong_to(row);
        },
        [](umint n) { return kernel::strong_test(n, hashed_bases(n).third); });
    for (std::size_t i = 0; i < kept; ++i) verdicts[words[i].place] = 1;
}

/** The blocks of a call; each thread takes one after another. */
class shared_blocks {
  public:
    shared_blocks(const umint* n, mint len, mint count, std::uint8_t* verdicts)
        : n_(n), len_(len), count_(count), verdicts_(verdicts) {}

    /** Tests the next block; false if there is none or the work is stopped. */
    bool work() {
        if (stopped_.load(std::memory_order_relaxed)) return false;
        const mint size = block_size(len_);
        const mint first = next_.fetch_add(size, std::memory_order_relaxed);
        if (first >= count_) return false;
        const mint count = std::min(size, count_ - first);
        test_block(n_ + first * len_, len_, count, verdicts_ + first);
        done_.fetch_add(count, std::memory_order_relaxed);
        return true;
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

void test_block(const umint* n, mint len, mint count, std::uint8_t* verdicts) {
    assert(1 <= len && len <= 16 && 0 <= count && count <= largest_block);
    std::array<placed_word, largest_block> words;
    std::size_t word_count = 0;
    for (mint i = 0; i < count; ++i) {
        const umint* limbs = n + i * len;
        const mint size = significant_limbs(limbs, len);
        verdicts[i] = 0;
        if (size > 1) {
            mbool prime = 0;
            KESH_PrimeQ(limbs, size, &prime);
            verdicts[i] = static_cast<std::uint8_t>(prime);
        } else if (limbs[0] >> 32 == 0) {
            verdicts[i] = PrimeQ(limbs[0]) ? 1 : 0;
        } else {
            words[word_count++] = {limbs[0], i};
        }
    }
    test_words(words.data(), word_count, verdicts);
}

}  // namespace kesh

int KESH_ArePrime(const std::uint64_t* n, std::int64_t len, std::int64_t count, std::uint8_t* verdicts) {
    if (kesh::bad_arguments(n, len, count, verdicts)) return KESH_BAD_ARGUMENT;
    kesh::shared_blocks blocks(n, len, count, verdicts);
    while (blocks.work()) {
    }
    return KESH_DONE;
}

int KESH_ArePrimeOnThreads(const std::uint64_t* n, std::int64_t len, std::int64_t count, std::uint8_t* verdicts,
                           int threads, KESH_Progress progress, void* data) {
    if (threads < 0 || kesh::bad_arguments(n, len, count, verdicts)) return KESH_BAD_ARGUMENT;
    if (progress != nullptr && progress(data, 0, count) != 0) return KESH_STOPPED;
    kesh::shared_blocks blocks(n, len, count, verdicts);
    const std::int64_t most = (count + kesh::block_size(len) - 1) / kesh::block_size(len);
    const std::int64_t wanted = threads > 0 ? threads : std::int64_t{std::max(std::thread::hardware_concurrency(), 1U)};
    std::vector<std::thread> others;
    try {
        for (std::int64_t i = 1; i < std::min(wanted, most); ++i) {
            others.emplace_back([&blocks] {
                while (blocks.work()) {
                }
            });
        }
    } catch (const std::system_error&) {  // no more threads: the existing ones do the work
    } catch (const std::bad_alloc&) {
    }
    while (blocks.work()) {
        if (progress != nullptr && progress(data, blocks.done(), count) != 0) blocks.stop();
    }
    for (std::thread& other : others) other.join();
    return blocks.stopped() ? KESH_STOPPED : KESH_DONE;
}
