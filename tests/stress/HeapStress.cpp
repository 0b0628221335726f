// SPDX-License-Identifier: MIT
// Heap under load, for hours if need be: threads that release each other's blocks, threads that
// come and go by the hundred thousand, and starts and stops of the library. Every block carries a
// mark that is checked when it is released. Ends with 1 when something was wrong.
//
// The exchange: the threads stand in a ring. Each makes batches of blocks of random size for the
// next one, and checks and releases the batches that it receives.
#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <deque>
#include <fstream>
#include <mutex>
#include <random>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <CLI/CLI.hpp>
#include <unistd.h>

#include <tavrin/Heap.h>
#include <tavrin/InitTerm.h>

#include "support/RunOnThreads.h"

using namespace Tavrin;

namespace {

struct Plan
{
    std::int64_t blocks = 300'000'000;
    int threads = 4;
    std::int64_t shortThreads = 100'000;
    std::int64_t cycles = 100'000;
    std::uint64_t seed = 1;
    std::int64_t mostGrowth = -1;
};

// Knuth's MMIX generator: one word of state costs little even under the thread sanitizer.
using Generator =
    std::linear_congruential_engine<std::uint64_t, 6364136223846793005U, 1442695040888963407U, 0>;

class Random
{
public:
    explicit Random(std::uint64_t seed) : generator(seed) {}

    // The upper half; the lower bits of this kind of generator repeat soon.
    std::uint32_t operator()() { return static_cast<std::uint32_t>(generator() >> 32); }

private:
    Generator generator;
};

using Clock = std::chrono::steady_clock;

std::atomic<bool> isSound{true};

void complain(const char *what)
{
    isSound = false;
    std::fprintf(stderr, "heap_stress: %s\n", what);
}

double secondsSince(Clock::time_point start)
{
    return std::chrono::duration<double>(Clock::now() - start).count();
}

// Resident memory of the process in KiB; 0 where the system does not tell.
std::int64_t residentKiB()
{
    std::ifstream pages("/proc/self/statm");
    std::int64_t total = 0, resident = 0;
    pages >> total >> resident;
    return resident * sysconf(_SC_PAGESIZE) / 1024;
}

// Blocks that can be checked. The first word says everything about a block: 16 bits of size, 8 bits
// of the maker, the rest random. The bytes behind it all repeat one byte of that word.
class Block
{
public:
    static Block make(Random &random, int maker)
    {
        const std::size_t size = drawSize(random);
        auto *words = static_cast<std::uint64_t *>(Heap::operator new(size));
        *words = (std::uint64_t{random()} << 24) | (static_cast<std::uint64_t>(maker) << 16) | size;
        Block block;
        block.words = words;
        std::memset(block.body(), block.filler(), size - sizeof *words);
        return block;
    }

    // Changes the size first when `random` says so, as growing buffers do.
    void checkAndRelease(Random &random)
    {
        check(size());
        if (random() % 64 == 0) {
            const std::size_t kept = size();
            const std::size_t resized = drawSize(random);
            words = static_cast<std::uint64_t *>(Heap::reAlloc(words, resized));
            check(std::min(kept, resized));
        }
        Heap::operator delete(words);
    }

private:
    // Mostly what the cache serves.
    static std::size_t drawSize(Random &random)
    {
        const std::size_t most = random() % 16 == 0 ? 4096 : 305;
        return sizeof(std::uint64_t) + random() % most;
    }

    std::size_t size() const { return *words & 0xFFFF; }
    int filler() const { return static_cast<int>(*words >> 24 & 0xFF); }
    unsigned char *body() const { return reinterpret_cast<unsigned char *>(words + 1); }

    void check(std::size_t bytes) const
    {
        // All bytes are alike if each is like the one behind it.
        const std::size_t count = bytes - sizeof *words;
        const unsigned char *first = body();
        if (count > 0 && (*first != filler() || std::memcmp(first, first + 1, count - 1) != 0))
            complain("a block changed while nobody held it");
    }

    std::uint64_t *words = nullptr;
};

using Batch = std::vector<Block>;

// The batches on their way to one thread.
class Inbox
{
public:
    // False while there are enough of them.
    bool put(Batch &batch)
    {
        std::lock_guard guard(mutex);
        if (batches.size() >= mostBatches)
            return false;
        batches.push_back(std::move(batch));
        return true;
    }
    // An empty batch when there is none.
    Batch take()
    {
        std::lock_guard guard(mutex);
        Batch batch;
        if (!batches.empty()) {
            batch = std::move(batches.front());
            batches.pop_front();
        }
        return batch;
    }
    // The last batch has been put.
    void close() { isClosed.store(true, std::memory_order_release); }
    bool willBringNoMore() const { return isClosed.load(std::memory_order_acquire); }

private:
    static constexpr std::size_t mostBatches = 16;
    std::mutex mutex;
    std::deque<Batch> batches;
    std::atomic<bool> isClosed{false};
};

// One thread's part in the exchange.
class Partner
{
public:
    Partner(Inbox &ownInbox, Inbox &nextInbox, std::uint64_t seed, int index)
        : own(ownInbox), next(nextInbox), random(seed), maker(index)
    {}

    // Returns how many blocks it has released.
    std::int64_t exchange(std::int64_t blocks)
    {
        while (blocks > 0) {
            const std::int64_t count = std::min(blocks, batchSize);
            send(count);
            blocks -= count;
        }
        next.close();
        for (bool isLast = false; !isLast;) {
            isLast = own.willBringNoMore();
            while (receive())
                isLast = false;
        }
        return released;
    }

private:
    static constexpr std::int64_t batchSize = 256;

    void send(std::int64_t count)
    {
        Batch batch;
        batch.reserve(static_cast<std::size_t>(count));
        for (std::int64_t made = 0; made < count; ++made)
            batch.push_back(Block::make(random, maker));
        while (!next.put(batch))
            receive();
    }

    // False, after a short rest, when nothing has come.
    bool receive()
    {
        const Batch batch = own.take();
        if (batch.empty())
            std::this_thread::sleep_for(std::chrono::microseconds(50));
        for (Block block : batch)
            block.checkAndRelease(random);
        released += static_cast<std::int64_t>(batch.size());
        return !batch.empty();
    }

    Inbox &own;
    Inbox &next;
    Random random;
    int maker;
    std::int64_t released = 0;
};

void runExchange(const Plan &plan)
{
    if (plan.blocks == 0)
        return;
    const std::int64_t share = plan.blocks / plan.threads;
    std::printf("%lld blocks, each released by another of %d threads\n",
                static_cast<long long>(share * plan.threads), plan.threads);
    InitTerm::init();
    InitTerm::setMT();
    std::vector<Inbox> inboxes(static_cast<std::size_t>(plan.threads));
    std::atomic<std::int64_t> released{0};
    const Clock::time_point start = Clock::now();
    test::runOnThreads(plan.threads, [&](int index) {
        const auto own = static_cast<std::size_t>(index);
        Partner partner(inboxes[own], inboxes[(own + 1) % inboxes.size()], plan.seed + own, index);
        released += partner.exchange(share);
    });
    const double seconds = secondsSince(start);
    if (released != share * plan.threads)
        complain("blocks were lost");
    InitTerm::exit();
    std::printf("    %.1f ns per block, resident %lld KiB\n",
                seconds * 1e9 / static_cast<double>(plan.blocks),
                static_cast<long long>(residentKiB()));
}

// Prints resident memory as a count of rounds grows tenfold, and compares the end with the first
// line, when everything has been in use once.
class GrowthReport
{
public:
    GrowthReport(const char *ofWhat, const Plan &ofPlan, std::int64_t rounds)
        : what(ofWhat), plan(ofPlan), next(std::max<std::int64_t>(rounds / 1000, 1))
    {
        std::printf("%lld %s\n", static_cast<long long>(rounds), what);
    }

    void note(std::int64_t done)
    {
        if (done < next)
            return;
        next *= 10;
        last = residentKiB();
        if (first == 0)
            first = last;
        const double seconds = secondsSince(start);
        std::printf("    after %9lld: resident %7lld KiB, %.1f us each\n",
                    static_cast<long long>(done), static_cast<long long>(last),
                    seconds * 1e6 / static_cast<double>(done));
    }

    ~GrowthReport()
    {
        std::printf("    growth %lld KiB\n", static_cast<long long>(last - first));
        if (plan.mostGrowth >= 0 && last - first > plan.mostGrowth)
            complain("resident memory has grown");
    }

private:
    const char *what;
    const Plan &plan;
    std::int64_t next, first = 0, last = 0;
    Clock::time_point start = Clock::now();
};

// A few dozen blocks of all sizes, all released again.
void useHeapBriefly(Random &random)
{
    std::vector<Block> blocks;
    for (int count = 0; count < 50; ++count)
        blocks.push_back(Block::make(random, 0));
    for (Block block : blocks)
        block.checkAndRelease(random);
}

void runShortThreads(const Plan &plan)
{
    if (plan.shortThreads == 0)
        return;
    InitTerm::init();
    InitTerm::setMT();
    GrowthReport report("threads that use Heap and end", plan, plan.shortThreads);
    const int atOnce = std::max(plan.threads, 1);
    for (std::int64_t done = 0; done < plan.shortThreads;) {
        test::runOnThreads(atOnce, [&](int index) {
            Random random(plan.seed + static_cast<std::uint64_t>(done + index));
            useHeapBriefly(random);
        });
        done += atOnce;
        report.note(done);
    }
    InitTerm::exit();
}

void runCycles(const Plan &plan)
{
    if (plan.cycles == 0)
        return;
    GrowthReport report("cycles of init and exit", plan, plan.cycles);
    Random random(plan.seed);
    for (std::int64_t done = 0; done < plan.cycles;) {
        InitTerm::init();
        if (done % 2 != 0)
            InitTerm::setMT();
        if (done % 64 == 1)
            test::runOnThread([&] { useHeapBriefly(random); });
        useHeapBriefly(random);
        InitTerm::exit();
        report.note(++done);
    }
}

} // namespace

int main(int argc, char **argv)
{
    Plan plan;
    bool isQuick = false;
    CLI::App app("Puts Heap, its block cache and the contexts of threads under load.");
    app.add_option("--blocks", plan.blocks, "blocks that threads exchange");
    app.add_option("--threads", plan.threads, "threads at the same time")
        ->check(CLI::Range(1, 255));
    app.add_option("--short-threads", plan.shortThreads, "threads that come and go");
    app.add_option("--cycles", plan.cycles, "cycles of init and exit");
    app.add_option("--seed", plan.seed, "start of the random numbers");
    app.add_option("--most-growth", plan.mostGrowth, "KiB by which resident memory may grow");
    app.add_flag("--quick", isQuick, "a short run of everything");
    CLI11_PARSE(app, argc, argv);
    if (isQuick) {
        plan.blocks = 100'000;
        plan.shortThreads = 200;
        plan.cycles = 200;
    }
    std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);
    runExchange(plan);
    runShortThreads(plan);
    runCycles(plan);
    std::puts(isSound ? "sound" : "NOT sound");
    return isSound ? 0 : 1;
}
